// The tool on large input and output and on many files: run by hand, as it takes minutes.

#include <fstream>

#include "support/Mp3Streams.h"
#include "tool/Shell.h"

namespace quorv::test {
namespace {

// Blocks of zeros become holes.
void write_sparse(const std::string &path, const MemoryStore &store) {
    std::ofstream file(path, std::ios::binary);
    std::vector<char> block(size_t{1} << 20);
    for (uint64_t at = 0; at < store.size(); at += block.size()) {
        const auto count = static_cast<size_t>(std::min<uint64_t>(block.size(), store.size() - at));
        store.copy(at, block.data(), count);
        if (std::all_of(block.begin(), block.end(), [](char c) { return c == 0; })) continue;
        file.seekp(static_cast<std::streamoff>(at)).write(block.data(), static_cast<std::streamsize>(count));
    }
    ASSERT_TRUE(file.flush()) << path;
    std::filesystem::resize_file(path, store.size());
}

TEST(Long, AnAviFileOfOver4GbIsListedAndExtracted) {
    constexpr uint32_t kGap = 0x3FFF0000;  // of zeros, nearly 1 GB
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::OpenDml);
    for (size_t i = 0; i < 6; ++i) {
        if (i != 0) builder.segment();
        builder.frame(0, 100 + i).junk(kGap).frame(0, 200 + i);
    }
    const Shell shell;
    write_sparse(shell.path("large.avi"), builder.build());
    ASSERT_GT(std::filesystem::file_size(shell.path("large.avi")), uint64_t{1} << 32);
    const std::vector<Json> frames = shell.json("quorv frames --json large.avi");
    const std::vector<TruthFrame> &truth = builder.truth(0);
    ASSERT_EQ(frames.size(), truth.size());
    Bytes stream;
    for (size_t i = 0; i < truth.size(); ++i) {
        EXPECT_EQ(frames[i]["pts_ms"], truth[i].time_stamp);
        EXPECT_EQ(frames[i]["size"], truth[i].data.size());
        stream = join({stream, truth[i].data});
    }
    EXPECT_EQ(shell.run("quorv extract large.avi --track 1 --frames-only -o out").exit_code, 0);
    EXPECT_EQ(shell.get("out"), stream);
}

// Chunks that are holes but for their first bytes; sizes and index were never written.
TEST(Long, AnUnfinishedFileOfOver4GbIsRepaired) {
    constexpr uint32_t kChunk = 0x1000000;
    constexpr uint64_t kCount = 260;
    const Shell shell;
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::None);
    builder.zero_movi_size = true;
    Bytes start = builder.build().flatten();
    std::fill_n(start.begin() + 4, 4, uint8_t{0});
    std::ofstream file(shell.path("in"), std::ios::binary);
    file.write(reinterpret_cast<const char *>(start.data()), std::ssize(start));
    for (uint64_t i = 0; i < kCount; ++i) {
        const Bytes header = join({text("00dc"), le32(kChunk), le32(static_cast<uint32_t>(i))});
        file.seekp(static_cast<std::streamoff>(start.size() + i * (kChunk + 8)));
        file.write(reinterpret_cast<const char *>(header.data()), std::ssize(header));
    }
    ASSERT_TRUE(file.flush());
    std::filesystem::resize_file(shell.path("in"), start.size() + kCount * (kChunk + 8));
    // Memory: one frame for the library, and little else.
    EXPECT_EQ(shell.run("ulimit -v 200000; quorv repair in -o out").exit_code, 0);
    EXPECT_EQ(lines_of(shell.run("grep -ao 'AVIXLIST' out").out).size(), 4u);
    EXPECT_GT(std::filesystem::file_size(shell.path("out")), uint64_t{1} << 32);
    const auto digests = [&](const std::string &name) {
        return shell.run("quorv frames --json --md5 " + name + " | grep -o '\"md5.*'").out;
    };
    EXPECT_EQ(lines_of(digests("out")).size(), kCount);
    EXPECT_EQ(digests("out"), digests("in"));
    EXPECT_EQ(shell.json("quorv frames --json --from 10240 out").at(0)["pts_ms"], 10240);
}

TEST(Long, SoundOfOver4GbIsAnRf64File) {
    constexpr size_t kHeaderBytes = 80, kSizeAt = 28;
    const Bytes piece = real_mp3_stream();
    const uint64_t copies = (uint64_t{1} << 32) / decode(piece).size() + 2;
    const Shell shell;
    std::ofstream file(shell.path("long.mp3"), std::ios::binary);
    for (uint64_t i = 0; i < copies; ++i)
        file.write(reinterpret_cast<const char *>(piece.data()), std::ssize(piece));
    ASSERT_TRUE(file.flush());
    const ToolRun run = shell.run(
        "quorv decode long.mp3 && head -c 80 long.wav >start && echo $(($(stat -c %s long.wav) - 80))");
    EXPECT_EQ(run.err, "");
    const Bytes start = shell.get("start");
    ASSERT_EQ(start.size(), kHeaderBytes);
    EXPECT_TRUE(std::string(start.begin(), start.end()).starts_with("RF64"));
    EXPECT_EQ(Bytes(start.begin() + kSizeAt, start.begin() + kSizeAt + 8), le64(std::stoull(run.out)));
    EXPECT_GT(std::stoull(run.out), UINT32_MAX);
}

TEST(Long, TenThousandFilesNeedFewDescriptors) {
    const Shell shell;
    const ToolRun run = shell.run(
        "for i in $(seq 10000); do echo $i.avi; done | xargs -n 1 ln -s $SAMPLE; ulimit -n 20; "
        "quorv info --json *.avi");
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_EQ(lines_of(run.out).size(), 10000u);
}

}  // namespace
}  // namespace quorv::test
