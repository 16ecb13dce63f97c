// The sound of an MPEG audio track; see the header.

#include "PcmReader.h"

#include <fmt/format.h>
#include <quorv/mp3_decoder.h>
#include <quorv/platform/stream.h>

#include <memory>

#include "Failure.h"
#include "Text.h"

namespace quorv::tool {

namespace {

constexpr size_t kOutputBytes = 0x10000;
// How far the first frame is searched for, and with how much the search begins.
constexpr size_t kMaxFirstBytes = size_t{1} << 20;
constexpr size_t kMinFirstBytes = 4096;

bool get_info(std::vector<uint8_t> &bytes, QuMp3Info &info) {
    const std::unique_ptr<MStreamRecord, decltype(&MStreamClose)> stream(
        MStreamOpenFromMemoryBlock(bytes.data(), static_cast<uint32_t>(bytes.size())), MStreamClose);
    return QU_MP3_info_get(stream.get(), &info, 1) == 0;
}

}  // namespace

bool can_decode(const Track &track) {
    return track.facts->framing == QUORV_FRAMING_MPEG_AUDIO;
}

PcmReader::PcmReader(MediaFile &media, const Track &track, const PcmFormat &wanted)
    : media_(media), track_(track), format_(wanted), output_(kOutputBytes) {
    const StreamFormat stream = find_stream_format();
    if (format_.sample_rate == 0) format_.sample_rate = stream.sample_rate;
    if (format_.channels == 0) format_.channels = stream.channels;
    if (format_.sample_rate > stream.sample_rate)
        throw Failure(ExitCode::Usage,
                      fmt::format("the rate can only be lowered: the sound has {} Hz", stream.sample_rate));
    // The library doubles one channel only where it does not interpolate.
    duplicates_ = stream.channels == 1 && format_.channels == 2;
    QuMp3Config config = {2, 3, stream.sample_rate};
    const QuMp3OutputRequest request = {
        stream.channels == 2 && format_.channels == 2 ? QU_MP3_CHANNELS_STEREO : QU_MP3_CHANNELS_MONO,
        format_.sample_rate};
    decoder_ = QU_MP3_decoder_init(&config, &request);
    if (decoder_ == nullptr) throw Failure(ExitCode::Io, "out of memory");
    input_ = first_bytes_;
}

PcmReader::~PcmReader() {
    QU_MP3_decoder_close(decoder_);
}

// The frames themselves say it; what a container says of them may be wrong.
PcmReader::StreamFormat PcmReader::find_stream_format() {
    QuMp3Info info = {};
    size_t enough = kMinFirstBytes;
    Frame frame;
    while (first_bytes_.size() < kMaxFirstBytes && media_.read_frame(track_, frame)) {
        first_bytes_.insert(first_bytes_.end(), frame.data.begin(), frame.data.end());
        if (first_bytes_.size() < enough) continue;
        if (get_info(first_bytes_, info)) return {info.sample_rate, info.channels};
        enough = 2 * first_bytes_.size();
    }
    if (!get_info(first_bytes_, info))
        throw Failure(ExitCode::BadFile, "no MPEG audio frames can be found in it");
    return {info.sample_rate, info.channels};
}

bool PcmReader::next_piece() {
    Frame frame;
    do {
        if (!media_.read_frame(track_, frame)) return false;
    } while (frame.data.empty());
    input_ = frame.data;
    return true;
}

std::span<const uint8_t> PcmReader::read() {
    for (;;) {
        if (input_.empty() && !ended_) ended_ = !next_piece();
        QuMp3Buffer input = {const_cast<uint8_t *>(input_.data()), static_cast<uint32_t>(input_.size()), 0};
        QuMp3Buffer output = {output_.data(), static_cast<uint32_t>(output_.size()), 0};
        const int32_t code = QU_MP3_decoder_read(decoder_, &input, &output);
        input_ = input_.subspan(input.result);
        if (code == QU_MP3_ERROR) throw Failure(ExitCode::Io, "out of memory");
        const std::span<const uint8_t> samples = std::span(output_).first(output.result);
        if (!samples.empty()) return duplicates_ ? duplicate(samples) : samples;
        if (ended_ && code == QU_MP3_NEED_INPUT) return {};
    }
}

std::span<const uint8_t> PcmReader::duplicate(std::span<const uint8_t> mono) {
    doubled_.clear();
    for (size_t i = 0; i + 1 < mono.size(); i += 2)
        doubled_.insert(doubled_.end(), {mono[i], mono[i + 1], mono[i], mono[i + 1]});
    return doubled_;
}

}  // namespace quorv::tool
