// What info shows of a track; see the header.

#include "TrackFacts.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <string_view>
#include <vector>

#include "JpegHeader.h"
#include "Text.h"

namespace quorv::tool {

namespace {

constexpr uint64_t kSecondUs = 1000000;  // of a second
constexpr uint64_t kBitsPerByte = 8;
// Of MPEG audio in a container so many bytes tell what it is.
constexpr size_t kSoundBytes = 8192;
constexpr int kMostSoundPackets = 16;
// Times in milliseconds, over so many frames, tell rates apart that differ by a thousandth.
constexpr int kTimedFrames = 90;

constexpr QuorvRational kUsualRates[] = {{24000, 1001}, {24, 1}, {25, 1}, {30000, 1001}, {30, 1}, {50, 1},
                                         {60000, 1001}, {60, 1}, {15, 1}, {15000, 1001}, {12, 1}, {10, 1}};

struct Aspect {
    uint32_t width, height;
};
constexpr Aspect kUsualAspects[] = {{4, 3},   {16, 9}, {1, 1}, {5, 4}, {3, 2},
                                    {16, 10}, {9, 16}, {3, 4}, {21, 9}};

bool is_close(double value, double wanted, double part) {
    return std::abs(value - wanted) <= wanted * part;
}

// The usual rate that frames' times fit; unknown where none does.
QuorvRational measured_frame_rate(MediaFile &media, const Track &track) {
    Frame frame;
    uint64_t first = 0, last = 0, count = 0;
    for (; count < kTimedFrames && media.try_frame(track, frame); ++count) {
        if (count == 0) first = frame.time_ms;
        last = frame.time_ms;
    }
    media.rewind();
    if (count < 2 || last <= first) return {};
    const double rate = static_cast<double>(count - 1) * 1000 / static_cast<double>(last - first);
    // Two times are off by up to half a millisecond each.
    const double part = 1 / static_cast<double>(last - first);
    for (const QuorvRational &usual : kUsualRates) {
        if (is_close(rate, static_cast<double>(usual.num) / static_cast<double>(usual.den),
                     std::min(part, 5e-4)))
            return usual;
    }
    return {};
}

// An encoder that has nothing else to put where a frame has room puts its name and version there.
std::string name_in_padding(const std::vector<uint8_t> &bytes) {
    constexpr std::string_view kName = "LAME";
    const auto begin = std::search(bytes.begin(), bytes.end(), kName.begin(), kName.end());
    const auto is_version = [](uint8_t c) { return c == '.' || (c >= '0' && c <= '9'); };
    const auto behind = begin + (bytes.end() - begin < 4 ? 0 : 4);
    const auto end = std::find_if_not(behind, bytes.end(), is_version);
    return end - behind > 2 ? std::string(begin, end) : "";
}

// What the frames themselves tell of MPEG audio in a container.
void look_into_sound(MediaFile &media, const Track &track, TrackFacts *facts) {
    std::vector<uint8_t> bytes;
    Frame frame;
    for (int i = 0; i < kMostSoundPackets && bytes.size() < kSoundBytes && media.try_frame(track, frame); ++i)
        bytes.insert(bytes.end(), frame.data.begin(), frame.data.end());
    media.rewind();
    QuorvReader *reader = nullptr;
    if (quorv_open_memory(bytes.data(), bytes.size(), &reader) != QUORV_OK) return;
    const std::unique_ptr<QuorvReader, decltype(&quorv_close)> owned(reader, quorv_close);
    const QuorvTrack &sound = *quorv_track(reader, 0);
    if (quorv_file(reader)->container != QUORV_CONTAINER_MPEG_AUDIO) return;
    facts->profile = sound.profile;
    facts->coding = sound.coding;
    facts->encoder = sound.encoder[0] != 0 ? sound.encoder : name_in_padding(bytes);
}

// What the first picture tells of motion JPEG.
void look_into_jpeg(MediaFile &media, const Track &track, TrackFacts *facts) {
    Frame frame;
    if (media.try_frame(track, frame)) facts->coding = find_jpeg_header(frame.data).coding;
    media.rewind();
}

// Chunks of sound with one frame each differ by a byte at constant rates.
QuorvRateKind kind_by_sizes(const QuorvSurvey &survey) {
    return survey.largest - survey.smallest <= 1 ? QUORV_RATE_CONSTANT : QUORV_RATE_VARIABLE;
}

uint64_t mean_bit_rate(const TrackFacts &facts, const QuorvTrack &track) {
    if (!facts.survey || track.duration_us <= 0) return 0;
    const double seconds = static_cast<double>(track.duration_us) / static_cast<double>(kSecondUs);
    return static_cast<uint64_t>(static_cast<double>(facts.survey->bytes * kBitsPerByte) / seconds);
}

// What the container says counts where the codec's own headers tell nothing.
void add_note(const QuorvTrack &record, const TrackNote &note, TrackFacts *facts) {
    facts->language = note.language;
    if (record.type != QUORV_TRACK_VIDEO) return;
    if (facts->scan == QUORV_SCAN_UNKNOWN && note.fields != 0)
        facts->scan = note.fields == 1 ? QUORV_SCAN_PROGRESSIVE : QUORV_SCAN_INTERLACED;
    if (facts->pixel_aspect.den != 0 || note.aspect_height == 0 || record.width == 0) return;
    const int64_t width = int64_t{note.aspect_width} * record.height;
    const int64_t height = int64_t{note.aspect_height} * record.width;
    const int64_t common = std::gcd(width, height);
    if (width != 0) facts->pixel_aspect = {width / common, height / common};
}

}  // namespace

TrackFacts find_facts(MediaFile &media, const Track &track, const Tags &tags) {
    const QuorvTrack &record = *track.facts;
    TrackFacts facts;
    facts.frame_rate = record.frame_rate;
    facts.bit_rate = record.bit_rate;
    facts.rate_kind = record.rate_kind;
    facts.profile = record.profile;
    facts.coding = record.coding;
    facts.encoder = record.encoder;
    facts.scan = record.scan;
    facts.pixel_aspect = record.pixel_aspect;
    if (!track.is_readable()) return facts;
    add_note(record, tags.find_note(record.number), &facts);
    facts.survey = media.survey(track);
    if (track.is_video() && facts.frame_rate.den == 0) facts.frame_rate = measured_frame_rate(media, track);
    if (facts.bit_rate == 0) facts.bit_rate = mean_bit_rate(facts, record);
    if (track.is_audio() && record.sample_format != QUORV_SAMPLES_NONE) facts.rate_kind = QUORV_RATE_CONSTANT;
    const bool is_mpeg_audio = record.framing == QUORV_FRAMING_MPEG_AUDIO;
    if (is_mpeg_audio && facts.rate_kind == QUORV_RATE_UNKNOWN && facts.survey)
        facts.rate_kind = kind_by_sizes(*facts.survey);
    const std::string is_variable = tags.text("isvbr");
    if (track.is_audio() && facts.rate_kind == QUORV_RATE_UNKNOWN && !is_variable.empty())
        facts.rate_kind = is_variable == "yes" ? QUORV_RATE_VARIABLE : QUORV_RATE_CONSTANT;
    if (is_mpeg_audio && facts.profile.empty()) look_into_sound(media, track, &facts);
    if (record.framing == QUORV_FRAMING_JPEG) look_into_jpeg(media, track, &facts);
    facts.interleaving = find_interleaving(media, track);
    return facts;
}

std::string tag_text(const QuorvTrack &track) {
    if (track.tag == 0) return "";
    return track.type == QUORV_TRACK_AUDIO ? fmt::format("0x{:04X}", track.tag) : fourcc_text(track.tag);
}

std::string codec_title(const QuorvTrack &track) {
    const std::string name = track.codec_name;
    return name.substr(0, name.find(" ("));
}

std::string aspect_text(const QuorvTrack &video, const QuorvRational &pixel_aspect) {
    if (video.width == 0 || video.height == 0) return "";
    double aspect = static_cast<double>(video.width) / video.height;
    if (pixel_aspect.den != 0)
        aspect *= static_cast<double>(pixel_aspect.num) / static_cast<double>(pixel_aspect.den);
    for (const Aspect &usual : kUsualAspects) {
        // Heights are rounded to whole macroblocks.
        if (is_close(aspect, static_cast<double>(usual.width) / usual.height, 0.015))
            return fmt::format("{}:{}", usual.width, usual.height);
    }
    return fmt::format("{:.2f}:1", aspect);
}

}  // namespace quorv::tool
