// quorv headers: every unit of raw video and of the tracks of a file.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/SampleFiles.h"
#include "support/SplitterFile.h"
#include "support/TestFolder.h"
#include "tool/ToolRun.h"
#include "unit/videoheader/H264Writer.h"
#include "unit/videoheader/Mpeg4Writer.h"

namespace quorv::test {
namespace {

using Json = nlohmann::json;

const Bytes kPrefix = {0, 0, 1};

std::vector<Json> listed_units(const ToolRun &run) {
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_EQ(run.err, "");
    std::vector<Json> units;
    for (const std::string &line : lines_of(run.out))
        units.push_back(Json::parse(line));
    return units;
}

Bytes vol_unit(const VolFields &vol) {
    BitWriter writer;
    write_vol(writer, vol);
    return writer.data();
}

Bytes vop_unit(const VopFields &vop) {
    BitWriter writer;
    write_vop(writer, vop);
    return join({writer.data(), Bytes(20, 0x55)});
}

Bytes sps_unit(uint32_t profile) {
    SpsFields sps;
    sps.profile = profile;
    BitWriter writer;
    write_sps(writer, sps);
    return writer.data();
}

Bytes slice_unit(uint32_t nal_header, uint32_t slice_type) {
    return join({kPrefix, slice_bytes(nal_header, 0, slice_type)});
}

// A unit and what the tool says of it beside its place.
struct Expected {
    Bytes bytes;
    Json facts;
};

void expect_raw_stream(const std::vector<Expected> &units) {
    TestFolder folder;
    Bytes stream;
    std::vector<Json> expected;
    for (const Expected &unit : units) {
        Json json = unit.facts;
        json["offset"] = stream.size();
        json["size"] = unit.bytes.size();
        expected.push_back(json);
        stream = join({stream, unit.bytes});
    }
    EXPECT_EQ(listed_units(run_tool({"headers", "--json", folder.put("stream", stream)})), expected);
    Streams streams;
    streams.piped_input = &stream;
    EXPECT_EQ(listed_units(run_tool({"headers", "--json", "-"}, streams)), expected);
    const ToolRun text = run_tool({"headers", folder.path("stream")});
    EXPECT_EQ(lines_of(text.out).size(), expected.size() + 1);
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
    VolFields refused;
    refused.scalability = true;
    expect_raw_stream({
        {vop_unit({}), {{"unit", "vop"}, {"code", 0xB6}}},  // unreadable without its layer
        {Bytes{0, 0, 1, 0xB0, 0xF4}, {{"unit", "vos"}, {"code", 0xB0}}},
        {Bytes{0, 0, 1, 0x03}, {{"unit", "vo"}, {"code", 3}}},
        {vol_unit({}),
         {{"unit", "vol"}, {"code", 0x20}, {"width", 176}, {"height", 144}, {"time_increment_bits", 5}}},
        {vop_unit({0, 2, 5, 3, true}), {{"unit", "vop"}, {"code", 0xB6}, {"picture", "I"}}},
        {vop_unit({3, 0, 5, 31, true}), {{"unit", "vop"}, {"code", 0xB6}, {"picture", "S"}}},
        {vol_unit(refused), {{"unit", "vol"}, {"code", 0x20}, {"unsupported", true}}},
        {vop_unit({1, 0, 5, 0, false}), {{"unit", "vop"}, {"code", 0xB6}, {"picture", "not coded"}}},
    });
}

TEST(Headers, UnitsAcrossTheBlocksInWhichAFileIsRead) {
    constexpr size_t kBlock = size_t{1} << 20;
    TestFolder folder;
    const Bytes sps = sps_unit(66);
    Bytes stream = slice_unit(0x65, 7);
    std::vector<size_t> offsets = {0};
    for (size_t before = 0; before < 12; ++before) {
        offsets.push_back((before + 1) * kBlock - before);
        stream.resize(offsets.back(), 0xFF);
        stream = join({stream, sps});
    }
    const std::vector<Json> units =
        listed_units(run_tool({"headers", "--json", folder.put("stream.h264", stream)}));
    ASSERT_EQ(units.size(), offsets.size());
    for (size_t i = 0; i < units.size(); ++i) {
        EXPECT_EQ(units[i]["offset"], offsets[i]);
        EXPECT_EQ(units[i]["size"], (i + 1 < units.size() ? offsets[i + 1] : stream.size()) - offsets[i]);
        if (i > 0) {
            EXPECT_EQ(units[i]["width"], 176);
        }
    }
}

// The start codes of a run of bytes, each with the bytes up to the next.
void add_units(std::vector<Json> &units, const Json &place, const Bytes &bytes) {
    const size_t first = units.size();
    for (size_t at = 0; at + 3 <= bytes.size(); ++at) {
        if (!std::equal(kPrefix.begin(), kPrefix.end(), bytes.begin() + static_cast<ptrdiff_t>(at))) continue;
        if (units.size() > first) units.back()["size"] = at - units.back()["offset"].get<size_t>();
        units.push_back(place);
        units.back()["offset"] = at;
        units.back()["size"] = bytes.size() - at;
    }
}

TEST(Headers, FramesOfContainers) {
    TestFolder folder;
    std::vector<std::string> paths = {real_sample()};
    for (SampleFile &sample : avi_sample_files()) {
        if (sample.name == "mpeg4_mp3") paths.push_back(folder.put("mpeg4.avi", sample.bytes.flatten()));
    }
    ASSERT_EQ(paths.size(), 2u);
    for (const std::string &path : paths) {
        const FileStore bytes(path);
        TestSource source(bytes);
        SplitterFile file(kAviSplitter, source.record());
        std::vector<Json> expected;
        add_units(expected, {{"track", 1}}, file.codec_data(1));
        size_t index = 0;
        for (const Frame &frame : file.read_all(1).frames)
            add_units(expected, {{"track", 1}, {"frame", index++}, {"pts_ms", frame.info.time_stamp}},
                      frame.data);
        ASSERT_GT(expected.size(), 5u);
        std::vector<Json> units = listed_units(run_tool({"headers", "--json", path}));
        bool has_size = false;
        for (Json &unit : units) {
            has_size = has_size || unit.contains("width");
            for (const char *key :
                 {"unit", "code", "picture", "profile", "width", "height", "time_increment_bits"})
                unit.erase(key);
        }
        EXPECT_EQ(units, expected);
        EXPECT_TRUE(has_size) << path;
    }
}

TEST(Headers, WhatHasNone) {
    TestFolder folder;
    AviBuilder pictures({video_stream(tag("MJPG"))}), sealed({video_stream(tag("H264")), pcm_stream()});
    pictures.frame(0, size_t{40});
    sealed.frame(0, size_t{40}).frame(1, size_t{16});
    const std::string mjpeg = folder.put("mjpeg.avi", pictures.build().flatten());
    const std::string h264 = folder.put("h264.avi", sealed.build().flatten());
    const std::string raw = folder.put("raw", sps_unit(66));
    const Bytes older = {0, 0, 1, 0xB3, 9, 9, 0, 0, 1, 0xB8, 9, 9, 0, 0, 1, 0x00, 9, 0, 0, 1, 0x21, 9};
    struct Case {
        std::vector<std::string> arguments;
        int exit_code;
        const char *reason;
    };
    const Case cases[] = {
        {{mjpeg}, 1, "no track is MPEG-4 or H.264 video"},
        {{h264}, 1, "no start code in track 1"},
        {{h264, "--track", "2"}, 1, "neither MPEG-4 nor H.264"},
        {{h264, "--track", "3"}, 2, "no track 3"},
        {{raw, "--track", "1"}, 2, "no tracks"},
        {{folder.put("older", older)}, 1, "not a media file"},
        {{folder.put("next", {0, 0, 1, 0x40, 1, 0, 0, 1, 0x42, 1, 0, 0, 1, 0x26, 1})}, 1, "not a media file"},
        {{folder.put("notes.txt", text("no film"))}, 1, "text"},
        {{folder.path("missing")}, 3, "No such file"},
    };
    for (const Case &each : cases) {
        std::vector<std::string> arguments = each.arguments;
        arguments.insert(arguments.begin(), "headers");
        const ToolRun run = run_tool(arguments);
        SCOPED_TRACE(each.reason);
        EXPECT_EQ(run.exit_code, each.exit_code) << run.err << run.out;
        EXPECT_EQ(lines_of(run.err).size(), 1u) << run.err;
        EXPECT_NE(run.err.find(each.reason), std::string::npos) << run.err;
        EXPECT_NE(run.err.find(each.arguments[0]), std::string::npos) << run.err;
    }
    const ToolRun info = run_tool({"info", raw});
    EXPECT_EQ(info.exit_code, 1);
    EXPECT_NE(info.err.find("raw video"), std::string::npos) << info.err;
}

}  // namespace
}  // namespace quorv::test
