// Whether an AVI file is whole: a cut at any place is told, whole files of every shape are not suspected.

#include <gtest/gtest.h>

#include "support/SampleFiles.h"
#include "support/TestFolder.h"
#include "tool/ToolRun.h"

namespace quorv::test {
namespace {

ToolRun info(const Bytes &bytes) {
    TestFolder folder;
    return run_tool({"info", "--json", folder.put("file.avi", bytes)});
}

AviBuilder three_segments() {
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::OpenDml);
    for (size_t i = 0; i < 3; ++i) {
        builder.frame(0, size_t{100});
        if (i < 2) builder.segment();
    }
    return builder;
}

TEST(Completeness, ACutAnywhereIsTold) {
    const Bytes whole = three_segments().build().flatten();
    ASSERT_EQ(info(whole).exit_code, 0);
    for (size_t length = 12; length < whole.size(); length += 37) {
        const ToolRun run = info(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        ASSERT_EQ(run.exit_code, 1) << "at " << length << " of " << whole.size();
        ASSERT_EQ(lines_of(run.err).size(), 1u) << run.err;
    }
}

TEST(Completeness, SizesLeftOpenAreNoDamage) {
    Bytes bytes =
        AviBuilder({video_stream(tag("MJPG"))}, IndexKind::None).frame(0, size_t{9}).build().flatten();
    for (const uint32_t size : {0u, 0xFFFFFFFFu}) {
        const Bytes field = le32(size);
        std::copy(field.begin(), field.end(), bytes.begin() + 4);
        const ToolRun run = info(bytes);
        EXPECT_EQ(run.exit_code, 0) << run.err;
    }
}

// Some writers count the first header in, some files carry bytes behind their end.
TEST(Completeness, SlightlyWrongSizesAreNoDamage) {
    Bytes bytes = AviBuilder({video_stream(tag("MJPG"))}).frame(0, size_t{9}).build().flatten();
    const Bytes field = le32(static_cast<uint32_t>(bytes.size()));
    std::copy(field.begin(), field.end(), bytes.begin() + 4);
    EXPECT_EQ(info(bytes).exit_code, 0);
    bytes.insert(bytes.end(), 1000, 'x');
    EXPECT_EQ(info(bytes).exit_code, 0);
}

// Frames that end long before the header's length are worth a word, but the file is whole.
TEST(Completeness, FramesThatEndEarlyAreNoted) {
    AviBuilder builder({video_stream(tag("MJPG"))});
    builder.streams[0].header.length = 1000;
    builder.frame(0, size_t{9}).frame(0, size_t{9});
    TestFolder folder;
    const std::string path = folder.put("short.avi", builder.build().flatten());
    const ToolRun run = run_tool({"frames", path});
    EXPECT_EQ(run.exit_code, 0);
    EXPECT_NE(run.err.find("ends at 0:00:00.080, its header says 0:00:40.000"), std::string::npos) << run.err;
}

TEST(Completeness, ATrackWithoutFramesIsBad) {
    AviBuilder builder({video_stream(tag("XVID"))});
    builder.streams[0].header.length = 2;
    builder.frame(0, size_t{9}).frame(0, size_t{9});  // without the header that such a track begins with
    TestFolder folder;
    const ToolRun run = run_tool({"frames", folder.put("headless.avi", builder.build().flatten())});
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_NE(run.err.find("no frame of track 1"), std::string::npos) << run.err;
}

}  // namespace
}  // namespace quorv::test
