// Writes ASF files of every shape and says what a reader must find in them.
#ifndef QUORV_TESTS_SUPPORT_ASFBUILDER_H
#define QUORV_TESTS_SUPPORT_ASFBUILDER_H

#include <string>
#include <vector>

#include "support/RiffPieces.h"

namespace quorv::test {

struct AsfStream {
    uint32_t number = 1;
    Bytes type;                   // the GUID of the stream type
    Bytes format;                 // type-specific data
    uint32_t frame_interval = 0;  // milliseconds, in an Extended Stream Properties Object; 0: has none
    bool compressed = false;      // small objects in runs behind length bytes
    uint32_t prefix = 0;          // bytes of codec data in front of the first frame
};

AsfStream asf_video(uint32_t number, const char (&compression)[5] = "WMV3",
                    const Bytes &codec_data = {1, 2, 3, 4});
AsfStream asf_audio(uint32_t number, uint32_t format_tag = 0x161, const Bytes &codec_data = Bytes(10));
// A stream of another kind, with no data of its type.
AsfStream asf_commands(uint32_t number);

// How the packets are laid out. Types are those of the packet fields: 0, 1, 2 or 3 for 0, 1, 2 or 4 bytes.
struct AsfLayout {
    uint32_t packet_size = 200;
    bool multiple = true;  // several payloads a packet
    bool error_correction = true;
    uint32_t packet_length_type = 0, sequence_type = 0, padding_type = 1;
    uint32_t replicated_type = 1, offset_type = 3, number_type = 1, payload_length_type = 2;
    uint32_t replicated_length = 8;
    bool replicated_once = false;  // later fragments of an object come without
    uint32_t preroll = 3000;
    bool live = false;  // the number of packets is not stated
};

// Early and Late lead to the first and the last packet from everywhere.
enum class AsfIndex { None, Right, Early, Late, CutShort };

struct AsfFrame {
    Bytes data;
    uint32_t time = 0;
    uint32_t duration = 0;
    bool key = false;
    uint32_t packet = 0;  // of the first fragment
};

class AsfBuilder {
public:
    explicit AsfBuilder(std::vector<AsfStream> what, AsfLayout how = {}, AsfIndex which = AsfIndex::Right)
        : streams(std::move(what)),
          layout(how),
          index(which),
          truth_(streams.size()),
          numbers_(streams.size()) {}

    // `stream` counts from 0 in the order of the list; time is without the preroll and may not fall below it.
    AsfBuilder &frame(uint32_t stream, uint32_t time, size_t size, bool key = true);
    Bytes build();
    // Durations are known from build() on.
    const std::vector<AsfFrame> &truth(uint32_t stream) const { return truth_[stream]; }
    size_t data_start() const { return data_start_; }  // position of the first packet

    std::vector<AsfStream> streams;
    AsfLayout layout;
    AsfIndex index;
    Bytes header_extra;             // whole objects at the end of the header
    uint32_t index_interval = 100;  // milliseconds

private:
    struct Place {
        uint32_t stream, frame;
    };

    Bytes header(uint32_t duration) const;
    Bytes packet_head(uint32_t padding) const;
    Bytes payload_head(const Place &place, uint32_t offset, const Bytes &replicated, uint32_t stated) const;
    uint32_t room_behind(const Bytes &head) const;
    void add_payload(const Bytes &head, const Bytes &data);
    void add_object(const Place &place);
    void add_run(uint32_t stream);
    void flush();
    void finish_truth();
    Bytes write_index() const;
    const std::vector<AsfFrame> &indexed_frames() const;

    std::vector<Place> order_;
    std::vector<std::vector<AsfFrame>> truth_;
    std::vector<uint32_t> numbers_;  // of the next media object, per stream
    std::vector<uint32_t> run_;      // frames that wait to be written as one run
    Bytes packets_, payloads_;
    uint32_t payload_count_ = 0, packet_count_ = 0;
    size_t data_start_ = 0;
};

// An object: its GUID, its size and its body.
Bytes asf_object(const std::string &guid, const Bytes &body);
Bytes asf_guid(const std::string &text);

struct AsfSample {
    std::string name;
    AsfBuilder builder;
    Bytes bytes;
};

// Each below 4 KB.
std::vector<AsfSample> asf_sample_files();

}  // namespace quorv::test

#endif
