// What goes wrong is said in one line that names the file, and the exit code tells which kind it is.

#include "tool/Shell.h"

namespace quorv::test {
namespace {

TEST(Failure, FilesOfOtherFormatsAreNamed) {
    const auto repeated = [](const Bytes &piece) { return join({piece, piece, piece, piece, piece}); };
    const std::pair<const char *, Bytes> files[] = {
        {"a QuickTime file", join({{0, 0, 0, 20}, text("ftypqt  "), Bytes(8)})},
        {"an MP4 file", join({{0, 0, 0, 20}, text("ftypisom"), Bytes(8)})},
        {"a WebM file", join({{0x1A, 0x45, 0xDF, 0xA3, 0x9F, 0x42, 0x82, 0x84}, text("webm"), Bytes(20)})},
        {"a Matroska file", join({{0x1A, 0x45, 0xDF, 0xA3, 0x93, 0x42, 0x82, 0x88}, text("matroska")})},
        {"an Ogg file", join({text("OggS"), Bytes(30)})},
        {"a FLAC file", join({text("fLaC"), Bytes(38)})},
        {"an AIFF file", join({text("FORM"), Bytes(4), text("AIFF")})},
        {"a Flash video file", join({text("FLV\1"), Bytes(9)})},
        {"a JPEG picture", join({{0xFF, 0xD8, 0xFF, 0xE0}, Bytes(20)})},
        {"a PDF document", text("%PDF-1.4\n")},
        {"a ZIP archive", join({text("PK\3\4"), Bytes(30)})},
        {"an MPEG program stream", join({{0, 0, 1, 0xBA, 0x44}, Bytes(40)})},
        {"an MPEG transport stream", repeated(join({{0x47}, Bytes(187)}))},
        {"an AAC stream", repeated(join({{0xFF, 0xF1, 0x50, 0x80, 4, 0x1F, 0xFC}, Bytes(25)}))},
    };
    const Shell shell;
    for (const auto &[name, bytes] : files) {
        shell.put("file", bytes);
        shell.expect_complaint({"quorv info file", 1, "file", name});
    }
    const std::string last = std::rbegin(files)->first;
    for (const std::string command : {"frames", "headers", "decode -o out", "extract -o out"})
        shell.expect_complaint({"quorv " + command + " file", 1, "file", last});
    EXPECT_NE(shell.run("quorv check file").out.find(last), std::string::npos);
}

TEST(Failure, BadInputsAreNamedWithTheReason) {
    const Shell shell;
    shell.put("empty.avi", {});
    shell.put("notes.txt", text("Dear diary,\n\ttoday I saw no film.\n"));
    shell.put("wave.avi", join({text("RIFF"), le32(4), text("WAVE")}));
    shell.put("film.asf", join({le32(0x75B22630), le32(0x11CF668E), le32(0xAA00D9A6), le32(0x6CCE6200)}));
    shell.put("bare.mp3", join({Bytes{0xFF, 0xFB, 0x90, 0x64}, Bytes(414)}));
    shell.run("head -c 13 $SAMPLE >stub.avi; head -c 30000 $SAMPLE >cut.avi");
    struct Case {
        const char *path;
        int exit_code;
        const char *reason, *name = path, *before = "";
    };
    const Case cases[] = {
        {"missing.avi", 3, "No such file"},
        {"''", 3, "No such file"},
        {"/tmp", 3, "directory"},
        {"empty.avi", 1, "empty"},
        {"notes.txt", 1, "text"},
        {"wave.avi", 1, "a WAV file, none of AVI, ASF and MPEG audio"},
        {"film.asf", 1, "damaged"},
        {"bare.mp3", 1, "not a media file"},
        {"stub.avi", 1, "no tracks; truncated: its header declares"},
        {"cut.avi", 1, "truncated"},
        {"/dev/zero", 1, "not a media file"},
        {"-", 1, "empty", "standard input"},
        {"-", 1, "text", "standard input", "yes | "},  // which never ends
    };
    for (const auto &[path, exit_code, reason, name, before] : cases) {
        for (const std::string command :
             {"info", "info --json", "frames", "headers", "extract --track 1 -o out"}) {
            const std::string line = "rm -f out; " + (before + ("quorv " + command)) + " " + path;
            shell.expect_complaint({line, exit_code, name, reason});
        }
    }
    const Bytes asf = sample_file("asf_wmv_wma").bytes.flatten();
    shell.put("cut.asf", Bytes(asf.begin(), asf.end() - 400));
    for (const std::string command : {"info", "frames", "extract --track 2 -o out"})
        shell.expect_complaint({"quorv " + command + " cut.asf", 1, "cut.asf", "truncated"});
    const std::string header = std::to_string(asf[16] + 256 * asf[17]);
    shell.expect_complaint({"head -c " + header + " cut.asf | quorv info -", 1, "",
                            "ends behind its header of " + header + " bytes"});
    for (const std::string extra : {"16", "23", "24"})
        shell.expect_complaint(
            {"head -c $((" + header + "+" + extra + ")) cut.asf | quorv info -", 1, "", "truncated"});
    shell.expect_complaint({"quorv frames --track 1 cut.asf", 2, "cut.asf", "2 tracks: 2, 3"});
    // Other files are still shown, and the worst decides.
    const ToolRun run = shell.run("quorv info --json notes.txt $SAMPLE missing $SAMPLE");
    EXPECT_EQ(run.exit_code, 3);
    EXPECT_EQ(lines_of(run.out).size(), 2u) << run.out;
    EXPECT_EQ(lines_of(run.err).size(), 2u) << run.err;
}

TEST(Failure, WrongUsageIsExplained) {
    const std::pair<std::string, std::string> cases[] = {
        {"", "a command is required: info, frames, extract, headers, decode, repair, report, check"},
        {"-- info $SAMPLE", "a command is required"},
        {"dance", "dance"},
        {"help dance", "no command 'dance'"},
        {"info", "FILE"},
        {"info --dance $SAMPLE", "--dance"},
        {"info -dash.avi", "./-dash.avi"},
        {"frames -x $SAMPLE", "no option '-x'"},
        {"frames $SAMPLE second", "second"},
        {"frames $SAMPLE --md5=x", "--md5 takes no value"},
        {"frames $SAMPLE --track 0", "--track: 0 is less than 1"},
        {"frames $SAMPLE --track x", "--track: 'x' is not a whole number"},
        {"frames $SAMPLE --track", "--track needs a value"},
        {"frames $SAMPLE --track 1 --track 2", "--track is given more than once"},
        {"frames $SAMPLE --track 3", "2 tracks"},
        {"frames $SAMPLE --from 4294967295", "--from"},
        {"frames $SAMPLE --mode next", "--from"},
        {"frames $SAMPLE --from 0 --mode up", "up"},
        {"extract $SAMPLE --track 1", "--output"},
        {"extract $SAMPLE -o -", "--track is required: the file has the tracks 1 (H.264), 2 (MP3)"},
    };
    const Shell shell;
    for (const auto &[arguments, reason] : cases)
        EXPECT_EQ(shell.expect_complaint({"quorv " + arguments, 2, "", reason}).out, "") << arguments;
}

TEST(Failure, AnOutputThatCannotBeWrittenIsAnError) {
    const Shell shell;
    for (const std::string command :
         {"--help", "--version", "info $SAMPLE", "info --json $SAMPLE", "frames $SAMPLE", "headers $SAMPLE",
          "extract $SAMPLE --track 1 -o -"}) {
        shell.expect_complaint({"quorv " + command + " >/dev/full", 3, "standard output", "No space"});
        shell.expect_complaint({"quorv " + command + " >&-", 3, "standard output", "Bad file descriptor"});
    }
    // A reader that has seen enough is none.
    const ToolRun run = shell.run(
        "{ { quorv info --json $(yes $SAMPLE | head -n 500); echo $? >&3; } | head -c 100 >/dev/null; } "
        "3>&1");
    EXPECT_EQ(run.out, "0\n");
    EXPECT_EQ(run.err, "");
}

TEST(Failure, ACutAnywhereIsTold) {
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::OpenDml);
    builder.frame(0, size_t{100}).segment().frame(0, size_t{100}).segment().frame(0, size_t{100});
    const Bytes whole = builder.build().flatten();
    const Shell shell;
    shell.put("whole.avi", whole);
    ASSERT_EQ(shell.json("quorv info --json whole.avi").size(), 1u);
    for (size_t length = 12; length < whole.size(); length += 37) {
        const std::string cut = "head -c " + std::to_string(length) + " whole.avi >cut.avi; ";
        shell.expect_complaint({cut + "quorv info cut.avi", 1, "cut.avi", "truncated"});
    }
}

// A list that names one index 65,000 times, whose million entries lie behind the end: more than any machine
// reads.
TEST(Failure, AnIndexNamedAgainAndAgainIsReadOnce) {
    constexpr size_t kNamed = 65000, kEntries = 1000000;
    const Bytes fields = join({le16(2), Bytes{0, 1}, le32(kEntries), text("00dc"), le64(0), le32(0)});
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::None);
    builder.between = chunk(tag("ix00"), join({fields, Bytes(8 * kEntries, 0x7F)}));
    builder.frame(0, size_t{9});
    const Bytes list = join({le16(4), Bytes{0, 0}, le32(kNamed), text("00dc"), le32(0), le32(0), le32(0)});
    // The list lies in front of the media data and of that chunk.
    builder.header_extra = chunk(tag("indx"), join({list, Bytes(16 * kNamed)}));
    builder.build();
    const uint64_t position = builder.media_start() - 8 - builder.between.size();
    Bytes names;
    for (size_t i = 0; i < kNamed; ++i) {
        const Bytes name = join({le64(position), le32(0), le32(0)});
        names.insert(names.end(), name.begin(), name.end());
    }
    builder.header_extra = chunk(tag("indx"), join({list, names}));
    const Shell shell;
    shell.put("many.avi", builder.build().flatten());
    for (const std::string command : {"check many.avi", "repair many.avi -o out.avi"})
        EXPECT_LE(shell.run("timeout 60 quorv " + command).exit_code, 1) << command;
}

// Sizes left open or with the first header counted in, bytes behind the end, frames that end early.
TEST(Failure, OddSizesAreNoDamage) {
    AviBuilder builder({video_stream(tag("MJPG"))}, IndexKind::None);
    builder.streams[0].header.length = 1000;
    const Bytes file = builder.frame(0, size_t{9}).frame(0, size_t{9}).build().flatten();
    const Shell shell;
    for (const uint32_t size : {uint32_t{0}, UINT32_MAX, static_cast<uint32_t>(file.size())}) {
        shell.put("odd.avi", join({text("RIFF"), le32(size), {file.begin() + 8, file.end()}}));
        EXPECT_EQ(shell.json("quorv info --json odd.avi").size(), 1u);
    }
    shell.put("longer.avi", join({file, Bytes(1000, 'x')}));
    EXPECT_EQ(shell.json("quorv info --json longer.avi").size(), 1u);
    shell.expect_complaint(
        {"quorv frames odd.avi", 0, "odd.avi", "ends at 0:00:00.080, its header says 0:00:40.000"});
}

// As long as the one before it is taken to be.
TEST(Failure, TheLastPacketOfSoundIsNotMissed) {
    AsfBuilder builder({asf_video(1), asf_audio(2)});
    builder.frame(1, 3000, 90).frame(1, 5000, 90).frame(0, 6400, 90);  // the file ends at 3.9 s
    const Shell shell;
    shell.put("long.wma", builder.build());
    EXPECT_EQ(shell.json("quorv frames --json long.wma").size(), 3u);
}

// A track whose frames cannot be read is told, and the file's other track is listed all the same.
TEST(Failure, ABadTrackLeavesTheOthers) {
    const Shell shell;
    AviBuilder headless({video_stream(tag("XVID")), pcm_stream()});  // no frame begins with a header
    headless.streams[0].header.length = 1;
    shell.put("headless.avi", headless.frame(0, size_t{9}).frame(1, size_t{64}).build().flatten());
    AviBuilder claim({video_stream(tag("MJPG")), pcm_stream()}, IndexKind::None);  // a chunk of 4 GB
    claim.streams[0].header.length = 1;
    claim.frame(1, size_t{64}).raw(join({text("00dc"), le32(0xFFFFFFF0)}));
    shell.put("claim.avi", claim.build().flatten());
    for (const std::string name : {"headless.avi", "claim.avi"}) {
        const ToolRun run = shell.expect_complaint({"quorv frames --json " + name, 1, name, "track 1"});
        EXPECT_NE(run.out.find("\"track\":2"), std::string::npos) << run.out;
    }
}

}  // namespace
}  // namespace quorv::test
