// What goes wrong is said in one line that names the file, and the exit code tells which kind it is.

#include <gtest/gtest.h>

#include "support/SampleFiles.h"
#include "support/TestFolder.h"
#include "tool/ToolRun.h"

namespace quorv::test {
namespace {

// One line on standard error that holds both texts.
void expect_complaint(const ToolRun &run, int exit_code, const std::string &name, const std::string &reason) {
    EXPECT_EQ(run.exit_code, exit_code);
    EXPECT_EQ(lines_of(run.err).size(), 1u) << run.err;
    EXPECT_EQ(run.err.rfind("quorv: ", 0), 0u) << run.err;
    EXPECT_NE(run.err.find(name), std::string::npos) << run.err;
    EXPECT_NE(run.err.find(reason), std::string::npos) << run.err;
}

TEST(Failure, BadInputsAreNamedWithTheReason) {
    TestFolder folder;
    const Bytes whole = bytes_of_file(real_sample());
    const Bytes asf = {0x30, 0x26, 0xB2, 0x75, 0x8E, 0x66, 0xCF, 0x11,
                       0xA6, 0xD9, 0x00, 0xAA, 0x00, 0x62, 0xCE, 0x6C};
    struct Case {
        std::string path;
        int exit_code;
        const char *reason;
    };
    const Case cases[] = {
        {folder.path("missing.avi"), 3, "No such file"},
        {folder.path(""), 3, "directory"},
        {folder.put("empty.avi", {}), 1, "empty"},
        {folder.put("notes.txt", text("Dear diary,\n\ttoday I saw no film.\n")), 1, "text"},
        {folder.put("wave.avi", join({text("RIFF"), le32(4), text("WAVE")})), 1, "not a media file"},
        {folder.put("film.asf", asf), 1, "ASF files are not supported"},
        {folder.put("tagged.mp3", join({text("ID3"), Bytes(20)})), 1, "MP3 files are not supported"},
        {folder.put("bare.mp3", join({Bytes{0xFF, 0xFB, 0x90, 0x64}, Bytes(414)})), 1,
         "MP3 files are not supported"},
        {folder.put("stub.avi", Bytes(whole.begin(), whole.begin() + 13)), 1, "no tracks"},
        {folder.put("cut.avi", Bytes(whole.begin(), whole.begin() + 30000)), 1, "truncated"},
        {"/dev/zero", 1, "not a media file"},
    };
    for (const Case &each : cases) {
        for (const std::vector<std::string> &command :
             std::vector<std::vector<std::string>>{{"info"},
                                                   {"info", "--json"},
                                                   {"frames"},
                                                   {"extract", "--track", "1", "-o", folder.path("out")}}) {
            SCOPED_TRACE(command[0] + " " + each.path);
            std::vector<std::string> arguments = command;
            arguments.push_back(each.path);
            expect_complaint(run_tool(arguments), each.exit_code, each.path, each.reason);
            std::filesystem::remove(folder.path("out"));
        }
    }
}

TEST(Failure, StandardInputIsNamedAndNotReadInVain) {
    Bytes endless(size_t{1} << 20, 'x');
    expect_complaint(run_tool({"info", "-"}, {.piped_input = &endless}), 1, "standard input", "text");
    expect_complaint(run_tool({"info", "-"}), 1, "standard input", "empty");
}

TEST(Failure, OtherFilesAreStillShownAndTheWorstDecides) {
    TestFolder folder;
    const std::string bad = folder.put("bad.avi", text("no film"));
    const ToolRun run =
        run_tool({"info", "--json", bad, real_sample(), folder.path("missing"), real_sample()});
    EXPECT_EQ(run.exit_code, 3);
    EXPECT_EQ(lines_of(run.out).size(), 2u);
    EXPECT_EQ(lines_of(run.err).size(), 2u);
    EXPECT_EQ(run_tool({"info", bad, real_sample()}).exit_code, 1);
}

TEST(Failure, WrongUsageIsExplained) {
    const std::string file = real_sample();
    const std::pair<std::vector<std::string>, const char *> cases[] = {
        {{}, "subcommand"},
        {{"dance"}, "dance"},
        {{"--dance"}, "--dance"},
        {{"info"}, "FILE"},
        {{"info", "--dance", file}, "--dance"},
        {{"frames", file, file}, file.c_str()},
        {{"frames", file, "--track", "0"}, "--track"},
        {{"frames", file, "--track", "one"}, "--track"},
        {{"frames", file, "--track", "3"}, "2 tracks"},
        {{"frames", file, "--from", "-1"}, "--from"},
        {{"frames", file, "--from", "4294967295"}, "--from"},
        {{"frames", file, "--mode", "next"}, "--from"},
        {{"frames", file, "--from", "0", "--mode", "up"}, "up"},
        {{"extract", file, "--track", "1"}, "--output"},
        {{"extract", file, "-o", "-"}, "--track"},
    };
    for (const auto &[arguments, reason] : cases) {
        const ToolRun run = run_tool(arguments);
        expect_complaint(run, 2, "", reason);
        EXPECT_EQ(run.out, "");
    }
}

TEST(Failure, AnOutputThatCannotBeWrittenIsAnError) {
    for (const std::vector<std::string> &arguments :
         std::vector<std::vector<std::string>>{{"--help"},
                                               {"--version"},
                                               {"info", real_sample()},
                                               {"info", "--json", real_sample()},
                                               {"frames", real_sample()},
                                               {"extract", real_sample(), "--track", "1", "-o", "-"}}) {
        SCOPED_TRACE(arguments[0]);
        expect_complaint(run_tool(arguments, {.output_path = "/dev/full"}), 3, "standard output", "No space");
        expect_complaint(run_tool(arguments, {.close_output = true}), 3, "standard output",
                         "Bad file descriptor");
    }
}

TEST(Failure, HelpAndVersionAreNoErrors) {
    EXPECT_NE(run_tool({"--version"}).out.find("quorv "), std::string::npos);
    for (const char *command : {"info", "frames", "extract"}) {
        EXPECT_NE(run_tool({"--help"}).out.find(command), std::string::npos);
        const ToolRun run = run_tool({command, "--help"});
        EXPECT_EQ(run.exit_code, 0);
        EXPECT_NE(run.out.find("quorv " + std::string(command)), std::string::npos);
        EXPECT_NE(run.out.find("Examples:"), std::string::npos);
    }
}

// A chunk that claims gigabytes ends its track, and the file's other track is listed all the same.
TEST(Failure, ATrackThatCannotBeReadLeavesTheOthers) {
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()}, IndexKind::None);
    builder.frame(1, size_t{64}).frame(0, size_t{10}).frame(1, size_t{64});
    Bytes bytes = builder.build().flatten();
    const Bytes header = join({text("00dc"), le32(10)}), claim = le32(0xFFFFFFF0);
    const auto at = std::search(bytes.begin(), bytes.end(), header.begin(), header.end());
    ASSERT_NE(at, bytes.end());
    std::copy(claim.begin(), claim.end(), at + 4);
    TestFolder folder;
    const ToolRun run = run_tool({"frames", "--json", folder.put("claim.avi", bytes)});
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_EQ(lines_of(run.err).size(), 1u) << run.err;
    EXPECT_NE(run.out.find("\"track\":2"), std::string::npos) << run.out;
}

}  // namespace
}  // namespace quorv::test
