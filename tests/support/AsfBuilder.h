// Writes ASF files of every shape and says what a reader must find in them.
#ifndef QUORV_TESTS_SUPPORT_ASFBUILDER_H
#define QUORV_TESTS_SUPPORT_ASFBUILDER_H

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

// The 16 bytes of a GUID, from its usual text.
Bytes asf_guid(const std::string &text);
AsfStream asf_video(uint32_t number, const char (&compression)[5] = "WMV3",
                    const Bytes &codec_data = {1, 2, 3, 4});
AsfStream asf_audio(uint32_t number, uint32_t format_tag = 0x161, const Bytes &codec_data = Bytes(10));

// How wide the fields of a packet are: 0, 1, 2 or 3 for 0, 1, 2 or 4 bytes.
struct AsfWidths {
    uint32_t packet_length = 0, sequence = 0, padding = 1;
    uint32_t replicated = 1, offset = 3, number = 1, payload_length = 2;
};

struct AsfLayout {
    uint32_t packet_size = 200;
    bool multiple = true;  // several payloads a packet
    bool error_correction = true;
    AsfWidths widths = {};
    uint32_t replicated_length = 8;
    bool replicated_once = false;  // later fragments of an object come without
    uint32_t preroll = 3000;
    bool live = false;  // the number of packets is not stated
};

// Early and Late lead to the first and the last packet from everywhere.
enum class AsfIndex { None, Right, Early, Late, CutShort };

class AsfBuilder {
public:
    explicit AsfBuilder(const std::vector<AsfStream> &what, AsfLayout how = {},
                        AsfIndex which = AsfIndex::Right)
        : streams(what), layout(how), index(which), truth_(what.size()), numbers_(what.size()) {}

    // `stream` counts from 0 in the order of the list; time is without the preroll and may not fall below it.
    AsfBuilder &frame(uint32_t stream, uint32_t time, size_t size, bool key = true);
    Bytes build();
    // Whole from build() on, which is called once. The first frame has the codec data in front that comes
    // with it.
    const std::vector<TruthFrame> &truth(uint32_t stream) const { return truth_[stream]; }
    uint32_t track(uint32_t stream) const { return streams[stream].number + 1; }
    size_t data_start() const { return data_start_; }  // position of the first packet

    std::vector<AsfStream> streams;
    AsfLayout layout;
    AsfIndex index;

private:
    Bytes header() const;
    Bytes packet_head(uint32_t padding) const;
    Bytes payload_head(uint32_t stream, bool key, uint32_t offset, const Bytes &replicated,
                       size_t stated) const;
    uint32_t room_behind(const Bytes &head) const;
    void add_payload(const Bytes &head, const Bytes &data);
    void add_object(uint32_t stream);
    void add_run();
    void flush();
    void finish_truth();
    Bytes write_index() const;

    std::vector<std::vector<TruthFrame>> truth_;
    std::vector<uint32_t> numbers_;      // of the next media object, per stream
    uint32_t run_stream_ = 0, run_ = 0;  // how many of its frames wait to be written as one run
    Bytes packets_, payloads_;
    uint32_t payload_count_ = 0, packet_count_ = 0;
    uint32_t end_ = 0;  // of the file, milliseconds
    size_t data_start_ = 0;
};

}  // namespace quorv::test

#endif
