// quorv info: what it says of a file is what the library says.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/SampleFiles.h"
#include "support/SplitterFile.h"
#include "support/TestFolder.h"
#include "tool/ToolRun.h"

namespace quorv::test {
namespace {

using Json = nlohmann::json;

std::string characters(uint32_t fourcc) {
    std::string text;
    for (int shift = 24; shift >= 0 && fourcc != 0; shift -= 8)
        text += static_cast<char>(fourcc >> shift & 0xFF);
    return text;
}

Json expected_track(SplitterFile &file, const SplitterTrackEntry &entry) {
    Json json = {{"track", entry.track}, {"type", characters(entry.type)}};
    if (entry.type == SPLITER_TRACK_VIDEO) {
        const SplitterVideoInfo video = file.video_info(entry.track);
        json.update({{"codec", characters(video.codec)},
                     {"duration_ms", video.duration},
                     {"width", video.width},
                     {"height", video.height},
                     {"frame_rate", video.frame_rate},
                     {"max_frame_size", video.max_frame_size}});
    } else if (entry.type == SPLITER_TRACK_AUDIO) {
        const SplitterAudioInfo audio = file.audio_info(entry.track);
        json.update({{"codec", characters(audio.codec)},
                     {"duration_ms", audio.duration},
                     {"channels", audio.channels},
                     {"bits_per_sample", audio.bits_per_sample},
                     {"block_align", audio.block_align},
                     {"sample_rate", audio.sample_rate},
                     {"bit_rate", audio.bit_rate},
                     {"max_frame_size", audio.max_frame_size}});
    } else {
        return json;
    }
    json["codec_data_size"] = file.codec_data(entry.track).size();
    json["seekable"] = file.is_seekable(entry.track) == 1;
    return json;
}

Json expected_file(const std::string &path, const ByteStore &bytes) {
    TestSource source(bytes);
    SplitterFile file(kAviSplitter, source.record());
    Json json = {{"file", path}, {"container", "avi"}, {"tracks", Json::array()}};
    for (const SplitterTrackEntry &entry : file.tracks())
        json["tracks"].push_back(expected_track(file, entry));
    return json;
}

TEST(Info, JsonIsWhatTheLibrarySays) {
    TestFolder folder;
    std::vector<std::string> arguments = {"info", "--json"};
    std::vector<Json> expected;
    for (SampleFile &sample : avi_sample_files()) {
        arguments.push_back(folder.put(sample.name + ".avi", sample.bytes.flatten()));
        expected.push_back(expected_file(arguments.back(), sample.bytes));
    }
    AviStream subtitles;
    subtitles.header.type = tag("txts");
    SparseStore with_text = AviBuilder({video_stream(tag("MJPG")), subtitles}).frame(0, size_t{9}).build();
    arguments.push_back(folder.put("text.avi", with_text.flatten()));
    expected.push_back(expected_file(arguments.back(), with_text));
    arguments.push_back(real_sample());
    expected.push_back(expected_file(arguments.back(), FileStore(arguments.back())));

    const ToolRun run = run_tool(arguments);
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const std::vector<std::string> lines = lines_of(run.out);
    ASSERT_EQ(lines.size(), expected.size());
    for (size_t i = 0; i < lines.size(); ++i)
        EXPECT_EQ(Json::parse(lines[i]), expected[i]) << lines[i];
}

TEST(Info, CodecsThatCannotBePrintedAreNumbers) {
    TestFolder folder;
    const std::string path = folder.put(
        "codecs.avi",
        AviBuilder({video_stream(tag("MP42")), video_stream(tag("ABCD")), video_stream(tag("H264"))})
            .frame(0, size_t{9})
            .build()
            .flatten());
    const Json tracks = Json::parse(run_tool({"info", "--json", path}).out)["tracks"];
    EXPECT_EQ(tracks[0]["codec"], "0x00FFFFFF");
    EXPECT_EQ(tracks[1]["codec"], "");
    EXPECT_EQ(tracks[2]["codec"], "264 ");
    EXPECT_NE(run_tool({"info", path}).out.find("unknown"), std::string::npos);
}

TEST(Info, FileNamesOfAnyBytesGiveValidJsonAndHarmlessText) {
    TestFolder folder;
    const std::string name = "\xFF\"\n\033[31m.avi";
    const std::string path = folder.put(name, bytes_of_file(real_sample()));
    EXPECT_EQ(Json::parse(run_tool({"info", "--json", path}).out)["file"],
              folder.path("\xEF\xBF\xBD\"\n\033[31m.avi"));
    const ToolRun text = run_tool({"info", path});
    EXPECT_EQ(text.out.find('\033'), std::string::npos);
    EXPECT_EQ(run_tool({"info", folder.put("[x]", bytes_of_file(real_sample()))}).exit_code, 0);
}

AviBuilder hours_long() {
    AviBuilder builder({video_stream(tag("MJPG"))});
    builder.streams[0].header.length = 93076;  // at 25 frames a second
    return builder.frame(0, size_t{9});
}

TEST(Info, TextShowsHoursMinutesAndSecondsInAlignedColumns) {
    TestFolder folder;
    const ToolRun run = run_tool({"info", folder.put("long.avi", hours_long().build().flatten())});
    const std::vector<std::string> lines = lines_of(run.out);
    ASSERT_EQ(lines.size(), 3u) << run.out;
    EXPECT_NE(lines[0].find(": AVI, 1:02:03.040, "), std::string::npos) << lines[0];
    const size_t column = lines[1].find("duration") + 8;
    EXPECT_EQ(lines[2].substr(column - 11, 11), "1:02:03.040") << run.out;
}

TEST(Info, OnlyATerminalGetsColours) {
    const ToolRun plain = run_tool({"info", real_sample()});
    EXPECT_EQ(plain.out.find('\033'), std::string::npos);
    setenv("TERM", "xterm", 1);
    unsetenv("NO_COLOR");
    EXPECT_NE(run_tool({"info", real_sample()}, {.terminal_output = true}).out.find('\033'),
              std::string::npos);
    setenv("NO_COLOR", "1", 1);
    EXPECT_EQ(run_tool({"info", real_sample()}, {.terminal_output = true}).out.find('\033'),
              std::string::npos);
}

TEST(Info, StandardInputMayBeAFileOrAPipe) {
    const Bytes bytes = bytes_of_file(real_sample());
    Json expected = expected_file("-", FileStore(real_sample()));
    EXPECT_EQ(Json::parse(run_tool({"info", "--json", "-"}, {.piped_input = &bytes}).out), expected);
    EXPECT_EQ(Json::parse(run_tool({"info", "--json", "-"}, {.input_path = real_sample()}).out), expected);
}

}  // namespace
}  // namespace quorv::test
