// quorv extract: the stream is complete, and no file of the user is ever lost.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/SampleFiles.h"
#include "support/SplitterFile.h"
#include "support/TestFolder.h"
#include "tool/ToolRun.h"

namespace quorv::test {
namespace {

const Bytes kOld = text("an earlier file\n");

Bytes as_bytes(const std::string &output) {
    return {output.begin(), output.end()};
}

Bytes expected_stream(const ByteStore &bytes, uint32_t track, bool codec_data) {
    TestSource source(bytes);
    SplitterFile file(kAviSplitter, source.record());
    Bytes stream = codec_data ? file.codec_data(track) : Bytes{};
    for (const Frame &frame : file.read_all(track).frames)
        stream.insert(stream.end(), frame.data.begin(), frame.data.end());
    return stream;
}

TEST(Extract, CodecDataThenEveryFrame) {
    for (SampleFile &sample : avi_sample_files()) {
        SCOPED_TRACE(sample.name);
        TestFolder folder;
        const std::string path = folder.put("in.avi", sample.bytes.flatten());
        for (uint32_t track = 1; track <= sample.builder.streams.size(); ++track) {
            const std::string number = std::to_string(track);
            const Bytes expected = expected_stream(sample.bytes, track, true);
            EXPECT_EQ(run_tool({"extract", path, "--track", number, "-o", folder.path("out")}).exit_code, 0);
            EXPECT_EQ(folder.get("out"), expected);
            EXPECT_EQ(as_bytes(run_tool({"extract", path, "--track", number, "-o", "-"}).out), expected);
            EXPECT_EQ(
                as_bytes(run_tool({"extract", path, "--track", number, "--frames-only", "-o", "-"}).out),
                expected_stream(sample.bytes, track, false));
        }
        EXPECT_EQ(folder.names(), (std::vector<std::string>{"in.avi", "out"}));
    }
}

// The bytes are those that GStreamer's demuxer delivers from the same file.
TEST(Extract, EqualsWhatGStreamerReads) {
    TestFolder folder;
    for (const auto &[track, pad] : {std::pair("1", "d.video_0"), std::pair("2", "d.audio_0")}) {
        const ToolRun peer =
            run_program({"gst-launch-1.0", "-q", "filesrc", "location=" + real_sample(), "!", "avidemux",
                         "name=d", pad, "!", "filesink", "location=" + folder.path("peer")});
        ASSERT_EQ(peer.exit_code, 0) << peer.err;
        EXPECT_EQ(as_bytes(run_tool({"extract", real_sample(), "--track", track, "-o", "-"}).out),
                  folder.get("peer"));
    }
}

TEST(Extract, ReplacesAnEarlierFileAndKeepsItsMode) {
    TestFolder folder;
    const std::string out = folder.put("out", kOld);
    ASSERT_EQ(chmod(out.c_str(), 0640), 0);
    ASSERT_EQ(symlink("out", folder.path("link").c_str()), 0);
    const ToolRun run = run_tool({"extract", real_sample(), "--track", "2", "-o", folder.path("link")});
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_EQ(folder.get("out"), expected_stream(FileStore(real_sample()), 2, true));
    struct stat after = {};
    ASSERT_EQ(stat(out.c_str(), &after), 0);
    EXPECT_EQ(after.st_mode & 07777, 0640u);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link")));
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"link", "out"}));
}

TEST(Extract, AFailedRunKeepsAnEarlierFile) {
    TestFolder folder;
    const Bytes whole = bytes_of_file(real_sample());
    const std::string cut = folder.put("cut.avi", Bytes(whole.begin(), whole.begin() + 30000));
    const std::string header_only = folder.put("head.avi", Bytes(whole.begin(), whole.begin() + 100));
    const std::string out = folder.put("out", kOld);
    const std::vector<std::string> before = folder.names();
    struct Case {
        std::string input, track;
        int exit_code;
    };
    for (const Case &each : {Case{cut, "1", 1}, Case{header_only, "1", 1}, Case{real_sample(), "3", 2},
                             Case{folder.path("missing"), "1", 3}}) {
        SCOPED_TRACE(each.input);
        const ToolRun run = run_tool({"extract", each.input, "--track", each.track, "-o", out});
        EXPECT_EQ(run.exit_code, each.exit_code);
        EXPECT_EQ(lines_of(run.err).size(), 1u) << run.err;
        EXPECT_EQ(folder.get("out"), kOld);
        EXPECT_EQ(folder.names(), before);
    }
}

TEST(Extract, AFullDiskKeepsAnEarlierFile) {
    TestFolder folder;
    const std::string out = folder.put("out", kOld);
    const ToolRun run = run_program({"sh", "-c", R"(ulimit -f 8; exec "$@")", "sh", QUORV_TOOL, "extract",
                                     real_sample(), "--track", "2", "-o", out});
    EXPECT_EQ(run.exit_code, 3);
    EXPECT_NE(run.err.find(out), std::string::npos) << run.err;
    EXPECT_EQ(folder.get("out"), kOld);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"out"}));
}

TEST(Extract, WhatIsLeftOfACutFileIsSavedWhereNothingIsLost) {
    TestFolder folder;
    const Bytes whole = bytes_of_file(real_sample());
    const Bytes bytes(whole.begin(), whole.begin() + 30000);
    const std::string cut = folder.put("cut.avi", bytes);
    const ToolRun run = run_tool({"extract", cut, "--track", "1", "-o", folder.path("new")});
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_NE(run.err.find("truncated"), std::string::npos) << run.err;
    EXPECT_EQ(folder.get("new"), expected_stream(MemoryStore(bytes), 1, true));
}

TEST(Extract, NeverWritesIntoItsInput) {
    TestFolder folder;
    const Bytes bytes = bytes_of_file(real_sample());
    const std::string in = folder.put("in.avi", bytes);
    ASSERT_EQ(symlink("in.avi", folder.path("symbolic").c_str()), 0);
    ASSERT_EQ(link(in.c_str(), folder.path("hard").c_str()), 0);
    for (const char *name : {"in.avi", "symbolic", "hard"})
        EXPECT_EQ(run_tool({"extract", in, "--track", "1", "-o", folder.path(name)}).exit_code, 2) << name;
    EXPECT_EQ(run_tool({"extract", in, "--track", "1", "-o", "-"}, {.output_path = in}).exit_code, 2);
    EXPECT_EQ(run_tool({"extract", "-", "--track", "1", "-o", in}, {.input_path = in}).exit_code, 2);
    EXPECT_EQ(folder.get("in.avi"), bytes);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"hard", "in.avi", "symbolic"}));
}

TEST(Extract, DevicesAreWrittenAndNotReplaced) {
    EXPECT_EQ(run_tool({"extract", real_sample(), "--track", "1", "-o", "/dev/null"}).exit_code, 0);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    const ToolRun full = run_tool({"extract", real_sample(), "--track", "1", "-o", "/dev/full"});
    EXPECT_EQ(full.exit_code, 3);
    EXPECT_NE(full.err.find("/dev/full"), std::string::npos) << full.err;
    EXPECT_EQ(
        run_tool({"extract", real_sample(), "--track", "1", "-o", "-"}, {.terminal_output = true}).exit_code,
        2);
}

}  // namespace
}  // namespace quorv::test
