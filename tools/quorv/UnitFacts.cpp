// What the header of one unit of an elementary video stream says; see the header.

#include "UnitFacts.h"

#include <fmt/format.h>

#include <array>
#include <vector>

namespace quorv::tool {

namespace {

constexpr uint32_t kCodeAt = 3;  // behind the prefix 00 00 01

struct CodeRange {
    uint32_t first, last;
    std::string_view name, title;
};

constexpr uint32_t kNalSlice = 1, kNalIdrSlice = 5, kNalSps = 7;
constexpr CodeRange kNalUnits[] = {
    {kNalSlice, kNalSlice, "slice", "slice"},
    {2, 4, "partition", "slice data partition"},
    {kNalIdrSlice, kNalIdrSlice, "idr_slice", "slice (IDR)"},
    {6, 6, "sei", "supplemental enhancement information"},
    {kNalSps, kNalSps, "sps", "sequence parameter set"},
    {8, 8, "pps", "picture parameter set"},
    {9, 9, "aud", "access unit delimiter"},
    {10, 10, "end_of_sequence", "end of sequence"},
    {11, 11, "end_of_stream", "end of stream"},
    {12, 12, "filler", "filler data"},
};

constexpr uint32_t kVolFirst = 0x20, kVolLast = 0x2F, kVop = 0xB6;
constexpr CodeRange kMpeg4Units[] = {
    {0x00, 0x1F, "vo", "video object"},
    {kVolFirst, kVolLast, "vol", "video object layer"},
    {0xB0, 0xB0, "vos", "visual object sequence"},
    {0xB1, 0xB1, "end_of_sequence", "end of sequence"},
    {0xB2, 0xB2, "user_data", "user data"},
    {0xB3, 0xB3, "gov", "group of planes"},
    {0xB5, 0xB5, "visual_object", "visual object"},
    {kVop, kVop, "vop", "video object plane"},
};

UnitFacts find_code(std::span<const CodeRange> ranges, uint32_t code) {
    UnitFacts facts;
    facts.code = code;
    facts.name = "other";
    facts.title = "other unit";
    for (const CodeRange &range : ranges) {
        if (code < range.first || code > range.last) continue;
        facts.name = range.name;
        facts.title = range.title;
    }
    return facts;
}

std::string_view profile_text(uint32_t profile) {
    switch (profile) {
        case 66:
            return "Baseline";
        case 77:
            return "Main";
        case 88:
            return "Extended";
        case 100:
            return "High";
        case 110:
            return "High 10";
        case 122:
            return "High 4:2:2";
        default:
            return "High 4:4:4";
    }
}

}  // namespace

UnitFacts UnitReader::read(std::span<const uint8_t> head) {
    if (head.size() <= kCodeAt) {
        UnitFacts cut;
        cut.name = "cut";
        cut.title = "start code at the end";
        return cut;
    }
    return format_ == VideoFormat::H264 ? read_h264(head) : read_mpeg4(head);
}

UnitFacts UnitReader::read_h264(std::span<const uint8_t> head) const {
    constexpr std::array<std::string_view, 3> kKinds = {"P", "B", "I"};
    UnitFacts facts = find_code(kNalUnits, head[kCodeAt] & 0x1F);
    const uint8_t *data = head.data();
    const auto length = static_cast<uint32_t>(head.size());
    uint32_t kind = VIDHDR_H264_ERR;
    if (facts.code == kNalSps) {
        ZevVideoParam param = {};
        if (ZEV_H264_GetProfileID(&facts.profile, data, length) != VIDHDR_OK) facts.profile = 0;
        if (ZEV_H264_GetVideoParam(&param, data, length) == VIDHDR_OK) {
            facts.width = param.width;
            facts.height = param.height;
        }
    } else if (facts.code == kNalSlice) {
        kind = ZEV_H264_GetSliceType(data, length);
    } else if (facts.code == kNalIdrSlice) {
        kind = ZEV_H264_GetSliceType_WithoutStartCode(data + kCodeAt, length - kCodeAt);
    }
    if (kind < kKinds.size()) facts.picture = kKinds[kind];
    return facts;
}

UnitFacts UnitReader::read_mpeg4(std::span<const uint8_t> head) {
    constexpr std::array<std::string_view, 5> kKinds = {"I", "P", "B", "S", "not coded"};
    UnitFacts facts = find_code(kMpeg4Units, head[kCodeAt]);
    const auto length = static_cast<uint32_t>(head.size());
    if (facts.code >= kVolFirst && facts.code <= kVolLast) {
        ZevVideoParam param = {};
        facts.unsupported = ZEV_MPEG4_GetVideoParam(head.data(), length, &param) != VIDHDR_OK;
        if (!facts.unsupported) {
            layer_ = param;
            facts.width = param.width;
            facts.height = param.height;
            facts.time_increment_bits = param.time_increment_bits;
        }
    } else if (facts.code == kVop && layer_) {
        uint32_t kind = 0;
        if (ZEV_MPEG4_GetVop_IPB(head.data(), length, &*layer_, &kind) == VIDHDR_OK)
            facts.picture = kKinds[kind];
    }
    return facts;
}

std::string UnitFacts::details() const {
    std::vector<std::string> parts;
    if (profile != 0) parts.push_back(fmt::format("{} profile", profile_text(profile)));
    if (width != 0) parts.push_back(fmt::format("{}x{}", width, height));
    if (time_increment_bits != 0)
        parts.push_back(fmt::format("time increment of {} bits", time_increment_bits));
    if (unsupported) parts.emplace_back("not supported");
    if (!picture.empty()) parts.emplace_back(picture);
    return fmt::format("{}", fmt::join(parts, ", "));
}

}  // namespace quorv::tool
