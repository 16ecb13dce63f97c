// An MPEG audio file as a container; see the header.

#include "Mp3Container.h"

#include <quorv/mp3_decoder.h>
#include <quorv/platform/stream.h>

#include <algorithm>

#include "Failure.h"

namespace quorv::tool {

namespace {

constexpr size_t kPieceBytes = 0x10000;
// What QU_MP3_min_input_buffer_size adds to the size of a frame.
constexpr uint32_t kLookAheadBytes = 9;
constexpr uint32_t kFirstMpeg1Rate = 32000, kFirstMpeg2Rate = 16000;

using StreamHolder = std::unique_ptr<MStreamRecord, decltype(&MStreamClose)>;

// The codecs' names are those of the same streams in other containers.
uint32_t codec_of(uint32_t layer) {
    return uint32_t{'m'} << 24 | uint32_t{'p'} << 16 | (uint32_t{'0'} + layer) << 8 | ' ';
}

// The size of an ID3v2 tag with its header; 0 when there is none.
uint64_t tag_bytes(std::span<const uint8_t> head) {
    if (head.size() < 10 || !std::equal(head.begin(), head.begin() + 3, "ID3")) return 0;
    uint64_t size = 0;
    for (const uint8_t byte : head.subspan(6, 4))
        size = size << 7 | (byte & 0x7F);
    return size + 10;
}

uint32_t largest_frame(const QuMp3Summary &summary, uint32_t highest_bitrate) {
    QuMp3Info info = {};
    info.layer = summary.layer;
    info.version = summary.sample_rate >= kFirstMpeg1Rate   ? 0
                   : summary.sample_rate >= kFirstMpeg2Rate ? 1
                                                            : 2;
    info.bitrate = highest_bitrate;
    info.sample_rate = summary.sample_rate;
    const auto bytes = static_cast<uint32_t>(QU_MP3_min_input_buffer_size(&info));
    return bytes - std::min(bytes, kLookAheadBytes);
}

}  // namespace

bool has_mpeg_audio(std::span<const uint8_t> head) {
    // Streams over a caller's buffer are written only when asked to.
    const StreamHolder stream(
        MStreamOpenFromMemoryBlock(const_cast<uint8_t *>(head.data()), static_cast<uint32_t>(head.size())),
        MStreamClose);
    QuMp3Info info = {};
    return QU_MP3_info_get(stream.get(), &info, 1) == 0;
}

Mp3Container::Mp3Container(FileSource &file) : file_(file), piece_(kPieceBytes) {
    start_ = position_ = tag_bytes(file.head());
    describe();
}

void Mp3Container::describe() {
    const StreamHolder stream(MStreamOpenFromFileS(file_.path_to_open().c_str(), MSTREAM_OPEN_READ),
                              MStreamClose);
    if (!stream) throw Failure(ExitCode::Io, "cannot be opened a second time");
    uint32_t duration = 0, frame_count = 0;
    QuMp3Summary summary = {};
    if (QU_MP3_get_info(stream.get(), &duration, &frame_count, &summary) != 0)
        throw Failure(ExitCode::BadFile, "no MPEG audio frames can be found in it");

    const uint32_t highest = summary.bitrate & 0xFFFF, lowest = summary.bitrate >> 16;
    SplitterAudioInfo audio = {};
    audio.codec = codec_of(summary.layer);
    audio.duration = duration;
    audio.channels = summary.channels_minus_one + 1;
    audio.bits_per_sample = 16;
    audio.block_align = 1;
    audio.sample_rate = summary.sample_rate;
    audio.bit_rate = highest * 1000;
    if (lowest != highest && duration > 0)
        audio.bit_rate =
            static_cast<uint32_t>((file_.size() - std::min(start_, file_.size())) * 8000 / duration);
    audio.max_frame_size = largest_frame(summary, highest);

    Track track;
    track.number = 1;
    track.type = SPLITER_TRACK_AUDIO;
    track.info = audio;
    tracks_.push_back(track);
}

bool Mp3Container::read_frame(const Track &, Frame &frame) {
    const size_t count = file_.read_at(position_, piece_);
    position_ += count;
    frame = {std::span(piece_).first(count), 0, 0, true};
    return count > 0;
}

}  // namespace quorv::tool
