// quorv check: what it finds, where, in which files, in which order.

#include <set>

#include "support/Damage.h"
#include "support/EncodedAudio.h"
#include "tool/Shell.h"

namespace quorv::test {
namespace {

std::vector<Json> check(const Shell &shell, const std::string &arguments) {
    std::vector<Json> results;
    for (const std::string &line : lines_of(shell.run("quorv check --json " + arguments).out))
        results.push_back(Json::parse(line));
    return results;
}

TEST(Check, EveryKindOfDamageIsFoundAtItsPlace) {
    const Shell shell;
    for (const DamagedFile &file : damaged_files()) {
        SCOPED_TRACE(file.name);
        shell.put(file.name, file.bytes);
        const ToolRun run = shell.run("quorv check --json " + file.name);
        const Json result = Json::parse(run.out);
        SCOPED_TRACE(run.out);
        const auto fits = [&file](const Json &finding) {
            const bool at_place = file.offset == kAnyPlace || finding["offset"] == file.offset ||
                                  (file.offset == kNoPlace && finding["offset"].is_null());
            return finding["kind"] == file.kind && at_place &&
                   finding["severity"] == (file.is_damage ? "damage" : "remark");
        };
        const Json &findings = result["findings"];
        EXPECT_TRUE(std::any_of(findings.begin(), findings.end(), fits));
        EXPECT_EQ(result["verdict"], file.is_damage || run.exit_code == 1 ? "damaged" : "remarks");
        EXPECT_EQ(run.exit_code, result["verdict"] == "damaged" ? 1 : 0);
        EXPECT_EQ(run.err, "");
    }
}

TEST(Check, NothingIsFoundInUndamagedFiles) {
    // What is wrong with these is known: one lacks its index, two hold what is no chunk.
    const std::map<std::string, std::string> known = {{"empty_chunks.avi", "remarks"},
                                                      {"palettes.avi", "damaged"},
                                                      {"rough_media_without_index.avi", "damaged"}};
    const Shell shell;
    for (const std::string command : {"lame -b 128", "lame -V 4", "lame -b 64 -t", "twolame -b 192"})
        shell.put(command + ".mp3", encode({command}));
    // A picture that was dropped has an entry without a chunk.
    AviBuilder dropping({video_stream(tag("MJPG"))}, IndexKind::OpenDmlFields);
    dropping.frame(0, size_t{99}).frame(0, size_t{0}).frame(0, size_t{99});
    Bytes dropped = dropping.build().flatten();
    const Bytes index = text("ix00");
    const auto second = std::search(dropped.begin(), dropped.end(), index.begin(), index.end()) + 8 + 24 + 12;
    std::fill_n(second, 12, 0);
    shell.put("dropped.avi", dropped);
    shell.add_samples();
    std::string folders = ".";
    const char *const real = std::getenv("QUORV_REAL");
    for (const char *folder : {static_cast<const char *>(QUORV_SAMPLES_FOLDER), real})
        folders += folder != nullptr ? std::string(" '") + folder + "'" : "";
    for (const Json &result : check(shell, folders)) {
        const std::string name = std::filesystem::path(result["file"].get<std::string>()).filename();
        const auto sick = known.find(name);
        if (result["verdict"] == "foreign") continue;  // what lies beside the samples
        EXPECT_EQ(result["verdict"], sick != known.end() ? sick->second : "sound") << result;
    }
}

// Whatever made the file: cut short, with bytes put in at its middle or lost there, and with more behind its
// end.
TEST(Check, DamageIsFoundInEverySample) {
    constexpr size_t kMore = 777, kLess = 77;
    constexpr int64_t kLargestFrame = 0x10000;
    const Shell shell, harmed;
    shell.add_samples();
    for (const std::string command : {"lame -b 128", "lame -V 4", "twolame -b 192"})
        shell.put(command + ".mp3", encode({command}));
    const char *const real = std::getenv("QUORV_REAL");
    for (const char *folder : {static_cast<const char *>(QUORV_SAMPLES_FOLDER), real})
        shell.run(std::string("cp '") + (folder != nullptr ? folder : "") + "'/*.[aw][vsm]* .");
    std::map<std::string, int64_t> sizes;
    for (const std::string &name : shell.names()) {
        if (name == "rough_media_without_index.avi") continue;  // leaves its sizes open
        const Bytes whole = shell.get(name), more(kMore, 'U');
        const auto middle = whole.begin() + std::ssize(whole) / 2;
        sizes[name] = std::ssize(whole);
        harmed.put(name + ".cut", first_of(whole, whole.size() * 6 / 10));
        harmed.put(name + ".less", join({Bytes(whole.begin(), middle), Bytes(middle + kLess, whole.end())}));
        harmed.put(name + ".end", join({whole, more}));
        harmed.put(name + ".more", join({Bytes(whole.begin(), middle), more, Bytes(middle, whole.end())}));
    }
    for (const Json &result : check(harmed, ".")) {
        const std::filesystem::path path(result["file"].get<std::string>());
        const int64_t size = sizes.at(path.stem()), middle = size / 2;
        // What follows from it is not told again and again.
        EXPECT_LT(result["findings"].size(), 10u) << result;
        const auto is_found = [&](const std::string &kind, const auto &fits) {
            return std::any_of(result["findings"].begin(), result["findings"].end(), [&](const Json &each) {
                return (kind.empty() ? each["severity"] == "damage" : each["kind"] == kind) &&
                       each["offset"].is_number() && fits(each["offset"].get<int64_t>());
            });
        };
        if (path.extension() == ".end") {
            EXPECT_TRUE(is_found("junk_at_end", [&](int64_t at) { return at == size; })) << result;
        } else if (path.extension() == ".more" || path.extension() == ".less") {
            EXPECT_TRUE(is_found("", [&](int64_t at) { return std::abs(at - middle) < kLargestFrame; }))
                << result;
        } else if (path.stem().extension() != ".mp3") {  // which may end with any frame
            EXPECT_TRUE(is_found("cut_off", [&](int64_t at) { return at == size * 6 / 10; })) << result;
        }
    }
}

TEST(Check, FilesComeInOrderHoweverTheyAreNamed) {
    const Shell shell;
    shell.run(
        "mkdir -p a/b a/B a/empty; cp $SAMPLE a/z.avi; cp $SAMPLE a/b/1; cp $SAMPLE a/B/2; cp $SAMPLE "
        "'a/\xFF\n'; "
        "ln -s .. a/b/loop; mkfifo a/fifo; ln -s ../z.avi a/b/link; cp $SAMPLE y; echo text >a/notes");
    const auto names = [&shell](const std::string &line) {
        std::vector<std::string> all;
        for (const std::string &result : lines_of(shell.run(line).out))
            all.push_back(Json::parse(result)["file"]);
        return all;
    };
    const std::vector<std::string> expected = {
        "y", "a/B/2", "a/b/1", "a/b/link", "a/notes", "a/z.avi", "a/\xEF\xBF\xBD\n", "missing", "y"};
    for (const std::string options : {"-j 1 y a missing y", "-j 5 y a/ missing y", "y --files-from list",
                                      "--null --files-from - <zeros"}) {
        shell.put_text("list", "a\nmissing\n\ny\n");
        shell.put("zeros", join({text("y"), {0}, text("a"), {0}, text("missing"), {0}, text("y")}));
        EXPECT_EQ(names("quorv check --json " + options), expected) << options;
    }
    // Of parts, what is printed makes what is printed for the whole.
    const std::string parts = shell.run("quorv check --json a/B a/b; quorv check --json y").out;
    EXPECT_EQ(shell.run("quorv check --json -j 3 a/B a/b y").out, parts);
}

TEST(Check, TheWorstVerdictDecidesTheStatus) {
    const Shell shell;
    shell.run(
        "mkdir in; echo text >in/text; mkfifo pipe; head -c 30000 $SAMPLE >cut.avi; : >empty; cp $SAMPLE "
        "shut; "
        "head -c 300 $SAMPLE >head.avi");
    const struct {
        const char *arguments;
        int status;
        const char *verdict, *line;
    } cases[] = {
        {"$SAMPLE", 0, "sound", "h264-mp3.avi: sound\n1 file: 1 sound\n"},
        {"- <$SAMPLE", 0, "sound", "standard input: sound\n"},
        {"in", 0, "foreign", "1 file: 1 foreign\n"},
        {"in/text", 1, "foreign", "in/text: foreign: not a media file: it holds text\n"},
        {"empty", 1, "foreign", "empty: foreign: the file is empty\n"},
        {"head.avi", 1, "damaged", "head.avi: damaged\n"},
        {"cut.avi", 1, "damaged", "32278 bytes missing at the end\n1 file: 1 damaged\n"},
        {"missing", 3, "unreadable", "missing: unreadable: No such file or directory\n"},
    };
    for (const auto &[arguments, status, verdict, line] : cases) {
        SCOPED_TRACE(arguments);
        const ToolRun run = shell.run(std::string("quorv check ") + arguments);
        EXPECT_EQ(run.exit_code, status);
        EXPECT_EQ(run.err, "");
        EXPECT_NE(run.out.find(line), std::string::npos) << run.out;
        const Json result = check(shell, arguments).at(0);
        EXPECT_EQ(result["verdict"], verdict);
        for (const Json &finding : result["findings"])
            EXPECT_EQ(finding.size(), 7u) << finding;
    }
    EXPECT_EQ(shell.run("quorv check $SAMPLE missing cut.avi").exit_code, 3);
    const Complaint complaints[] = {
        {"quorv check", 2, "check", "FILE is required"},
        {"quorv check -j 0 y", 2, "", "--jobs"},
        {"quorv check --files-from none", 3, "none", "No such file"},
        {"quorv check $SAMPLE --save cut.avi", 2, "cut.avi", "no manifest"},
        {"quorv check $SAMPLE --save none/m", 3, "none/m", "No such file"},
        {"quorv check $SAMPLE --against cut.avi", 1, "cut.avi", "no manifest"},
        {"quorv check --json $SAMPLE >/dev/full", 3, "standard output", "No space"},
        {"ulimit -f 1; quorv check --save m $(yes $SAMPLE | head -n 20) >/dev/null", 3, "quorv: m", ""},
    };
    for (const Complaint &complaint : complaints)
        shell.expect_complaint(complaint);
    EXPECT_EQ(shell.run("test -e m").exit_code, 1);
}

// A file is known by its name, its bytes, or the frames of its tracks.
TEST(Check, ManifestsTellWhatHasChanged) {
    const Shell shell;
    const Bytes music = real_mp3_stream();
    AviBuilder sound({mp3_stream(44100, 1152, 1152)}), film({video_stream(tag("MJPG")), pcm_stream()});
    const std::vector<size_t> starts = frame_starts(music);
    for (size_t i = 0; i + 1 < starts.size(); ++i)
        sound.frame(0, {music.begin() + static_cast<ptrdiff_t>(starts[i]),
                        music.begin() + static_cast<ptrdiff_t>(starts[i + 1])});
    for (size_t i = 0; i < 9; ++i)
        film.frame(0, size_t{99}).frame(1, size_t{1280});
    const Bytes bytes = film.build().flatten();
    shell.run("mkdir a");
    for (const char *name : {"a/same.avi", "a/frame.avi", "a/index.avi", "a/gone.avi"})
        shell.put(name, bytes);
    shell.put("a/sound.avi", sound.build().flatten());
    EXPECT_EQ(shell.run("quorv check a --save m --json --md5 -j 2").exit_code, 0);
    const std::string digest = shell.run("md5sum <a/same.avi | cut -c -32 | tr -d '\\n'").out;
    EXPECT_EQ(check(shell, "--md5 a/same.avi").at(0)["md5"], digest);
    const Json frames = shell
                            .json(
                                "quorv extract a/sound.avi --track 1 --frames-only -o a/moved.mp3 && md5sum "
                                "a/moved.mp3 | sed 's/\\(.*\\)  .*/{\"md5\":\"\\1\"}/'")
                            .at(0);
    EXPECT_EQ(check(shell, "--md5 a/moved.mp3").at(0)["tracks"][0]["md5"], frames["md5"]);
    EXPECT_FALSE(check(shell, "a/same.avi").at(0)["tracks"][0].contains("md5"));
    Bytes other = bytes, index = bytes;
    other[static_cast<size_t>(film.truth(1)[3].position) + 20] ^= 1;
    index[index.size() - 16 + 4] ^= 1;
    shell.put("a/frame.avi", other);
    shell.put("a/index.avi", index);
    shell.put("a/new.avi", sample_file("mjpeg_packets").bytes.flatten());
    shell.run("rm a/gone.avi a/sound.avi");
    const std::map<std::string, std::string> expected = {{"a/frame.avi", "manifest_track"},
                                                         {"a/index.avi", "manifest_file"},
                                                         {"a/moved.mp3", "manifest_moved"},
                                                         {"a/new.avi", "manifest_new"},
                                                         {"a/same.avi", ""},
                                                         {"a/gone.avi", "manifest_missing"}};
    std::map<std::string, std::string> found;
    for (const Json &result : check(shell, "a --against m"))
        found[result["file"]] = result["findings"].empty() ? "" : result["findings"][0]["kind"];
    EXPECT_EQ(found, expected);
    EXPECT_EQ(check(shell, "a/frame.avi --against m").at(0)["findings"][0]["track"], 2);
    EXPECT_EQ(shell.run("quorv check a --against m").exit_code, 3);
    EXPECT_EQ(shell.run("quorv check a/same.avi a/moved.mp3 --against m").exit_code, 0);
}

}  // namespace
}  // namespace quorv::test
