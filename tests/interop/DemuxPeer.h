// What one of GStreamer's demuxers delivers from a file, through the program quorv_demux_frames.
#ifndef QUORV_TESTS_INTEROP_DEMUXPEER_H
#define QUORV_TESTS_INTEROP_DEMUXPEER_H

#include <stdint.h>

#include <map>
#include <string>
#include <vector>

#include "support/ByteStores.h"

namespace quorv::test {

struct PeerFrame {
    int64_t dts = 0;       // nanoseconds; -1 when there is none, as of the next two
    int64_t pts = 0;       // nanoseconds
    int64_t duration = 0;  // nanoseconds
    bool key = false;
    Bytes data;
};

struct FrameRate {
    uint32_t rate = 0;
    uint32_t scale = 1;
};

struct PeerTrack {
    std::string caps;
    std::vector<PeerFrame> frames;

    // A number of the caps, "width" for example; -1 when there is none of that name.
    int caps_number(const std::string &field) const;
    FrameRate frame_rate() const;
};

// By pad name: "video_0", "audio_0", "audio_1" ... Empty, with a reason, when GStreamer's demuxer is not
// there. A demuxer that fails throws.
std::map<std::string, PeerTrack> demux_with_gstreamer(const std::string &element, const std::string &path,
                                                      std::string *why_not);

}  // namespace quorv::test

#endif
