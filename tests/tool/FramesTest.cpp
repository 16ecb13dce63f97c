// quorv frames: every frame of every track, as the library delivers them.

#include <gtest/gtest.h>
#include <sys/types.h>

#include <md5.h>

#include <nlohmann/json.hpp>

#include "support/SampleFiles.h"
#include "support/SplitterFile.h"
#include "support/TestFolder.h"
#include "tool/ToolRun.h"

namespace quorv::test {
namespace {

using Json = nlohmann::json;

std::string md5_of(const Bytes &bytes) {
    char text[MD5_DIGEST_STRING_LENGTH];
    return MD5Data(bytes.data(), bytes.size(), text);
}

std::vector<Json> expected_frames(SplitterFile &file, uint32_t track) {
    std::vector<Json> frames;
    for (const Frame &frame : file.read_all(track).frames)
        frames.push_back({{"track", track},
                          {"index", frames.size()},
                          {"pts_ms", frame.info.time_stamp},
                          {"duration_ms", frame.info.duration},
                          {"size", frame.info.size},
                          {"key", frame.info.key_frame == 1},
                          {"md5", md5_of(frame.data)}});
    return frames;
}

std::vector<Json> listed_frames(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"frames", "--json"});
    const ToolRun run = run_tool(arguments);
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_EQ(run.err, "");
    std::vector<Json> frames;
    for (const std::string &line : lines_of(run.out))
        frames.push_back(Json::parse(line));
    return frames;
}

TEST(Frames, JsonIsWhatTheLibraryReads) {
    TestFolder folder;
    std::vector<std::string> paths = {real_sample()};
    for (SampleFile &sample : avi_sample_files())
        paths.push_back(folder.put(sample.name + ".avi", sample.bytes.flatten()));
    for (const std::string &path : paths) {
        SCOPED_TRACE(path);
        const FileStore bytes(path);
        TestSource source(bytes);
        SplitterFile file(kAviSplitter, source.record());
        std::vector<Json> expected;
        for (const SplitterTrackEntry &entry : file.tracks()) {
            const std::vector<Json> track = expected_frames(file, entry.track);
            EXPECT_EQ(listed_frames({path, "--md5", "--track", std::to_string(entry.track)}), track);
            expected.insert(expected.end(), track.begin(), track.end());
        }
        EXPECT_FALSE(expected.empty());
        EXPECT_EQ(listed_frames({path, "--md5"}), expected);
        for (Json &frame : expected)
            frame.erase("md5");
        EXPECT_EQ(listed_frames({path}), expected);
    }
}

// The digests are those that the algorithm's publication lists.
TEST(Frames, DigestsAreMd5) {
    const std::pair<const char *, const char *> cases[] = {
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
    };
    AviBuilder builder({video_stream(tag("MJPG"))});
    for (const auto &[content, digest] : cases)
        builder.frame(0, text(content));
    TestFolder folder;
    const std::vector<Json> frames =
        listed_frames({"--md5", folder.put("digests.avi", builder.build().flatten())});
    ASSERT_EQ(frames.size(), std::size(cases));
    for (size_t i = 0; i < frames.size(); ++i)
        EXPECT_EQ(frames[i]["md5"], cases[i].second);
}

TEST(Frames, BeginAtTheKeyFrameBesideATime) {
    const std::vector<Json> all = listed_frames({real_sample(), "--track", "1"});
    std::vector<uint32_t> keys;
    for (const Json &frame : all) {
        if (frame["key"]) keys.push_back(frame["pts_ms"]);
    }
    ASSERT_GT(keys.size(), 1u);
    const auto first_time = [](uint32_t time, const char *mode) {
        const std::vector<Json> frames =
            listed_frames({real_sample(), "--track", "1", "--from", std::to_string(time), "--mode", mode});
        return frames.empty() ? -1 : frames[0]["pts_ms"].get<int>();
    };
    for (size_t i = 0; i < keys.size(); ++i) {
        const int next = i + 1 < keys.size() ? static_cast<int>(keys[i + 1]) : -1;
        EXPECT_EQ(first_time(keys[i], "prev"), static_cast<int>(keys[i]));
        EXPECT_EQ(first_time(keys[i], "next"), static_cast<int>(keys[i]));
        EXPECT_EQ(first_time(keys[i] + 40, "prev"), static_cast<int>(keys[i]));
        EXPECT_EQ(first_time(keys[i] + 40, "next"), next);
    }
    std::vector<Json> tail(all.end() - 1, all.end());
    while (tail[0]["pts_ms"] > keys.back())
        tail.insert(tail.begin(), all[all.size() - tail.size() - 1]);
    for (size_t i = 0; i < tail.size(); ++i)
        tail[i]["index"] = i;
    EXPECT_EQ(listed_frames({real_sample(), "--track", "1", "--from", "4294967294"}), tail);
}

TEST(Frames, TextHasALineAFrameUnderATitle) {
    const ToolRun run = run_tool({"frames", real_sample()});
    const std::vector<std::string> lines = lines_of(run.out);
    ASSERT_EQ(lines.size(), 1 + listed_frames({real_sample()}).size());
    EXPECT_EQ(lines[1].substr(lines[0].find("time") + 4 - 11, 11), "0:00:00.000") << lines[1];
    EXPECT_TRUE(lines[1].ends_with("key")) << lines[1];
    EXPECT_FALSE(lines[2].ends_with(" ")) << lines[2];
}

TEST(Frames, AReaderThatHasSeenEnoughIsNoError) {
    AviBuilder builder({video_stream(tag("MJPG"))});
    for (size_t i = 0; i < 20000; ++i)
        builder.frame(0, size_t{1});
    TestFolder folder;
    const std::string path = folder.put("many.avi", builder.build().flatten());
    for (const char *format : {"--json", "--md5"}) {
        const ToolRun run = run_tool({"frames", path, format}, {.read_at_most = 100});
        EXPECT_EQ(run.exit_code, 0);
        EXPECT_EQ(run.err, "");
    }
}

}  // namespace
}  // namespace quorv::test
