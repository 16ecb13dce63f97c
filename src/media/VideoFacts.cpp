// Facts from codec data; see the header.

#include "media/VideoFacts.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <span>
#include <string_view>

#include "platform/MemoryOwner.h"
#include "videoheader/H264Header.h"
#include "videoheader/H264ParameterSets.h"
#include "videoheader/Mpeg4Header.h"
#include "videoheader/StartCode.h"

namespace quorv {
namespace {

using Bytes = std::span<const uint8_t>;

// profile_idc of H.264 (annex A).
constexpr struct {
    uint32_t idc;
    const char *name;
} kH264Profiles[] = {{44, "CAVLC 4:4:4 Intra"},
                     {66, "Baseline"},
                     {77, "Main"},
                     {88, "Extended"},
                     {100, "High"},
                     {110, "High 10"},
                     {122, "High 4:2:2"},
                     {244, "High 4:4:4 Predictive"}};
constexpr uint32_t kBaseline = 66, kExtended = 88;
constexpr uint32_t kConstrained = 0x40, kConstraintSet3 = 0x10;
constexpr uint32_t kLevel11 = 11, kLevel1b = 9;

// profile_and_level_indication of MPEG-4 Part 2 (annex G): of a profile the first, how many levels follow,
// and the number of the first level.
constexpr struct {
    uint32_t first, levels, level;
    const char *name;
} kMpeg4Profiles[] = {{0x01, 6, 1, "Simple"},
                      {0x08, 1, 0, "Simple"},
                      {0x11, 2, 1, "Simple Scalable"},
                      {0x21, 2, 1, "Core"},
                      {0x32, 3, 2, "Main"},
                      {0x91, 4, 1, "Advanced Real Time Simple"},
                      {0xA1, 3, 1, "Core Scalable"},
                      {0xB1, 4, 1, "Advanced Coding Efficiency"},
                      {0xE1, 4, 1, "Simple Studio"},
                      {0xE5, 4, 1, "Core Studio"},
                      {0xF0, 6, 0, "Advanced Simple"}};
constexpr uint8_t kMpeg4Sequence = 0xB0, kMpeg4UserData = 0xB2;

// By the codes that primaries, transfer and matrix have in common (H.264, tables E-3 to E-5).
const char *colour_name(uint32_t code) {
    switch (code) {
        case 1:
            return "BT.709";
        case 4:
            return "BT.470 M";
        case 5:
            return "BT.601 PAL";
        case 6:
            return "BT.601 NTSC";
        case 7:
            return "SMPTE 240M";
        default:
            return nullptr;
    }
}

void set_pixel_aspect(uint32_t width, uint32_t height, QuorvTrack *track) {
    if (width == 0 || height == 0) return;
    const uint32_t common = std::gcd(width, height);
    track->pixel_aspect = {width / common, height / common};
}

// A text of printable characters, of which an encoder's name is the beginning.
void take_encoder(Bytes bytes, TrackTexts *texts) {
    const auto is_printable = [](uint8_t byte) { return byte >= ' ' && byte <= '~'; };
    const auto end = std::find_if_not(bytes.begin(), bytes.end(), is_printable);
    std::string_view name(reinterpret_cast<const char *>(bytes.data()),
                          static_cast<size_t>(end - bytes.begin()));
    name = name.substr(0, name.find(" - H.264"));
    if (texts->encoder[0] == 0 && name.size() > 2) add_fact(texts->encoder, name);
}

void name_h264_profile(const H264Sps &sps, TrackTexts *texts) {
    const auto *row = std::find_if(std::begin(kH264Profiles), std::end(kH264Profiles),
                                   [&](const auto &profile) { return profile.idc == sps.profile_idc; });
    if (row == std::end(kH264Profiles)) return;
    const bool constrained = row->idc == kBaseline && (sps.constraints & kConstrained) != 0;
    add_fact(texts->profile, constrained ? "Constrained " : "", row->name);
    const bool is_1b =
        sps.level_idc == kLevel1b || (sps.level_idc == kLevel11 && sps.profile_idc <= kExtended &&
                                      (sps.constraints & kConstraintSet3) != 0);
    if (is_1b)
        add_fact(texts->profile, "level 1b");
    else if (sps.level_idc != 0)
        add_fact(texts->profile, "level ", sps.level_idc / 10u, ".", sps.level_idc % 10u);
}

void add_colours(const H264Sps &sps, TrackTexts *texts) {
    const char *primaries = colour_name(sps.primaries), *transfer = colour_name(sps.transfer),
               *matrix = colour_name(sps.matrix);
    if (sps.full_range) add_fact(texts->coding, "full range");
    if (primaries != nullptr && primaries == transfer && primaries == matrix) {
        add_fact(texts->coding, "colours of ", primaries);
        return;
    }
    if (primaries != nullptr) add_fact(texts->coding, "primaries of ", primaries);
    if (transfer != nullptr) add_fact(texts->coding, "transfer of ", transfer);
    if (matrix != nullptr) add_fact(texts->coding, "matrix of ", matrix);
}

void describe_sps(const H264Pps &pps, const H264Sps &sps, QuorvTrack *track, TrackTexts *texts) {
    constexpr const char *kChroma[] = {"grey", "4:2:0", "4:2:2", "4:4:4"};
    name_h264_profile(sps, texts);
    track->scan = sps.frames_only ? QUORV_SCAN_PROGRESSIVE : QUORV_SCAN_INTERLACED;
    set_pixel_aspect(sps.pixel_width, sps.pixel_height, track);
    add_fact(texts->coding, kChroma[sps.chroma_format & 3]);
    add_fact(texts->coding, uint32_t{sps.luma_bits}, " bits");
    add_fact(texts->coding, pps.cabac ? "CABAC" : "CAVLC");
    add_fact(texts->coding, uint32_t{sps.reference_frames},
             sps.reference_frames == 1 ? " reference frame" : " reference frames");
    add_colours(sps, texts);
}

// The text of an unregistered user data message, behind its type, its length and an identifier (annex D).
void read_message(const H264NalUnit &unit, TrackTexts *texts) {
    constexpr uint32_t kUnregistered = 5, kIdentifierBytes = 16;
    const Bytes bytes(unit.begin + 1, unit.end);
    size_t at = 1;
    if (bytes.empty() || bytes[0] != kUnregistered) return;
    while (at < bytes.size() && bytes[at] == 0xFF)
        ++at;
    ++at;
    if (at < bytes.size() && bytes.size() - at > kIdentifierBytes)
        take_encoder(bytes.subspan(at + kIdentifierBytes), texts);
}

Code describe_h264(Bytes data, QuorvTrack *track, TrackTexts *texts) {
    const Owned<H264ParameterSets> sets = make_owned<H264ParameterSets>();
    if (sets == nullptr) return Code::NoMemory;
    H264NalUnits units(data.data(), data.data() + data.size(), 0);
    for (H264NalUnit unit; units.next(&unit);) {
        sets->take(unit);
        if (nal_unit_type(*unit.begin) == kNalSei) read_message(unit, texts);
    }
    const H264Pps *pps = sets->first_pps();
    const H264Sps *sps = pps != nullptr ? sets->sps(*pps) : nullptr;
    if (sps != nullptr) describe_sps(*pps, *sps, track, texts);
    return Code::Ok;
}

void name_mpeg4_profile(uint32_t indication, TrackTexts *texts) {
    constexpr uint32_t kAdvancedSimple3b = 0xF7, kSimple0b = 0x09;
    for (const auto &profile : kMpeg4Profiles) {
        if (indication >= profile.first && indication - profile.first < profile.levels)
            add_fact(texts->profile, profile.name, ", level ", indication - profile.first + profile.level);
    }
    if (indication == kAdvancedSimple3b) add_fact(texts->profile, "Advanced Simple, level 3b");
    if (indication == kSimple0b) add_fact(texts->profile, "Simple, level 0b");
}

void describe_layer(const Mpeg4Layer &layer, QuorvTrack *track, TrackTexts *texts) {
    track->scan = layer.interlaced ? QUORV_SCAN_INTERLACED : QUORV_SCAN_PROGRESSIVE;
    set_pixel_aspect(layer.pixel_width, layer.pixel_height, track);
    add_fact(texts->coding, "4:2:0");
    add_fact(texts->coding, "8 bits");
    if (layer.reorders) add_fact(texts->coding, "B-VOPs possible");
    if (layer.quarter_sample) add_fact(texts->coding, "quarter-pixel motion");
    if (layer.global_motion) add_fact(texts->coding, "global motion");
    add_fact(texts->coding, layer.matrices ? "MPEG quantisation" : "H.263 quantisation");
}

void describe_mpeg4(Bytes data, QuorvTrack *track, TrackTexts *texts) {
    const uint8_t *const end = data.data() + data.size();
    bool has_layer = false;
    for (const uint8_t *at = find_start_code(data.data(), end);
         end - at > ptrdiff_t{kStartCodePrefixBytes} + 1;
         at = find_start_code(at + kStartCodePrefixBytes, end)) {
        const uint8_t code = at[kStartCodePrefixBytes], *const header = at + kStartCodePrefixBytes + 1;
        if (code == kMpeg4Sequence) name_mpeg4_profile(*header, texts);
        if (code == kMpeg4UserData) take_encoder({header, end}, texts);
        if (has_layer || code < kMpeg4FirstVol || code > kMpeg4LastVol) continue;
        has_layer = true;
        describe_layer(mpeg4_read_layer(header, end), track, texts);
    }
}

}  // namespace

Code describe_pictures(QuorvTrack *track, TrackTexts *texts) {
    const Bytes data(static_cast<const uint8_t *>(track->codec_data), track->codec_data_size);
    if (data.empty()) return Code::Ok;
    if (track->framing == QUORV_FRAMING_MPEG4_VISUAL) describe_mpeg4(data, track, texts);
    return track->framing == QUORV_FRAMING_ANNEX_B ? describe_h264(data, track, texts) : Code::Ok;
}

}  // namespace quorv
