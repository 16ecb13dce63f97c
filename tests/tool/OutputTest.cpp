// quorv extract and quorv decode: what they write, and that no file of the user is ever lost.

#include "support/Mp3Streams.h"
#include "tool/Shell.h"

namespace quorv::test {
namespace {

TEST(Output, SoundIsListedWhereverItComesFrom) {
    const Shell shell;
    const Bytes mono = noise_stream(2000, {48000, 1, 9});
    shell.put("mono.mp3", join({id3v2_tag(70000), mono, text("TAG"), Bytes(125)}));
    const Json track = {{"track", 1},
                        {"type", "soun"},
                        {"codec", "mp1 "},
                        {"duration_ms", 16000},
                        {"channels", 1},
                        {"bits_per_sample", 16},
                        {"block_align", 1},
                        {"sample_rate", 48000},
                        {"bit_rate", 288000},
                        {"max_frame_size", 288},
                        {"codec_data_size", 0},
                        {"seekable", true},
                        {"codec_name", "MPEG audio Layer I"},
                        {"bytes", 576000},
                        {"bit_rate_kind", "constant"},
                        {"profile", "MPEG-1 Layer I"},
                        {"coding", "mono"},
                        {"samples", 768000}};
    for (const std::string line : {"cat mono.mp3 | quorv info --json -", "quorv info --json mono.mp3"}) {
        const Json info = shell.json(line).at(0);
        EXPECT_EQ(info["container"], "mp3");
        EXPECT_EQ(info["tracks"], Json::array({track})) << line;
    }
}

TEST(Output, ReplacesAnEarlierFileAndKeepsItsMode) {
    const Shell shell;
    shell.put("out", text("old"));
    const ToolRun run = shell.run(
        "chmod 640 out; ln -s out link; quorv extract $SAMPLE --track 2 -o link && stat -c %a out && "
        "quorv extract $SAMPLE --track 2 -o - | cmp - out");
    EXPECT_EQ(run.exit_code, 0) << run.out << run.err;
    EXPECT_EQ(run.out, "640\n");
    EXPECT_TRUE(std::filesystem::is_symlink(shell.path("link")));
    EXPECT_EQ(shell.names(), (std::vector<std::string>{"link", "out"}));
}

TEST(Output, OfAFailedRunIsTheEarlierFile) {
    const Shell shell;
    shell.put("out", text("old"));
    shell.put("tag.mp3", join({id3v2_tag(20), Bytes(300)}));
    shell.put("good.mp3", noise_stream(100));
    shell.run("head -c 30000 $SAMPLE >cut.avi; head -c 100 $SAMPLE >head.avi");
    const std::vector<std::string> names = shell.names();
    const Complaint complaints[] = {
        {"quorv extract cut.avi --track 1 -o out", 1, "cut.avi", "truncated"},
        {"quorv extract head.avi --track 1 -o out", 1, "head.avi", ""},
        {"quorv extract $SAMPLE --track 3 -o out", 2, "h264-mp3.avi", "2 tracks"},
        {"quorv extract missing --track 1 -o out", 3, "missing", "No such file"},
        {"ulimit -f 8; quorv extract $SAMPLE --track 2 -o out", 3, "quorv: out", ""},  // as on a full disk
        {"quorv info tag.mp3", 1, "tag.mp3", "no MPEG audio frames"},
        {"quorv decode tag.mp3 -o out", 1, "tag.mp3", "no MPEG audio frames"},
        {"quorv decode cut.avi -o out", 1, "cut.avi", "so out stays as it was"},
        {"quorv decode $SAMPLE --track 1 -o out", 1, "h264-mp3.avi", "track 1 is H.264, not MPEG audio"},
        {"quorv decode good.mp3 --track 2 -o out", 2, "good.mp3", "1 track"},
        {"quorv decode good.mp3 --rate 48000 -o out", 2, "good.mp3", "44100 Hz"},
        {"quorv decode good.mp3 --channels 3 -o out", 2, "", "--channels"},
        {"quorv decode good.mp3 -o good.mp3", 2, "good.mp3", "overwrite"},
        {"ulimit -f 8; quorv decode good.mp3 -o out", 3, "quorv: out", ""},
    };
    for (const Complaint &complaint : complaints) {
        shell.expect_complaint(complaint);
        EXPECT_EQ(shell.get("out"), text("old")) << complaint.line;
        EXPECT_EQ(shell.names(), names) << complaint.line;
    }
    EXPECT_EQ(shell.get("good.mp3"), noise_stream(100));
    EXPECT_EQ(shell.run("quorv extract good.mp3 -o - | cmp - good.mp3").exit_code, 0);
    // Where nothing is lost, what is left of a cut file is saved: over half of its 30000 bytes.
    EXPECT_EQ(shell.run("quorv extract cut.avi --track 2 -o new").exit_code, 1);
    const Bytes left = shell.get("new");
    const std::string whole = shell.run("quorv extract $SAMPLE --track 2 -o -").out;
    EXPECT_GT(left.size(), 15000u);
    EXPECT_TRUE(whole.starts_with(std::string(left.begin(), left.end())));
}

TEST(Output, NeverGoesToItsInputOrReplacesADevice) {
    const Shell shell;
    shell.run("cp $SAMPLE in.avi; ln -s in.avi symbolic; ln in.avi hard");
    for (const std::string line : {"in.avi -o in.avi", "in.avi -o symbolic", "in.avi -o hard",
                                   "in.avi -o - >>in.avi", "- -o in.avi <in.avi"})
        EXPECT_EQ(shell.run("quorv extract --track 1 " + line).exit_code, 2) << line;
    EXPECT_EQ(shell.get("in.avi"), bytes_of_file(real_sample()));
    EXPECT_EQ(shell.names(), (std::vector<std::string>{"hard", "in.avi", "symbolic"}));
    EXPECT_EQ(shell.run("quorv extract $SAMPLE --track 1 -o /dev/null").exit_code, 0);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    shell.expect_complaint({"quorv extract $SAMPLE --track 1 -o /dev/full", 3, "/dev/full", "No space"});
    EXPECT_EQ(shell.run("script -qec 'quorv extract $SAMPLE --track 1 -o -' /dev/null").exit_code, 2);
}

}  // namespace
}  // namespace quorv::test
