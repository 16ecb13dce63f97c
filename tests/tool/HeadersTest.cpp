// quorv headers: every unit of raw video and of the tracks of a file.

#include "support/VideoHeaders.h"
#include "tool/Shell.h"

namespace quorv::test {
namespace {

const Bytes kPrefix = {0, 0, 1};

Bytes vop_unit(const VopFields &vop) {
    return join({vop_bytes(vop), Bytes(20, 0x55)});
}

Bytes sps_unit(uint8_t profile) {
    Bytes sps = h264_sps(176, 144);
    sps[5] = profile;
    return {sps.begin() + 1, sps.end()};
}

Bytes slice_unit(uint32_t nal_header, uint32_t slice_type) {
    return join({kPrefix, slice_bytes(nal_header, 0, slice_type)});
}

// Units, and what the tool says of them beside their place.
using Units = std::vector<std::pair<Bytes, Json>>;

void expect_raw_stream(const Units &units) {
    const Shell shell;
    Bytes stream;
    std::vector<Json> expected;
    for (const auto &[bytes, facts] : units) {
        expected.push_back(facts);
        expected.back().update({{"offset", stream.size()}, {"size", bytes.size()}});
        stream = join({stream, bytes});
    }
    shell.put("stream", stream);
    EXPECT_EQ(shell.json("quorv headers --json stream"), expected);
    EXPECT_EQ(shell.json("cat stream | quorv headers --json -"), expected);
    EXPECT_EQ(lines_of(shell.run("quorv headers stream").out).size(), expected.size() + 1);
}

TEST(Headers, RawH264) {
    expect_raw_stream({
        {join({kPrefix, Bytes{0x09, 0x10}}), {{"unit", "aud"}, {"code", 9}}},
        {sps_unit(77), {{"unit", "sps"}, {"code", 7}, {"profile", 77}, {"width", 176}, {"height", 144}}},
        {sps_unit(100), {{"unit", "sps"}, {"code", 7}, {"profile", 100}}},
        {sps_unit(44), {{"unit", "sps"}, {"code", 7}}},
        {slice_unit(0x65, 7), {{"unit", "idr_slice"}, {"code", 5}, {"picture", "I"}}},
        {slice_unit(0x41, 5), {{"unit", "slice"}, {"code", 1}, {"picture", "P"}}},
        {slice_unit(0x01, 1), {{"unit", "slice"}, {"code", 1}, {"picture", "B"}}},
        {slice_unit(0x01, 3), {{"unit", "slice"}, {"code", 1}}},
        {join({kPrefix, Bytes{0x2E, 9}}), {{"unit", "other"}, {"code", 14}}},
        {kPrefix, {{"unit", "cut"}, {"code", 0}}},
    });
}

TEST(Headers, RawMpeg4) {
    expect_raw_stream({
        {vop_unit({}), {{"unit", "vop"}, {"code", 0xB6}}},  // unreadable without its layer
        {Bytes{0, 0, 1, 0xB0, 0xF4}, {{"unit", "vos"}, {"code", 0xB0}}},
        {Bytes{0, 0, 1, 0x03}, {{"unit", "vo"}, {"code", 3}}},
        {mpeg4_vol(176, 144),
         {{"unit", "vol"}, {"code", 0x20}, {"width", 176}, {"height", 144}, {"time_increment_bits", 5}}},
        {vop_unit({0, 2, 5, 3, true}), {{"unit", "vop"}, {"code", 0xB6}, {"picture", "I"}}},
        {vop_unit({3, 0, 5, 31, true}), {{"unit", "vop"}, {"code", 0xB6}, {"picture", "S"}}},
        {Bytes{0, 0, 1, 0x20, 0}, {{"unit", "vol"}, {"code", 0x20}, {"unsupported", true}}},
        {vop_unit({1, 0, 5, 0, false}), {{"unit", "vop"}, {"code", 0xB6}, {"picture", "not coded"}}},
    });
}

// Each start code lies a byte nearer to the end of the block that the tool reads.
TEST(Headers, UnitsAcrossTheBlocksInWhichAFileIsRead) {
    Units units(13);
    for (auto &[bytes, facts] : units) {
        bytes = sps_unit(66);
        bytes.resize((size_t{1} << 20) - 1, 0xFF);
        facts = {{"unit", "sps"}, {"code", 7}, {"profile", 66}, {"width", 176}, {"height", 144}};
    }
    units[0].first.push_back(0xFF);
    expect_raw_stream(units);
}

// The units of a track are those of its stream, each counted from the beginning of its frame.
TEST(Headers, FramesOfContainers) {
    const Shell shell;
    shell.add_samples();
    for (const std::string name : {"real.avi", "mpeg4_mp3.avi"}) {
        const Json track = shell.json("quorv info --json " + name).at(0)["tracks"][0];
        const std::vector<Json> frames = shell.json("quorv frames --json --track 1 " + name);
        std::vector<size_t> starts = {track["codec_data_size"]};
        for (const Json &frame : frames)
            starts.push_back(starts.back() + frame["size"].get<size_t>());
        const std::vector<Json> raw =
            shell.json("quorv extract --track 1 -o - " + name + " | quorv headers --json -");
        const std::vector<Json> units = shell.json("quorv headers --json " + name);
        ASSERT_GT(raw.size(), 5u);
        ASSERT_EQ(units.size(), raw.size());
        for (size_t i = 0; i < raw.size(); ++i) {
            Json expected = raw[i];
            expected["track"] = 1;
            if (units[i].contains("frame")) {
                const size_t frame = units[i]["frame"];
                expected.update({{"frame", frame}, {"pts_ms", frames.at(frame)["pts_ms"]}});
                expected["offset"] = raw[i]["offset"].get<size_t>() - starts.at(frame);
            }
            expected["size"] = units[i]["size"];  // may end before zeros that begin the next frame
            EXPECT_EQ(units[i], expected) << name;
        }
    }
}

TEST(Headers, WhatHasNone) {
    const Shell shell;
    AviBuilder pictures({video_stream(tag("MJPG"))}), sealed({video_stream(tag("H264")), pcm_stream()});
    shell.put("mjpeg.avi", pictures.frame(0, size_t{40}).build().flatten());
    shell.put("h264.avi", sealed.frame(0, size_t{40}).frame(1, size_t{16}).build().flatten());
    shell.put("raw", sps_unit(66));
    shell.put("older", {0, 0, 1, 0xB3, 9, 9, 0, 0, 1, 0xB8, 9, 9, 0, 0, 1, 0x00, 9, 0, 0, 1, 0x21, 9});
    shell.put("newer", {0, 0, 1, 0x40, 1, 0, 0, 1, 0x42, 1, 0, 0, 1, 0x26, 1});
    const Complaint complaints[] = {
        {"quorv headers mjpeg.avi", 1, "mjpeg.avi", "no track is MPEG-4 or H.264 video"},
        {"quorv headers h264.avi", 1, "h264.avi", "no start code in track 1"},
        {"quorv headers h264.avi --track 2", 1, "h264.avi", "neither MPEG-4 nor H.264"},
        {"quorv headers raw --track 1", 2, "raw", "no tracks"},
        {"quorv headers older", 1, "older", "MPEG-1 or MPEG-2 video"},
        {"quorv headers newer", 1, "newer", "not a media file"},
        {"quorv info raw", 1, "raw: ", "raw video"},
    };
    for (const Complaint &complaint : complaints)
        shell.expect_complaint(complaint);
}

}  // namespace
}  // namespace quorv::test
