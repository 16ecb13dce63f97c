// The library's decoder on an input of the tool; see the header.

#include "SoundDecoder.h"

#include <fmt/format.h>

#include <string_view>
#include <vector>

#include "Failure.h"
#include "SoundInput.h"
#include "Text.h"

namespace quorv::tool {

namespace {

void check(QuorvResult result) {
    if (result != QUORV_OK) throw Failure(ExitCode::Io, quorv_strerror(result));
}

}  // namespace

SoundDecoder::SoundDecoder(SoundInput &input, uint32_t flags) : input_(input) {
    QuorvDecoder *decoder = nullptr;
    check(quorv_decoder_open(input.track(), flags, &decoder));
    decoder_.reset(decoder);
}

const QuorvSamples *SoundDecoder::next() {
    for (;;) {
        std::span<const uint8_t> piece;
        if (!has_more_ && !ended_) {
            piece = input_.next();
            ended_ = piece.empty();
        }
        const QuorvSamples *samples = nullptr;
        check(ended_ ? quorv_decoder_finish(decoder_.get(), &samples)
                     : quorv_decode(decoder_.get(), piece.data(), piece.size(), &samples));
        has_more_ = samples->frames != 0;
        if (has_more_) return samples;
        if (ended_) return nullptr;
    }
}

std::string SoundDecoder::damage() const {
    const QuorvSkippedFrames &skipped = *quorv_decoder_skipped(decoder_.get());
    const struct {
        uint64_t count;
        std::string_view noun, fate;
    } kinds[] = {
        {skipped.lost_sync, "place", "of the sound with bytes that are no frame"},
        {skipped.bad_check, "frame", "with a wrong check word (CRC)"},
        {skipped.bad_data, "frame", "with contents that make no sense"},
        {skipped.no_reservoir, "frame", "without bytes of earlier frames that are missing"},
        {skipped.cut_off, "frame", "cut off by the end"},
    };
    std::vector<std::string> reasons;
    for (const auto &[count, noun, fate] : kinds) {
        if (count != 0) reasons.push_back(fmt::format("{} {}", counted(count, noun), fate));
    }
    if (reasons.empty()) return {};
    return fmt::format("not decoded: {}", fmt::join(reasons, ", "));
}

}  // namespace quorv::tool
