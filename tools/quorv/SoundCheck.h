// Decodes the sound of an MPEG audio track to find the frames that cannot be decoded.
#ifndef QUORV_TOOLS_QUORV_SOUNDCHECK_H
#define QUORV_TOOLS_QUORV_SOUNDCHECK_H

#include <memory>
#include <vector>

#include "Finding.h"
#include "MediaFile.h"

namespace quorv::tool {

class SoundCheck {
public:
    // Throws Failure.
    explicit SoundCheck(const Track &track);

    void take(uint64_t index, const QuorvPacket &packet);
    // Behind the last packet.
    void finish(std::vector<Finding> &findings);

private:
    struct Close {
        void operator()(QuorvDecoder *decoder) const { quorv_decoder_close(decoder); }
    };
    struct Reason {
        uint64_t QuorvSkippedFrames::*count;
        FindingRuns runs, at_start;
    };
    struct Place {
        uint64_t index = 0;
        int64_t offset = -1, time_ms = -1;
    };

    bool has_more(QuorvResult result, const QuorvSamples *samples);
    void note_skipped();
    const Place &decoded() const;

    const Track track_;
    std::unique_ptr<QuorvDecoder, Close> decoder_;
    std::vector<Reason> reasons_;
    QuorvSkippedFrames before_ = {};
    Place last_, now_;       // of the latest two packets
    uint64_t portions_ = 0;  // of sound, one of each frame that was decoded
    bool has_sound_ = false;
    uint32_t sample_rate_ = 0, channels_ = 0;  // of the first portion
    FindingRuns changes_;
};

}  // namespace quorv::tool

#endif
