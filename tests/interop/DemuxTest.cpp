// Real AVI files and the ASF sample files, frame by frame, against what GStreamer's demuxers deliver.
//
// By contract the two differ in what is noted below, and in that the peer's times are nanoseconds, that more
// than two channels are reported as two here and that formats without a codec of their own have codec 0.

#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <regex>

#include "interop/RealSamples.h"
#include "support/AsfBuilder.h"

namespace quorv::test {
namespace {

struct PeerFrame {
    int64_t time = 0;      // of decoding, or else of presentation, nanoseconds; -1 when neither is known
    int64_t duration = 0;  // nanoseconds; -1 when it is not known
    bool key = false;
    Bytes data;
};

struct PeerTrack {
    std::string caps;
    std::vector<PeerFrame> frames;

    // A number of the caps, "width" for example, or the divisor of a fraction; 0 when there is none.
    uint32_t caps_number(const std::string &field, bool divisor = false) const {
        const std::regex pattern(" " + field + R"(=\(\w+\)(\d+)(/(\d+))?)");
        std::smatch match;
        if (!std::regex_search(caps, match, pattern)) return 0;
        return static_cast<uint32_t>(std::stoul(match[divisor ? 3 : 1]));
    }
};

// "0:00:01.200000000", or "none".
int64_t nanoseconds(const std::string &text) {
    long long hours, minutes, seconds, rest;
    if (sscanf(text.c_str(), "%lld:%lld:%lld.%lld", &hours, &minutes, &seconds, &rest) != 4) return -1;
    return ((hours * 60 + minutes) * 60 + seconds) * 1000000000 + rest;
}

// What a demuxer delivers at the pads of these names. Empty when it is not installed.
std::map<std::string, PeerTrack> demux_with_gstreamer(const std::string &element, const std::string &path,
                                                      const std::vector<std::string> &pads) {
    const TestFolder folder;
    if (system(("gst-inspect-1.0 --exists " + element + " 2>" + folder.path("missing")).c_str()) != 0)
        return {};
    std::string command =
        "timeout 60 gst-launch-1.0 -v filesrc location='" + path + "' ! " + element + " name=d";
    for (const std::string &pad : pads)
        command += " d." + pad + " ! identity silent=false name=" + pad +
                   " ! filesink async=false location=" + folder.path(pad);
    if (system((command + " >" + folder.path("log")).c_str()) != 0)
        throw std::runtime_error("failed: " + command);

    std::map<std::string, PeerTrack> tracks;
    const std::regex caps(R"(.*GstIdentity:(\w+)\.GstPad:src: caps = (.*))"),
        buffer(R"(.*GstIdentity:(\w+): last-message = chain .*\((\d+) bytes, dts: (\S+), pts: (\S+), )"
               R"(duration: (\S+), .*flags: \S+ (.*), meta.*)");
    std::map<std::string, std::ifstream> contents;
    std::ifstream log(folder.path("log"));
    for (std::string line; std::getline(log, line);) {
        std::smatch match;
        if (std::regex_match(line, match, caps)) tracks[match[1]].caps = match[2];
        if (!std::regex_match(line, match, buffer)) continue;
        std::ifstream &content = contents.try_emplace(match[1], folder.path(match[1])).first->second;
        const int64_t dts = nanoseconds(match[3]), pts = nanoseconds(match[4]);
        const bool key = match[6].str().find("delta-unit") == std::string::npos;
        PeerFrame frame = {dts >= 0 ? dts : pts, nanoseconds(match[5]), key, Bytes(std::stoul(match[2]))};
        if (!content.read(reinterpret_cast<char *>(frame.data.data()), std::ssize(frame.data)))
            throw std::runtime_error("fewer bytes than listed: " + command);
        tracks[match[1]].frames.push_back(std::move(frame));
    }
    return tracks;
}

void expect_frames(const std::vector<Frame> &ours, const std::vector<PeerFrame> &theirs) {
    ASSERT_EQ(ours.size(), theirs.size());
    for (size_t i = 0; i < ours.size(); ++i) {
        SCOPED_TRACE("frame " + std::to_string(i));
        ASSERT_TRUE(ours[i].data == theirs[i].data);
        if (theirs[i].time >= 0) {
            ASSERT_EQ(ours[i].info.time_stamp, theirs[i].time / 1000000);
        }
        ASSERT_EQ(ours[i].info.key_frame, theirs[i].key ? 1u : 0u);
        if (theirs[i].duration < 0) continue;
        ASSERT_EQ(ours[i].info.duration, theirs[i].duration / 1000000);
    }
}

// Uncompressed bottom-up pictures are turned round by the peer.
Bytes upside_down(const Bytes &picture, uint32_t rows) {
    const auto stride = static_cast<ptrdiff_t>(picture.size() / rows);
    Bytes turned;
    for (auto row = picture.begin(); row != picture.end(); row += stride)
        turned.insert(turned.begin(), row, row + stride);
    return turned;
}

// Audio chunks as they are handed out here: samples of 2 to 31 bytes by 1024, longer ones by one.
std::vector<PeerFrame> pieces_of(const PeerTrack &track, const SplitterAudioInfo &info) {
    // avimux writes the block size as the sample size.
    const size_t size = info.block_align, longest = size > 31 ? size : size > 1 ? size * 1024 : SIZE_MAX;
    std::vector<PeerFrame> pieces;
    int64_t sent = 0;
    for (PeerFrame chunk : track.frames) {
        Bytes rest = std::move(chunk.data);
        if (rest.size() > longest) chunk.duration = -1;
        while (!rest.empty()) {
            const auto count = static_cast<ptrdiff_t>(std::min(longest, rest.size()));
            chunk.data.assign(rest.begin(), rest.begin() + count);
            rest.erase(rest.begin(), rest.begin() + count);
            pieces.push_back(chunk);
            sent += count;
            chunk.time = sent * 1000000000 / (info.bit_rate / 8);
        }
    }
    return pieces;
}

// The frames of a track at their second reading. At the first one the bytes that became codec data are
// missing from the first frame.
std::vector<Frame> read_twice(SplitterFile &file, uint32_t track, const std::string &codec) {
    FrameRun first = file.read_all(track);
    EXPECT_EQ(first.end_code, static_cast<uint32_t>(SPLITER_ERR_END_OF_STREAM));
    EXPECT_EQ(file.reset(), 0u);
    FrameRun again = file.read_all(track);
    if (codec == "264 " || codec == "xvid" || codec == "divx" || codec == "dx50") {
        Frame &frame = first.frames.at(0);
        const Bytes headers = file.codec_data(track);
        EXPECT_FALSE(headers.empty());
        frame.data = join({headers, frame.data});
        frame.info.size = static_cast<uint32_t>(frame.data.size());
    }
    EXPECT_TRUE(first == again);
    return again.frames;
}

uint64_t duration_of(const PeerTrack &video) {
    return uint64_t{video.frames.size()} * video.caps_number("framerate", true) * 1000 /
           video.caps_number("framerate");
}

size_t largest_frame(const PeerTrack &track) {
    size_t largest = 0;
    for (const PeerFrame &frame : track.frames)
        largest = std::max(largest, frame.data.size());
    return largest;
}

void compare_video(SplitterFile &file, uint32_t track, const RealTrack &made, PeerTrack theirs) {
    const SplitterVideoInfo info = file.video_info(track);
    EXPECT_EQ(fourcc_name(info.codec), made.codec);
    EXPECT_EQ(info.width, theirs.caps_number("width"));
    EXPECT_EQ(info.height, theirs.caps_number("height"));
    EXPECT_EQ(info.frame_rate, theirs.caps_number("framerate") / theirs.caps_number("framerate", true));
    EXPECT_EQ(info.duration, duration_of(theirs));
    EXPECT_EQ(info.max_frame_size, largest_frame(theirs));
    EXPECT_EQ(info.format_header_size, 40u);
    if (theirs.caps.find("format=(string)BGR") != std::string::npos) {
        for (PeerFrame &frame : theirs.frames)
            frame.data = upside_down(frame.data, info.height);
    }
    expect_frames(read_twice(file, track, made.codec), theirs.frames);
}

void compare_audio(SplitterFile &file, uint32_t track, const RealTrack &made, const PeerTrack &theirs,
                   uint64_t video_duration) {
    const SplitterAudioInfo info = file.audio_info(track);
    const uint32_t channels = theirs.caps_number("channels");
    uint64_t bytes = 0;
    for (const PeerFrame &frame : theirs.frames)
        bytes += frame.data.size();
    EXPECT_EQ(fourcc_name(info.codec), made.codec);
    EXPECT_EQ(info.channels, std::min(channels, 2u));
    EXPECT_EQ(info.sample_rate, theirs.caps_number("rate"));
    EXPECT_EQ(info.duration, std::max(bytes * 1000 / (info.bit_rate / 8), video_duration));
    EXPECT_EQ(info.max_frame_size, largest_frame(theirs));
    EXPECT_TRUE(made.bit_rate == 0 || info.bit_rate == made.bit_rate) << info.bit_rate;
    if (theirs.caps.starts_with("audio/x-raw")) {
        EXPECT_EQ(info.block_align, made.bit_rate / 8 / info.sample_rate);
        EXPECT_EQ(info.bits_per_sample, made.bit_rate / info.sample_rate / channels);
    }
    expect_frames(read_twice(file, track, made.codec), pieces_of(theirs, info));
}

using AvidemuxTest = RealSampleTest;

INSTANTIATE_TEST_SUITE_P(Real, AvidemuxTest, testing::ValuesIn(kRealSamples));

TEST_P(AvidemuxTest, FramesAndTrackInformationAreThoseOfThePeer) {
    const std::vector<RealTrack> &made = GetParam().tracks;
    OpenedBytesOf<kAviSplitter> sample(bytes_of_file(path));
    const std::vector<SplitterTrackEntry> tracks = sample.file.tracks();
    ASSERT_EQ(tracks.size(), made.size());
    std::vector<std::string> pads;  // both number the tracks of a type in file order
    for (size_t i = 0; i < tracks.size(); ++i) {
        const size_t first_audio = tracks[0].type == SPLITER_TRACK_VIDEO ? 1 : 0;
        pads.push_back(i < first_audio ? "video_0" : "audio_" + std::to_string(i - first_audio));
    }
    const std::map<std::string, PeerTrack> peer = demux_with_gstreamer("avidemux", path, pads);
    if (peer.empty()) GTEST_SKIP() << "GStreamer's avidemux is not installed";
    uint64_t video_duration = 0;
    for (size_t i = 0; i < tracks.size(); ++i) {
        SCOPED_TRACE(pads[i]);
        const PeerTrack &theirs = peer.at(pads[i]);
        EXPECT_TRUE(made[i].chunks == 0 || theirs.frames.size() == made[i].chunks) << theirs.frames.size();
        if (pads[i] == "video_0") {
            video_duration = duration_of(theirs);
            compare_video(sample.file, tracks[i].track, made[i], theirs);
        } else {
            compare_audio(sample.file, tracks[i].track, made[i], theirs, video_duration);
        }
    }
}

class AsfdemuxTest : public testing::TestWithParam<size_t> {};

INSTANTIATE_TEST_SUITE_P(Samples, AsfdemuxTest, testing::Range(size_t{0}, asf_sample_files().size()),
                         [](const auto &which) { return asf_sample_files()[which.param].name; });

TEST_P(AsfdemuxTest, FramesAreThoseOfThePeer) {
    const AsfSample &sample = asf_sample_files()[GetParam()];
    const std::vector<AsfStream> &streams = sample.builder.streams;
    const TestFolder folder;
    const std::string path = folder.put("sample.asf", sample.bytes);
    OpenedBytesOf<kAsfSplitter> asf(sample.bytes);
    asf.file.omit_codec_data();
    for (const SplitterTrackEntry &track : asf.file.tracks()) {
        auto own = streams.begin();
        while (own->number + 1 != track.track)
            ++own;
        const auto before = std::count_if(streams.begin(), own,
                                          [&](const AsfStream &stream) { return stream.type == own->type; });
        const bool video = track.type == SPLITER_TRACK_VIDEO;
        const std::string pad = (video ? "video_" : "audio_") + std::to_string(before);
        SCOPED_TRACE(pad);
        std::map<std::string, PeerTrack> peer = demux_with_gstreamer("asfdemux", path, {pad});
        if (peer.empty()) GTEST_SKIP() << "GStreamer's asfdemux is not installed";
        std::vector<Frame> ours = asf.file.read_all(track.track).frames;
        Bytes &first = ours.at(0).data;
        first.erase(first.begin(), first.begin() + static_cast<ptrdiff_t>(video ? 0 : own->prefix));
        for (PeerFrame &frame : peer.at(pad).frames)
            frame.duration = -1;  // a constant, not the distance of the frames
        expect_frames(ours, peer.at(pad).frames);
    }
}

// Files by encoders and a camera that nothing here knows, in the folder that QUORV_REAL names.
TEST(GivenFiles, FramesAndPicturesAreThoseOfThePeer) {
    const char *const folder = getenv("QUORV_REAL");
    if (folder == nullptr) GTEST_SKIP() << "QUORV_REAL names no folder";
    size_t compared = 0;
    for (const std::filesystem::directory_entry &entry : std::filesystem::directory_iterator(folder)) {
        const std::string path = entry.path(), extension = entry.path().extension();
        const bool avi = extension == ".avi";
        if (!avi && extension != ".asf" && extension != ".wma") continue;
        const MemoryStore bytes(bytes_of_file(path));
        TestSource source(bytes);
        SplitterFile file(avi ? kAviSplitter : kAsfSplitter, source.record());
        file.omit_codec_data();
        for (const SplitterTrackEntry &track : file.tracks()) {
            const bool video = track.type == SPLITER_TRACK_VIDEO;
            const std::string pad = video ? "video_0" : "audio_0";
            SCOPED_TRACE(path + ", " + pad);
            std::map<std::string, PeerTrack> peer =
                demux_with_gstreamer(avi ? "avidemux" : "asfdemux", path, {pad});
            if (peer.empty()) GTEST_SKIP() << "GStreamer's demuxer is not installed";
            PeerTrack &theirs = peer.at(pad);
            if (video) {
                EXPECT_EQ(file.video_info(track.track).width, theirs.caps_number("width"));
                EXPECT_EQ(file.video_info(track.track).height, theirs.caps_number("height"));
            } else {
                EXPECT_EQ(file.audio_info(track.track).channels, theirs.caps_number("channels"));
                EXPECT_EQ(file.audio_info(track.track).sample_rate, theirs.caps_number("rate"));
            }
            const size_t codec_data = file.codec_data(track.track).size();
            std::vector<Frame> ours = file.read_all(track.track).frames;
            Bytes &first = ours.at(0).data;
            if (file.codec_data(track.track).size() < codec_data)  // it came in front of the first frame
                first.erase(first.begin(), first.begin() + static_cast<ptrdiff_t>(codec_data));
            for (PeerFrame &frame : theirs.frames) {
                if (!avi) frame.duration = -1;    // a constant, not the distance of the frames
                frame.key = frame.key || !video;  // not every payload of sound has the flag
                // Of a file with two packets only, the peer gives the first one's time to both.
                if (&frame != &theirs.frames[0] && frame.time == theirs.frames[0].time) frame.time = -1;
            }
            expect_frames(ours,
                          video || !avi ? theirs.frames : pieces_of(theirs, file.audio_info(track.track)));
            ++compared;
        }
    }
    EXPECT_GT(compared, 0u);
}

}  // namespace
}  // namespace quorv::test
