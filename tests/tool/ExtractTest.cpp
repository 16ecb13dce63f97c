// quorv extract: the stream is what a peer reads, and no file of the user is ever lost.

#include "tool/Shell.h"

namespace quorv::test {
namespace {

using Names = std::vector<std::string>;

const Bytes kOld = text("an earlier file\n");

// The bytes are those that GStreamer's demuxer delivers from the same file.
TEST(Extract, EqualsWhatGStreamerReads) {
    const Shell shell;
    for (const auto &[track, pad] : {std::pair("1", "d.video_0"), std::pair("2", "d.audio_0")}) {
        const ToolRun run = shell.run("gst-launch-1.0 -q filesrc location=$SAMPLE ! avidemux name=d " +
                                      std::string(pad) + " ! filesink location=peer && quorv extract " +
                                      "$SAMPLE -o - --track " + track + " | cmp - peer");
        EXPECT_EQ(run.exit_code, 0) << run.out << run.err;
    }
}

TEST(Extract, ReplacesAnEarlierFileAndKeepsItsMode) {
    const Shell shell;
    shell.put("out", kOld);
    const ToolRun run = shell.run(
        "chmod 640 out; ln -s out link; quorv extract $SAMPLE --track 2 -o link && stat -c %a out && "
        "quorv extract $SAMPLE --track 2 -o - | cmp - out");
    EXPECT_EQ(run.exit_code, 0) << run.out << run.err;
    EXPECT_EQ(run.out, "640\n");
    EXPECT_TRUE(std::filesystem::is_symlink(shell.path("link")));
    EXPECT_EQ(shell.names(), (Names{"link", "out"}));
}

TEST(Extract, AFailedRunKeepsAnEarlierFile) {
    const Shell shell;
    shell.put("out", kOld);
    shell.run("head -c 30000 $SAMPLE >cut.avi; head -c 100 $SAMPLE >head.avi");
    struct Case {
        const char *line;
        int exit_code;
        const char *name, *reason;
    };
    const Case cases[] = {
        {"quorv extract cut.avi --track 1 -o out", 1, "cut.avi", "truncated"},
        {"quorv extract head.avi --track 1 -o out", 1, "head.avi", ""},
        {"quorv extract $SAMPLE --track 3 -o out", 2, "h264-mp3.avi", "2 tracks"},
        {"quorv extract missing --track 1 -o out", 3, "missing", "No such file"},
        {"ulimit -f 8; quorv extract $SAMPLE --track 2 -o out", 3, "quorv: out", ""},  // as on a full disk
    };
    for (const Case &each : cases) {
        shell.expect_complaint(each.line, each.exit_code, each.name, each.reason);
        EXPECT_EQ(shell.get("out"), kOld) << each.line;
        EXPECT_EQ(shell.names(), (Names{"cut.avi", "head.avi", "out"})) << each.line;
    }
    // Where nothing is lost, what is left of a cut file is saved: over half of its 30000 bytes.
    EXPECT_EQ(shell.run("quorv extract cut.avi --track 2 -o new").exit_code, 1);
    const Bytes left = shell.get("new");
    const std::string whole = shell.run("quorv extract $SAMPLE --track 2 -o -").out;
    EXPECT_GT(left.size(), 15000u);
    EXPECT_TRUE(whole.starts_with(std::string(left.begin(), left.end())));
}

TEST(Extract, NeverWritesIntoItsInput) {
    const Shell shell;
    shell.run("cp $SAMPLE in.avi; ln -s in.avi symbolic; ln in.avi hard");
    for (const char *line :
         {"quorv extract in.avi --track 1 -o in.avi", "quorv extract in.avi --track 1 -o symbolic",
          "quorv extract in.avi --track 1 -o hard", "quorv extract in.avi --track 1 -o - >>in.avi",
          "quorv extract - --track 1 -o in.avi <in.avi"})
        EXPECT_EQ(shell.run(line).exit_code, 2) << line;
    EXPECT_EQ(shell.get("in.avi"), bytes_of_file(real_sample()));
    EXPECT_EQ(shell.names(), (Names{"hard", "in.avi", "symbolic"}));
}

TEST(Extract, DevicesAreWrittenAndNotReplaced) {
    const Shell shell;
    EXPECT_EQ(shell.run("quorv extract $SAMPLE --track 1 -o /dev/null").exit_code, 0);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    shell.expect_complaint("quorv extract $SAMPLE --track 1 -o /dev/full", 3, "/dev/full", "No space");
    EXPECT_EQ(shell.run("script -qec 'quorv extract $SAMPLE --track 1 -o -' /dev/null").exit_code, 2);
}

}  // namespace
}  // namespace quorv::test
