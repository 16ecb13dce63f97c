// quorv info, frames and extract: what they give of a file is what the library gives, fit to be read.

#include <sys/types.h>

#include <md5.h>

#include "support/SplitterFile.h"
#include "tool/Shell.h"

namespace quorv::test {
namespace {

std::string characters(uint32_t fourcc) {
    std::string text;
    for (int shift = 24; shift >= 0 && fourcc != 0; shift -= 8)
        text += static_cast<char>(fourcc >> shift & 0xFF);
    return text;
}

Json expected_track(SplitterFile &file, const SplitterTrackEntry &entry) {
    Json json = {{"track", entry.track}, {"type", characters(entry.type)}};
    const auto add = [&](const auto &info, const Json &details) {
        json.update(details);
        json.update({{"codec", characters(info.codec)},
                     {"duration_ms", info.duration},
                     {"max_frame_size", info.max_frame_size},
                     {"codec_data_size", file.codec_data(entry.track).size()},
                     {"seekable", file.is_seekable(entry.track) == 1}});
    };
    if (entry.type == SPLITER_TRACK_VIDEO) {
        const SplitterVideoInfo video = file.video_info(entry.track);
        add(video, {{"width", video.width}, {"height", video.height}, {"frame_rate", video.frame_rate}});
        if (video.max_bitrate != 0) json["bit_rate"] = video.max_bitrate;
    } else if (entry.type == SPLITER_TRACK_AUDIO) {
        const SplitterAudioInfo audio = file.audio_info(entry.track);
        add(audio, {{"channels", audio.channels},
                    {"bits_per_sample", audio.bits_per_sample},
                    {"block_align", audio.block_align},
                    {"sample_rate", audio.sample_rate},
                    {"bit_rate", audio.bit_rate}});
    }
    return json;
}

Json expected_frame(uint32_t track, size_t index, const Frame &frame) {
    char digest[MD5_DIGEST_STRING_LENGTH];
    return {{"track", track},
            {"index", index},
            {"pts_ms", frame.info.time_stamp},
            {"duration_ms", frame.info.duration},
            {"size", frame.info.size},
            {"key", frame.info.key_frame == 1},
            {"md5", MD5Data(frame.data.data(), frame.data.size(), digest)}};
}

// What the three commands say of one track; returns the list of its frames.
std::vector<Json> check_track(const Shell &shell, const std::string &name, SplitterFile &file,
                              uint32_t track) {
    const std::string selection = name + " --track " + std::to_string(track);
    std::vector<Json> list;
    Bytes stream;
    const Bytes codec_data = file.codec_data(track);
    for (Frame &frame : file.read_all(track).frames) {
        // Sent once in front of the first frame, it is not shown as part of it.
        if (list.empty() && file.codec_data(track) != codec_data) {
            frame.data.erase(frame.data.begin(),
                             frame.data.begin() + static_cast<std::ptrdiff_t>(codec_data.size()));
            frame.info.size = static_cast<uint32_t>(frame.data.size());
        }
        list.push_back(expected_frame(track, list.size(), frame));
        stream = join({stream, frame.data});
    }
    EXPECT_EQ(shell.json("quorv frames --json --md5 " + selection), list);
    shell.run("quorv extract --frames-only -o - >frames " + selection);
    EXPECT_EQ(shell.get("frames"), stream);
    stream = join({codec_data, stream});
    shell.run("quorv extract -o out " + selection + "; quorv extract -o - >piped " + selection);
    EXPECT_EQ(shell.get("out"), stream);
    EXPECT_EQ(shell.get("piped"), stream);
    return list;
}

TEST(Answers, AreWhatTheLibrarySays) {
    const Shell shell;
    AviStream subtitles;
    subtitles.header.type = tag("txts");
    AviBuilder with_text({video_stream(tag("MJPG")), subtitles});
    shell.put("text.avi", with_text.frame(0, size_t{9}).build().flatten());
    for (const std::string &name : shell.add_samples()) {
        SCOPED_TRACE(name);
        const MemoryStore bytes(shell.get(name));
        TestSource source(bytes);
        const std::string format = name.substr(name.size() - 3);
        SplitterFile file(format == "avi" ? kAviSplitter : kAsfSplitter, source.record());
        file.omit_codec_data();
        Json info = {{"file", name}, {"container", format}, {"tracks", Json::array()}};
        std::vector<Json> frames;
        for (const SplitterTrackEntry &entry : file.tracks()) {
            info["tracks"].push_back(expected_track(file, entry));
            if (entry.type != SPLITER_TRACK_VIDEO && entry.type != SPLITER_TRACK_AUDIO) continue;
            const std::vector<Json> list = check_track(shell, name, file, entry.track);
            frames.insert(frames.end(), list.begin(), list.end());
        }
        EXPECT_EQ(shell.json("quorv info --json " + name), std::vector<Json>{info});
        info["file"] = "-";
        EXPECT_EQ(shell.json("quorv info --json - <" + name), std::vector<Json>{info});
        EXPECT_EQ(shell.json("cat " + name + " | quorv info --json -"), std::vector<Json>{info});
        EXPECT_FALSE(frames.empty());
        EXPECT_EQ(shell.json("quorv frames --json --md5 " + name), frames);
        for (Json &frame : frames)
            frame.erase("md5");
        EXPECT_EQ(shell.json("quorv frames --json " + name), frames);
    }
}

TEST(Answers, FramesBeginAtTheKeyFrameBesideATime) {
    const Shell shell;
    std::vector<uint32_t> keys;
    for (const Json &frame : shell.json("quorv frames --json --track 1 $SAMPLE")) {
        if (frame["key"]) keys.push_back(frame["pts_ms"]);
    }
    ASSERT_GT(keys.size(), 1u);
    const auto first_time = [&shell](uint32_t time, const std::string &mode) {
        return shell
            .json("quorv frames --json --track 1 $SAMPLE --mode " + mode + " --from " + std::to_string(time))
            .at(0)["pts_ms"];
    };
    for (size_t i = 1; i < keys.size(); ++i) {
        EXPECT_EQ(first_time(keys[i], "next"), keys[i]);
        EXPECT_EQ(first_time(keys[i] - 40, "next"), keys[i]);
        EXPECT_EQ(first_time(keys[i] - 40, "prev"), keys[i - 1]);
    }
    EXPECT_EQ(first_time(UINT32_MAX - 1, "prev"), keys.back());
    EXPECT_TRUE(shell.json("quorv frames --json --track 1 $SAMPLE --mode next --from 4294967294").empty());
}

TEST(Answers, OddNamesGiveValidJsonAndHarmlessText) {
    const Shell shell;
    AviBuilder builder({video_stream(tag("MP42")), video_stream(tag("ABCD")), video_stream(tag("H264"))});
    for (AviStream &stream : builder.streams)
        stream.header.length = 93076;  // at 25 frames a second
    shell.put("\xFF\"\n\033[31m.avi", builder.frame(0, size_t{9}).build().flatten());
    const Json json = shell.json("quorv info --json *.avi").at(0);
    EXPECT_EQ(json["file"], "\xEF\xBF\xBD\"\n\033[31m.avi");
    EXPECT_EQ(json["tracks"][0]["codec"], "0x00FFFFFF");
    EXPECT_EQ(json["tracks"][1]["codec"], "");
    EXPECT_EQ(json["tracks"][2]["codec"], "264 ");

    const std::string text = shell.run("quorv info *.avi").out;
    EXPECT_EQ(text.find('\033'), std::string::npos);
    EXPECT_NE(text.find("unknown"), std::string::npos);
    const std::vector<std::string> lines = lines_of(text);
    ASSERT_EQ(lines.size(), 5u) << text;
    EXPECT_EQ(lines[2].substr(lines[1].find("duration") + 8 - 11, 11), "1:02:03.040") << text;

    const std::string on_terminal = " TERM=xterm script -qec 'quorv info $SAMPLE' /dev/null";
    EXPECT_NE(shell.run("unset NO_COLOR;" + on_terminal).out.find("\033["), std::string::npos);
    EXPECT_EQ(shell.run("NO_COLOR=1" + on_terminal).out.find("\033["), std::string::npos);
}

}  // namespace
}  // namespace quorv::test
