// Real AVI files and the ASF sample files, frame by frame, against what GStreamer's demuxers deliver.
//
// By contract the two differ in what is noted below, and in that the peer's times are nanoseconds, that more
// than two channels are reported as two here and that formats without a codec of their own have codec 0.

#include <quorv/video_header.h>

#include <functional>
#include <regex>

#include "interop/RealSamples.h"
#include "support/ExpectFrames.h"
#include "support/SampleFiles.h"

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
    const size_t stride = picture.size() / rows;
    Bytes turned(picture.size());
    for (size_t row = 0; row < rows; ++row)
        std::copy_n(&picture[row * stride], stride, &turned[(rows - 1 - row) * stride]);
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

// The header functions against the encoder's words in the container: picture sizes and key frames.
void compare_headers(const Bytes &headers, const SplitterVideoInfo &info, const std::vector<Frame> &frames) {
    const std::string codec = fourcc_name(info.codec);
    const bool mpeg4 = codec == "xvid" || codec == "divx" || codec == "dx50";
    if (headers.empty() || (!mpeg4 && codec != "264 ")) return;
    const auto size = [](const Bytes &bytes) { return static_cast<uint32_t>(bytes.size()); };
    ZevVideoParam param = {};
    uint32_t profile = 0, type = 0, units[8] = {};
    if (mpeg4) {
        EXPECT_EQ(ZEV_MPEG4_GetVideoParam(headers.data(), size(headers), &param), VIDHDR_OK);
    } else {
        const uint32_t count = ZEV_H264_GetNALHdr(headers.data(), size(headers), units, 8);
        const auto is_sps = [&](uint32_t unit) { return (headers[unit + 3] & 31) == 7; };
        const uint32_t *sps = std::find_if(units, units + count, is_sps);
        ASSERT_LT(sps, units + count);
        EXPECT_EQ(ZEV_H264_GetProfileID(&profile, &headers[*sps], size(headers) - *sps), 0u);
        const uint32_t code = ZEV_H264_GetVideoParam(&param, &headers[*sps], size(headers) - *sps);
        EXPECT_EQ(code, profile == 100 ? uint32_t{VIDHDR_H264_ERR} : 0);  // not of the high profile
    }
    EXPECT_EQ(param.width, profile == 100 ? 0 : info.width);
    EXPECT_EQ(param.height, profile == 100 ? 0 : info.height);
    const uint32_t key = mpeg4 ? uint32_t{VIDHDR_VOP_I} : uint32_t{VIDHDR_H264_SLICE_IDR};
    for (const Frame &frame : frames) {
        if (mpeg4)
            ZEV_MPEG4_GetVop_IPB(frame.data.data(), size(frame.data), &param, &type);
        else
            type = ZEV_H264_GetSliceType(frame.data.data(), size(frame.data));
        EXPECT_EQ(type == key, frame.info.key_frame == 1);
    }
}

// Compares every track of a file with what the peer delivers at its pad, at the second reading: what becomes
// codec data or is sent once is missing at the first one.
void compare_tracks(SplitterFile &file, const std::string &element, const std::string &path,
                    const std::function<std::string(const SplitterTrackEntry &)> &pad_of) {
    const bool is_avi = element == "avidemux";
    file.omit_codec_data();
    for (const SplitterTrackEntry &track : file.tracks()) {
        const bool video = track.type == SPLITER_TRACK_VIDEO;
        const std::string pad = pad_of(track);
        SCOPED_TRACE(path + ", " + pad);
        std::map<std::string, PeerTrack> peer = demux_with_gstreamer(element, path, {pad});
        if (peer.empty()) GTEST_SKIP() << "GStreamer's " << element << " is not installed";
        PeerTrack &theirs = peer.at(pad);
        file.read_all(track.track);
        ASSERT_EQ(file.reset(), 0u);
        const FrameRun ours = file.read_all(track.track);
        const auto picture = video ? file.video_info(track.track) : SplitterVideoInfo{};
        const auto sound = video ? SplitterAudioInfo{} : file.audio_info(track.track);
        EXPECT_EQ(ours.end_code, kEnd);
        EXPECT_EQ(video ? picture.width : sound.channels,
                  video ? theirs.caps_number("width") : std::min(theirs.caps_number("channels"), 2u));
        EXPECT_EQ(video ? picture.height : sound.sample_rate, theirs.caps_number(video ? "height" : "rate"));
        if (video) compare_headers(file.codec_data(track.track), picture, ours.frames);
        for (PeerFrame &frame : theirs.frames) {
            if (!is_avi) frame.duration = -1;  // a constant, not the distance of the frames
            frame.key = frame.key || !video;   // not every payload of sound has the flag
            // Of a file with two packets only, the peer gives the first one's time to both.
            if (&frame != &theirs.frames[0] && frame.time == theirs.frames[0].time) frame.time = -1;
            if (theirs.caps.find("format=(string)BGR") != std::string::npos)
                frame.data = upside_down(frame.data, picture.height);
        }
        expect_frames(ours.frames, video || !is_avi ? theirs.frames : pieces_of(theirs, sound));
    }
}

using Avidemux = RealSampleTest;

INSTANTIATE_TEST_SUITE_P(Real, Avidemux, testing::ValuesIn(real_samples()));

TEST_P(Avidemux, FramesAndPicturesAreThoseOfThePeer) {
    AviBytes sample(bytes_of_file(path));
    const uint32_t first_audio = sample.file.tracks().at(0).type == SPLITER_TRACK_VIDEO ? 2 : 1;
    compare_tracks(sample.file, "avidemux", path, [first_audio](const SplitterTrackEntry &track) {
        const bool video = track.type == SPLITER_TRACK_VIDEO;
        return video ? "video_0" : "audio_" + std::to_string(track.track - first_audio);
    });
}

TEST(Asfdemux, FramesOfTheSampleFilesAreThoseOfThePeer) {
    for (const SampleFile &sample : sample_files()) {
        if (!sample.is_asf()) continue;
        const TestFolder folder;
        AsfBytes asf(sample.bytes);
        // One file has another video stream in front of the one that is taken.
        const std::string video_pad = sample.name == "asf_many_streams" ? "video_1" : "video_0";
        compare_tracks(asf.file, "asfdemux", folder.put(sample.name, sample.bytes.flatten()),
                       [&video_pad](const SplitterTrackEntry &track) {
                           return track.type == SPLITER_TRACK_VIDEO ? video_pad : "audio_0";
                       });
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
        compare_tracks(file, avi ? "avidemux" : "asfdemux", path, [](const SplitterTrackEntry &track) {
            return track.type == SPLITER_TRACK_VIDEO ? "video_0" : "audio_0";
        });
        compared += file.tracks().size();
    }
    EXPECT_GT(compared, 0u);
}

}  // namespace
}  // namespace quorv::test
