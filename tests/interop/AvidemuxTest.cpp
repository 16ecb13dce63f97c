// Real files, frame by frame, against what GStreamer's avidemux delivers from them.
//
// The two differ by contract in these points, and in no others:
// - The leading headers of the first frame of an H.264 or MPEG-4 track are handed out as codec data and are
//   missing from that frame when it is first read; the peer leaves them in.
// - Times are milliseconds, truncated; the peer's are nanoseconds.
// - Audio with a sample size of 2 bytes or more is handed out in pieces of at most sample size * 1024 bytes
//   (one sample when that is over 31 bytes); the peer hands out whole chunks.
// - Uncompressed bottom-up pictures come as they are stored; the peer turns them round.
// - More than two channels are reported as two, and formats without a codec of their own have codec 0.

#include <gtest/gtest.h>
#include <quorv/avi_splitter.h>

#include <algorithm>

#include "interop/DemuxPeer.h"
#include "interop/RealSamples.h"

namespace quorv::test {
namespace {

constexpr int64_t kNanosecondsPerMillisecond = 1000000;

using AvidemuxTest = RealSampleTest;

INSTANTIATE_TEST_SUITE_P(Real, AvidemuxTest, testing::ValuesIn(kRealSamples),
                         [](const auto &which) { return case_name(which.param); });

std::string fourcc_text(uint32_t code) {
    std::string text;
    for (int shift = 24; shift >= 0 && code != 0; shift -= 8)
        text += static_cast<char>(code >> shift & 0xFF);
    return text;
}

Bytes upside_down(const Bytes &picture, size_t rows) {
    const size_t stride = picture.size() / rows;
    Bytes turned;
    for (size_t row = rows; row-- > 0;)
        turned.insert(turned.end(), picture.begin() + static_cast<std::ptrdiff_t>(row * stride),
                      picture.begin() + static_cast<std::ptrdiff_t>((row + 1) * stride));
    return turned;
}

// What is left of the first frame must begin with a picture: a slice of H.264, or a VOP or group of VOPs.
void expect_starts_with_a_picture(const Bytes &frame, const std::string &codec) {
    ASSERT_GE(frame.size(), 5u);
    const uint8_t kind = frame[frame[2] == 1 ? 3 : 4];  // behind 00 00 01 or 00 00 00 01
    EXPECT_TRUE(codec == "264 " ? (kind & 0x1F) == 5 : kind == 0xB6 || kind == 0xB3) << int{kind};
}

void compare_video(SplitterFile &file, uint32_t track, const RealTrack &made, const PeerTrack &peer) {
    const FrameRun run = file.read_all(track);
    EXPECT_EQ(run.end_code, static_cast<uint32_t>(SPLITER_ERR_END_OF_STREAM));
    ASSERT_EQ(run.frames.size(), peer.frames.size());
    const bool bottom_up = peer.caps.find("format=(string)BGR") != std::string::npos;
    for (size_t i = 0; i < run.frames.size(); ++i) {
        SCOPED_TRACE("frame " + std::to_string(i));
        const Frame &ours = run.frames[i];
        const PeerFrame &theirs = peer.frames[i];
        Bytes whole = ours.data;
        if (i == 0 && has_headers_in_first_frame(made)) {
            const Bytes headers = file.codec_data(track);
            EXPECT_FALSE(headers.empty());
            expect_starts_with_a_picture(ours.data, made.codec);
            whole.insert(whole.begin(), headers.begin(), headers.end());
        }
        ASSERT_EQ(whole.size(), theirs.data.size());
        const auto rows = static_cast<size_t>(peer.caps_number("height"));
        ASSERT_TRUE(whole == (bottom_up ? upside_down(theirs.data, rows) : theirs.data));
        ASSERT_EQ(ours.info.time_stamp, theirs.dts / kNanosecondsPerMillisecond);
        ASSERT_EQ(ours.info.duration, theirs.duration / kNanosecondsPerMillisecond);
        ASSERT_EQ(ours.info.key_frame, theirs.key ? 1u : 0u);
    }
}

void compare_audio(SplitterFile &file, uint32_t track, const PeerTrack &peer) {
    const SplitterAudioInfo info = file.audio_info(track);
    // avimux writes the block size as the sample size.
    const uint32_t sample_size = info.block_align;
    const uint64_t bytes_per_second = info.bit_rate / 8;
    const uint32_t longest_piece = sample_size > 31  ? sample_size
                                   : sample_size > 1 ? sample_size * 1024
                                                     : UINT32_MAX;
    const FrameRun run = file.read_all(track);
    EXPECT_EQ(run.end_code, static_cast<uint32_t>(SPLITER_ERR_END_OF_STREAM));
    auto piece = run.frames.begin();
    uint64_t sent = 0;
    for (size_t i = 0; i < peer.frames.size(); ++i) {
        SCOPED_TRACE("chunk " + std::to_string(i));
        const PeerFrame &chunk = peer.frames[i];
        ASSERT_TRUE(piece != run.frames.end());
        ASSERT_EQ(piece->info.time_stamp, chunk.dts / kNanosecondsPerMillisecond);
        if (chunk.data.size() <= longest_piece) {
            ASSERT_EQ(piece->info.duration, chunk.duration / kNanosecondsPerMillisecond);
        }
        Bytes joined;
        for (; joined.size() < chunk.data.size() && piece != run.frames.end(); ++piece) {
            ASSERT_EQ(piece->data.size(), std::min<size_t>(chunk.data.size() - joined.size(), longest_piece));
            ASSERT_EQ(piece->info.time_stamp, sent * 1000 / bytes_per_second);
            ASSERT_EQ(piece->info.key_frame, 1u);
            joined.insert(joined.end(), piece->data.begin(), piece->data.end());
            sent += piece->data.size();
        }
        ASSERT_TRUE(joined == chunk.data);
    }
    EXPECT_TRUE(piece == run.frames.end());
}

// The time that the frames of a track take, in milliseconds.
uint64_t duration_of(const PeerTrack &video) {
    const FrameRate rate = video.frame_rate();
    return uint64_t{video.frames.size()} * rate.scale * 1000 / rate.rate;
}

void compare_video_info(const SplitterVideoInfo &info, const PeerTrack &peer, uint64_t largest_frame) {
    const FrameRate rate = peer.frame_rate();
    EXPECT_EQ(info.width, static_cast<uint32_t>(peer.caps_number("width")));
    EXPECT_EQ(info.height, static_cast<uint32_t>(peer.caps_number("height")));
    EXPECT_EQ(info.frame_rate, rate.rate / rate.scale);
    EXPECT_EQ(info.duration, duration_of(peer));
    EXPECT_EQ(info.max_frame_size, largest_frame);
    EXPECT_EQ(info.format_header_size, 40u);
}

void compare_audio_info(const SplitterAudioInfo &info, const PeerTrack &peer, uint64_t largest_frame,
                        uint64_t own_duration, uint64_t video_duration) {
    const uint32_t channels = static_cast<uint32_t>(peer.caps_number("channels"));
    EXPECT_EQ(info.channels, std::min(channels, 2u));
    EXPECT_EQ(info.sample_rate, static_cast<uint32_t>(peer.caps_number("rate")));
    EXPECT_EQ(info.duration, std::max(own_duration, video_duration));
    EXPECT_EQ(info.max_frame_size, largest_frame);
    for (const auto &[format, bits] : {std::pair("U8", 8u), {"S16LE", 16u}, {"S24LE", 24u}, {"S32LE", 32u}}) {
        if (peer.caps.find("format=(string)" + std::string(format)) == std::string::npos) continue;
        EXPECT_EQ(info.bits_per_sample, bits);
        EXPECT_EQ(info.block_align, bits / 8 * channels);
    }
}

TEST_P(AvidemuxTest, FramesAndTrackInformationAreThoseOfThePeer) {
    std::string why_not;
    const std::map<std::string, PeerTrack> peer = demux_with_gstreamer("avidemux", path, &why_not);
    if (peer.empty()) GTEST_SKIP() << why_not;
    OpenedSample sample(path);
    SplitterFile &file = sample.file;
    const std::vector<SplitterTrackEntry> tracks = file.tracks();
    ASSERT_EQ(tracks.size(), GetParam().tracks.size());
    ASSERT_EQ(tracks.size(), peer.size());
    const auto video = peer.find("video_0");
    int count[2] = {};  // both number the tracks of a type in file order
    for (const SplitterTrackEntry &entry : tracks) {
        const bool is_video = entry.type == SPLITER_TRACK_VIDEO;
        const std::string pad = (is_video ? "video_" : "audio_") + std::to_string(count[is_video]++);
        SCOPED_TRACE(pad);
        const RealTrack &made = GetParam().tracks[entry.track - 1];
        const PeerTrack &theirs = peer.at(pad);
        uint64_t largest = 0, bytes = 0;
        for (const PeerFrame &frame : theirs.frames) {
            largest = std::max<uint64_t>(largest, frame.data.size());
            bytes += frame.data.size();
        }
        EXPECT_TRUE(made.chunks == 0 || theirs.frames.size() == made.chunks) << theirs.frames.size();
        if (is_video) {
            const SplitterVideoInfo info = file.video_info(entry.track);
            EXPECT_EQ(fourcc_text(info.codec), made.codec);
            compare_video_info(info, theirs, largest);
            compare_video(file, entry.track, made, theirs);
        } else {
            const SplitterAudioInfo info = file.audio_info(entry.track);
            EXPECT_EQ(fourcc_text(info.codec), made.codec);
            EXPECT_TRUE(made.bit_rate == 0 || info.bit_rate == made.bit_rate) << info.bit_rate;
            compare_audio_info(info, theirs, largest, bytes * 1000 / (info.bit_rate / 8),
                               video == peer.end() ? 0 : duration_of(video->second));
            compare_audio(file, entry.track, theirs);
        }
    }
}

}  // namespace
}  // namespace quorv::test
