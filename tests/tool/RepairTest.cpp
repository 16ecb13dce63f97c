// quorv repair: what it writes is sound, holds the frames that were found, and keeps their times.

#include "support/Mp3Streams.h"
#include "tool/Shell.h"

namespace quorv::test {
namespace {

constexpr uint32_t kSoundBytes = 1280;  // 40 ms, as long as a picture
constexpr size_t kFrames = 40, kLostPicture = 7, kLostSound = 19;

// The frames of a file whatever its state, without where they lie.
Json frames_of(const Shell &shell, const std::string &file) {
    Json frames = Json::array();
    for (const std::string &line : lines_of(shell.run("quorv frames --json --md5 " + file).out)) {
        frames.push_back(Json::parse(line));
        frames.back().erase("offset");
    }
    return frames;
}

// Of some keys alone.
Json pick(const Json &frames, const std::vector<std::string> &keys) {
    Json picked = Json::array();
    for (const Json &frame : frames) {
        Json values;
        for (const std::string &key : keys)
            values.push_back(frame.at(key));
        picked.push_back(values);
    }
    return picked;
}

// Neither says anything when it reads the file.
void expect_peers_content(const Shell &shell, const std::string &file) {
    const ToolRun gstreamer = shell.run(
        "command -v gst-launch-1.0 >/dev/null || exit 0; GST_DEBUG=avidemux:3 timeout 60 gst-launch-1.0 -q "
        "filesrc location=" +
        file + " ! avidemux ! fakesink");
    EXPECT_EQ(gstreamer.exit_code, 0) << gstreamer.err;
    EXPECT_EQ(gstreamer.err.find("WARN"), std::string::npos) << gstreamer.err;
    const ToolRun mediainfo =
        shell.run("command -v mediainfo >/dev/null || exit 0; mediainfo --Full " + file);
    EXPECT_EQ(mediainfo.out.find("runcated"), std::string::npos) << mediainfo.out;
    EXPECT_EQ(mediainfo.out.find("onformance"), std::string::npos) << mediainfo.out;
}

TEST(Repair, KeepsAllOfASoundFile) {
    const Shell shell;
    for (const std::string &name : shell.add_samples()) {
        if (!name.ends_with(".avi") || name == "amv.avi") continue;
        SCOPED_TRACE(name);
        const ToolRun run = shell.run("rm -f out.avi; quorv repair " + name + " -o out.avi");
        EXPECT_EQ(run.exit_code, 0) << run.err;
        EXPECT_EQ(frames_of(shell, "out.avi"), frames_of(shell, name));
        const Json before = shell.json("quorv info --json " + name).at(0)["tracks"];
        EXPECT_EQ(shell.json("quorv info --json out.avi").at(0)["tracks"].size(), before.size());
    }
    EXPECT_EQ(shell.run("quorv repair real.avi -o out").err, "");
    expect_peers_content(shell, "out");
}

// Pictures and PCM, each 40 ms long, in turn.
AviBuilder interleaved(IndexKind index) {
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()}, index);
    for (size_t i = 0; i < kFrames; ++i)
        builder.frame(0, 300 + i).frame(1, kSoundBytes);
    return builder;
}

// Where the n-th chunk of that name begins.
size_t chunk_at(const Bytes &file, const std::string &name, size_t n) {
    const Bytes media = text("movi"), wanted = text(name);
    auto at = std::search(file.begin(), file.end(), media.begin(), media.end());
    for (size_t i = 0; i <= n; ++i)
        at = std::search(at + 1, file.end(), wanted.begin(), wanted.end());
    return static_cast<size_t>(at - file.begin());
}

void overwrite(Bytes &file, size_t at, size_t count, uint8_t value = 0) {
    std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(at), count, value);
}

struct Damage {
    std::string name;
    void (*make)(Bytes &file);
    size_t lines;                              // that tell what was left out
    std::vector<size_t> no_picture, no_sound;  // lost, known by the index or the header's lengths
    bool any_index = true;
};

const std::vector<Damage> kDamages = {
    {"nothing", [](Bytes &) {}, 0, {}, {}},
    {"header of a picture",
     [](Bytes &file) { overwrite(file, chunk_at(file, "00dc", kLostPicture), 8); },
     2,
     {kLostPicture},
     {}},
    {"header of sound",
     [](Bytes &file) { overwrite(file, chunk_at(file, "01wb", kLostSound), 8, 0xFF); },
     2,
     {},
     {kLostSound}},
    {"three chunks",
     [](Bytes &file) { overwrite(file, chunk_at(file, "00dc", 12) + 4, 1700, 'x'); },
     3,
     {12, 13},
     {12}},
    {"size of a picture takes in sound",
     [](Bytes &file) { file[chunk_at(file, "00dc", 15) + 5] = 4; },
     2,
     {},
     {15},
     false},
    {"bytes put in",
     [](Bytes &file) {
         const Bytes more(333, 0xAA);
         file.insert(file.begin() + static_cast<std::ptrdiff_t>(chunk_at(file, "00dc", 20)), more.begin(),
                     more.end());
     },
     1,
     {},
     {}},
};

// What the repaired file must list: the frames of the whole one, less lost pictures, with silence for sound.
Json expected_frames(const Shell &shell, const Damage &damage, const Json &whole) {
    Json frames = Json::array();
    size_t pictures = 0;
    for (const Json &frame : whole) {
        const auto lost = [&](const std::vector<size_t> &list) {
            return std::find(list.begin(), list.end(), frame["index"]) != list.end();
        };
        Json kept = frame;
        if (frame["track"] == 1 && lost(damage.no_picture)) continue;
        if (frame["track"] == 1) kept["index"] = pictures++;
        if (frame["track"] == 2 && lost(damage.no_sound)) {
            const std::string digest = shell.run("head -c 1280 /dev/zero | md5sum").out;
            kept["md5"] = digest.substr(0, 32);
        }
        frames.push_back(kept);
    }
    return frames;
}

TEST(Repair, PutsTimeInThePlaceOfWhatIsLost) {
    const Shell shell;
    for (const IndexKind index : {IndexKind::Legacy, IndexKind::OpenDml, IndexKind::None}) {
        const Bytes whole = interleaved(index).build().flatten();
        shell.put("whole", whole);
        const Json frames = frames_of(shell, "whole");
        ASSERT_EQ(frames.size(), 2 * kFrames);
        for (const Damage &damage : kDamages) {
            SCOPED_TRACE(damage.name + " with index " + std::to_string(static_cast<int>(index)));
            if (index == IndexKind::None && !damage.any_index) continue;
            Bytes file = whole;
            damage.make(file);
            shell.put("in", file);
            const ToolRun run =
                shell.run("rm -f out; quorv repair in -o out && cat in | quorv repair - -o - | cmp - out");
            EXPECT_EQ(run.exit_code, 0) << run.err;
            EXPECT_EQ(lines_of(run.err).size(), 2 * damage.lines) << run.err;
            EXPECT_EQ(shell.get("in"), file);
            const std::vector<std::string> keys = {"track", "index", "pts_ms", "size", "key", "md5"};
            const Json repaired = frames_of(shell, "out");
            if (damage.any_index)
                EXPECT_EQ(pick(repaired, keys), pick(expected_frames(shell, damage, frames), keys));
            else
                EXPECT_EQ(pick(repaired, {"track", "pts_ms"}), pick(frames, {"track", "pts_ms"}));
            expect_peers_content(shell, "out");
        }
    }
}

TEST(Repair, AnUnfinishedFileGetsSizesAndAnIndex) {
    const Shell shell;
    Bytes file = interleaved(IndexKind::None).build().flatten();
    const size_t media = chunk_at(file, "00dc", 0) - 8;
    file.resize(chunk_at(file, "01wb", kFrames - 2) + 100);
    overwrite(file, 4, 4);
    overwrite(file, media, 4);
    shell.put("in", file);
    const ToolRun run = shell.run("quorv repair in -o out");
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_EQ(lines_of(run.err).size(), 1u) << run.err;
    EXPECT_EQ(frames_of(shell, "out"), frames_of(shell, "in"));
    EXPECT_EQ(shell.json("quorv info --json out").at(0)["tracks"][0]["duration_ms"], 40 * (kFrames - 1));
    EXPECT_EQ(shell.json("quorv frames --json --track 1 --from 800 out").at(0)["pts_ms"], 800);
    expect_peers_content(shell, "out");
}

// Key frames of this codec are known from the index alone.
TEST(Repair, LargeFilesGetSegmentsAndOpenDmlIndexes) {
    const Shell shell;
    AviBuilder builder({video_stream(tag("DIV3")), pcm_stream()}, IndexKind::Legacy);
    for (size_t i = 0; i < 50; ++i)
        builder.frame(0, size_t{70000}, i % 10 == 0).frame(1, kSoundBytes);
    Bytes file = builder.build().flatten();
    shell.put("in", file);
    EXPECT_EQ(shell.run("quorv repair in -o out --segment 1 2>&1; grep -ao AVIX out | wc -l").out, "3\n");
    EXPECT_EQ(frames_of(shell, "out"), frames_of(shell, "in"));
    const std::string seek = "quorv frames --json --track 1 --from 1700 out";
    EXPECT_EQ(shell.json(seek).at(0)["pts_ms"], 1600);
    EXPECT_EQ(shell.json(seek + " --mode next").size(), 0u);
    expect_peers_content(shell, "out");
    // The indexes of what was written are of use in turn.
    Bytes out = shell.get("out");
    overwrite(out, chunk_at(out, "00dc", 5), 8);
    shell.put("again", out);
    EXPECT_EQ(shell.run("quorv repair again -o third").exit_code, 0);
    EXPECT_EQ(frames_of(shell, "third").size(), 99u);
    EXPECT_EQ(frames_of(shell, "third").at(4)["pts_ms"], 160);
    EXPECT_EQ(frames_of(shell, "third").at(5)["pts_ms"], 240);
}

// Silence for lost sound takes no more room than the sound had, whatever the index says of its size.
TEST(Repair, AnIndexCannotAskForMoreThanThereWas) {
    const Shell shell;
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()}, IndexKind::Legacy);
    for (size_t i = 0; i < 50; ++i)
        builder.frame(0, size_t{700}).frame(1, size_t{1280});
    Bytes file = builder.build().flatten();
    for (const size_t lost : {size_t{10}, size_t{20}}) {
        overwrite(file, static_cast<size_t>(builder.truth(1)[lost].position), 8);
        overwrite(file, file.size() - (98 - 2 * lost) * 16 - 1, 1, 0x40);  // of a size of four bytes
    }
    shell.put("in", file);
    EXPECT_EQ(shell.run("ulimit -f 1000; quorv repair in -o out").exit_code, 0);
    EXPECT_EQ(shell.json("quorv frames --json --track 2 out").size(), 50u);
}

TEST(Repair, SaysWhatItCannotDo) {
    const Shell shell;
    shell.add_samples();
    shell.put("old.avi", text("old"));
    shell.put("sound.mp3", noise_stream(100));
    shell.put("header.avi", Bytes(bytes_of_file(real_sample())));
    shell.run("head -c 400 real.avi >header.avi; cp real.avi same.avi");
    const Complaint complaints[] = {
        {"quorv repair asf_wmv_wma.asf -o old.avi", 1, ".asf", "ASF file"},
        {"quorv repair sound.mp3 -o old.avi", 1, "sound.mp3", "MPEG audio file"},
        {"quorv repair header.avi -o old.avi", 1, "header.avi", ""},
        {"quorv repair same.avi -o same.avi", 2, "same.avi", "overwrite"},
        {"quorv repair same.avi -o old.avi --segment 0", 2, "", "--segment"},
        {"quorv repair missing -o old.avi", 3, "missing", "No such file"},
        {"ulimit -f 8; quorv repair same.avi -o old.avi", 3, "quorv: old.avi", ""},
    };
    for (const Complaint &complaint : complaints)
        shell.expect_complaint(complaint);
    EXPECT_EQ(shell.get("old.avi"), text("old"));
    EXPECT_EQ(shell.get("same.avi"), bytes_of_file(real_sample()));
}

}  // namespace
}  // namespace quorv::test
