// The headers of an AVI file as they stand in it, to be written again.
#ifndef QUORV_TOOLS_QUORV_AVIHEADERS_H
#define QUORV_TOOLS_QUORV_AVIHEADERS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "FileSource.h"
#include "Riff.h"

namespace quorv::tool {

// Bodies of chunks, and `others`: whole chunks that nothing here is made of.
struct AviStreamHeader {
    std::string header;  // "strh"
    std::string format;  // "strf"
    std::string others;

    bool is_video() const;
    bool is_audio() const;
    // A unit of the stream's time is scale / rate seconds.
    uint32_t scale() const;
    uint32_t rate() const;
    uint32_t length() const;  // in these units, as stated
    // Bytes that take one unit; 0 for streams in which a chunk does.
    uint32_t unit_bytes() const;
    uint32_t block_align() const;
    // The byte that silence is made of; nothing where the sound is compressed.
    std::optional<uint8_t> silence() const;
    uint64_t milliseconds(uint64_t units) const;
    // How many units a chunk of that size takes.
    uint64_t units_of(uint64_t bytes) const;
};

struct AviHeaders {
    std::string main;  // "avih"
    std::vector<AviStreamHeader> streams;
    std::string others;              // chunks of the header list behind the streams
    std::string information;         // chunks between header and media, such as a list of tags
    std::vector<ByteRange> indexes;  // the data of "indx" chunks
    ByteRange media;                 // behind the list type "movi", as far as the list itself says
};

// Throws Failure when there are no streams, or no media data can be found.
AviHeaders read_avi_headers(FileSource &file);

}  // namespace quorv::tool

#endif
