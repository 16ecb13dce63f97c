// quorv info, frames and extract: what they give of a file is what the library gives, fit to be read.

#include <quorv/quorv.h>
#include <sys/types.h>

#include <md5.h>

#include <map>
#include <memory>
#include <set>

#include "support/Mp3Streams.h"
#include "tool/Shell.h"

namespace quorv::test {
namespace {

using Reader = std::unique_ptr<QuorvReader, decltype(&quorv_close)>;

Reader open_memory(const Bytes &file) {
    QuorvReader *reader = nullptr;
    EXPECT_EQ(quorv_open_memory(file.data(), file.size(), &reader), QUORV_OK);
    return {reader, quorv_close};
}

// Of a file that does not say it, as its first frame lasts.
int64_t whole_frame_rate(const QuorvRational &rate, const std::vector<Json> &frames) {
    if (rate.den != 0) return rate.num / rate.den;
    const auto duration = frames.empty() ? 0 : frames[0]["duration_ms"].get<int64_t>();
    return duration == 0 ? 0 : (1000 + duration / 2) / duration;
}

Json expected_track(const QuorvTrack &track, const std::vector<Json> &frames) {
    const std::map<QuorvTrackType, std::string> types = {
        {QUORV_TRACK_VIDEO, "vide"}, {QUORV_TRACK_AUDIO, "soun"}, {QUORV_TRACK_TEXT, "text"}};
    Json json = {{"track", track.number}, {"type", types.at(track.type)}};
    if (track.type == QUORV_TRACK_TEXT) return json;
    json.update({{"codec", fourcc_name(track.codec)},
                 {"duration_ms", track.duration_us / 1000},
                 {"max_frame_size", track.max_packet_size},
                 {"codec_data_size", track.codec_data_size},
                 {"seekable", track.seekable != 0},
                 {"codec_name", track.codec_name}});
    if (track.frame_rate.den != 0)
        json.update({{"frame_rate_num", track.frame_rate.num}, {"frame_rate_den", track.frame_rate.den}});
    if (track.type == QUORV_TRACK_AUDIO || track.bit_rate != 0) json["bit_rate"] = track.bit_rate;
    if (track.type == QUORV_TRACK_VIDEO) {
        json.update({{"width", track.width},
                     {"height", track.height},
                     {"frame_rate", whole_frame_rate(track.frame_rate, frames)}});
    } else {
        json.update({{"channels", track.channels},
                     {"bits_per_sample", track.bits_per_sample != 0 ? track.bits_per_sample : 16},
                     {"block_align", track.block_align},
                     {"sample_rate", track.sample_rate}});
    }
    return json;
}

// Of an object, those of the keys that another one has.
Json known_keys(const Json &object, const Json &expected) {
    Json known = Json::object();
    for (const auto &[key, value] : object.items()) {
        if (expected.contains(key)) known[key] = value;
    }
    return known;
}

Json info_of(const Shell &shell, const std::string &line, const Json &expected) {
    Json info = known_keys(shell.json(line).at(0), expected);
    for (size_t i = 0; i < info["tracks"].size(); ++i)
        info["tracks"][i] = known_keys(info["tracks"][i], expected["tracks"][i]);
    return info;
}

// The real one's first frame stands behind the codec data in its chunk.
uint64_t bytes_of(const QuorvTrack &track, const std::vector<Json> &frames) {
    uint64_t bytes = track.codec_data_size;
    for (const Json &frame : frames)
        bytes += frame["size"].get<uint64_t>();
    return bytes;
}

// Their media holds chunks that are none, and a palette that is too long.
bool is_damaged(const std::string &name) {
    static const std::set<std::string> names = {"palettes.avi", "rough_media_without_index.avi"};
    return names.contains(name);
}

// What the three commands say of one track; returns the list of its frames.
std::vector<Json> check_track(const Shell &shell, const std::string &name, QuorvReader *reader,
                              uint32_t index) {
    const QuorvTrack &track = *quorv_track(reader, index);
    const std::string selection = name + " --track " + std::to_string(track.number);
    std::vector<Json> list;
    Bytes stream;
    for (const QuorvPacket *packet = nullptr; quorv_read_track(reader, index, &packet) == QUORV_OK;) {
        const auto *data = static_cast<const uint8_t *>(packet->data);
        char digest[MD5_DIGEST_STRING_LENGTH];
        list.push_back({{"track", track.number},
                        {"index", list.size()},
                        {"pts_ms", packet->time_us / 1000},
                        {"duration_ms", packet->duration_us / 1000},
                        {"size", packet->size},
                        {"key", packet->key != 0},
                        {"md5", MD5Data(data, packet->size, digest)}});
        if (packet->offset >= 0) list.back()["offset"] = packet->offset;
        stream.insert(stream.end(), data, data + packet->size);
    }
    EXPECT_EQ(shell.json("quorv frames --json --md5 " + selection, is_damaged(name)), list);
    shell.run("quorv extract --frames-only -o - >frames " + selection);
    EXPECT_EQ(shell.get("frames"), stream);
    const auto *codec_data = static_cast<const uint8_t *>(track.codec_data);
    shell.run("rm -f out; quorv extract -o out " + selection);
    EXPECT_EQ(shell.get("out"), join({Bytes(codec_data, codec_data + track.codec_data_size), stream}));
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
        const Bytes bytes = shell.get(name);
        const Reader reader = open_memory(bytes);
        Json info = {{"file", name}, {"container", name.substr(name.size() - 3)}, {"tracks", Json::array()}};
        std::vector<Json> frames;
        for (uint32_t i = 0; i < quorv_file(reader.get())->track_count; ++i) {
            const QuorvTrack &track = *quorv_track(reader.get(), i);
            std::vector<Json> list;
            if (track.type != QUORV_TRACK_TEXT) list = check_track(shell, name, reader.get(), i);
            info["tracks"].push_back(expected_track(track, list));
            frames.insert(frames.end(), list.begin(), list.end());
            if (name == "real.avi") info["tracks"].back()["bytes"] = bytes_of(track, list);
        }
        EXPECT_EQ(info_of(shell, "quorv info --json " + name, info), info);
        info["file"] = "-";
        for (const std::string &line :
             {"quorv info --json - <" + name, "cat " + name + " | quorv info --json -"})
            EXPECT_EQ(info_of(shell, line, info), info) << line;
        EXPECT_FALSE(frames.empty());
        for (Json &frame : frames)
            frame.erase("md5");
        EXPECT_EQ(shell.json("quorv frames --json " + name, is_damaged(name)), frames);
    }
}

TEST(Answers, FramesBeginAtTheKeyFrameBesideATime) {
    const Shell shell;
    std::vector<uint32_t> keys;
    for (const Json &frame : shell.json("quorv frames --json --track 1 $SAMPLE")) {
        if (frame["key"]) keys.push_back(frame["pts_ms"]);
    }
    ASSERT_GT(keys.size(), 1u);
    const auto first_time = [&shell](const std::string &mode, uint32_t time) {
        const std::string from = "quorv frames --json --track 1 $SAMPLE --mode " + mode + " --from ";
        const std::vector<Json> frames = shell.json(from + std::to_string(time));
        return frames.empty() ? Json() : frames[0]["pts_ms"];
    };
    for (size_t i = 1; i < keys.size(); ++i) {
        EXPECT_EQ(first_time("next", keys[i]), keys[i]);
        EXPECT_EQ(first_time("next", keys[i] - 40), keys[i]);
        EXPECT_EQ(first_time("prev", keys[i] - 40), keys[i - 1]);
    }
    EXPECT_EQ(first_time("prev", UINT32_MAX - 1), keys.back());
    EXPECT_EQ(first_time("next", UINT32_MAX - 1), Json());
}

// Three chunks of sound, of which the first two lie in front of the picture, and the third begins inside a
// frame.
TEST(Answers, TellWhatFirstFramesAndPropertiesShow) {
    const Shell shell;
    AviBuilder builder({video_stream(tag("MJPG")), mp3_stream(48000, 1152, 1152)});
    builder.streams[0].after_format =
        chunk(tag("vprp"), join({Bytes(20), {9, 0, 16, 0}, Bytes(8), le32(1), Bytes(32)}));
    const Bytes sound = noise_stream(1, {48000, 2, 9}),
                picture = {0xFF, 0xD8, 0xFF, 0xC0, 0,    17, 8, 0,    48, 0,    64,  3,
                           1,    0x21, 0,    2,    0x11, 1,  3, 0x11, 1,  0xFF, 0xD9};
    builder.frame(1, sound).frame(1, sound).frame(0, picture);
    const auto check = [&](uint32_t chunks, bool aligned) {
        builder.streams[1].header.length = chunks;
        shell.put("file.avi", AviBuilder(builder).build().flatten());
        const Json tracks = shell.json("quorv info --json file.avi").at(0)["tracks"];
        EXPECT_EQ(tracks[0]["display_aspect"], "16:9");
        EXPECT_EQ(tracks[0]["coding"], "4:2:2, 8 bits");
        EXPECT_EQ(tracks[0]["interlaced"], false);
        EXPECT_EQ(tracks[1]["interleave_ms"], 24);
        EXPECT_EQ(tracks[1]["interleave_lead_ms"], 48);
        EXPECT_EQ(tracks[1]["interleave_aligned"], aligned);
    };
    check(2, true);
    builder.frame(1, Bytes(sound.begin() + 9, sound.end()));
    check(3, false);
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
    ASSERT_GE(lines.size(), 5u) << text;
    EXPECT_EQ(lines[2].substr(lines[1].find("duration") + 8 - 11, 11), "1:02:03.040") << text;

    const std::string on_terminal = " TERM=xterm script -qec 'quorv info $SAMPLE' /dev/null";
    EXPECT_NE(shell.run("unset NO_COLOR;" + on_terminal).out.find("\033["), std::string::npos);
    EXPECT_EQ(shell.run("NO_COLOR=1" + on_terminal).out.find("\033["), std::string::npos);
}

std::string without_blanks(std::string text) {
    std::erase_if(text, [](char c) { return c == ' ' || c == '\n'; });
    return text;
}

// Down to a width at which every row is a list; no line is longer, no fact is cut.
TEST(Answers, TablesFitTheTerminal) {
    const Shell shell;
    const auto on_terminal = [&shell](const std::string &command, size_t width) {
        const std::string stty = "stty cols " + std::to_string(width) + "; quorv " + command + " $SAMPLE";
        return shell.run("TERM=dumb script -qec '" + stty + "' /dev/null | tr -d '\\r'").out;
    };
    for (const size_t width : {200u, 80u, 60u, 30u}) {
        SCOPED_TRACE(width);
        const std::string info = on_terminal("info", width);
        for (const char *fact : {"0:00:03.000", "320x240", "25 fps", "44100 Hz", "2 channels", "128 kbit/s"})
            EXPECT_NE(info.find(fact), std::string::npos) << fact << '\n' << info;
        std::string texts = info;
        for (const std::string command : {"frames --md5", "headers"}) {
            const std::string text = on_terminal(command, width);
            EXPECT_EQ(without_blanks(text), without_blanks(shell.run("quorv " + command + " $SAMPLE").out));
            texts += text;
        }
        for (const std::string &line : lines_of(texts))
            EXPECT_LE(line.starts_with('/') ? 0 : line.size(), width) << line;
    }
}

}  // namespace
}  // namespace quorv::test
