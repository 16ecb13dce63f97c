// A media file as the commands see it; see the header.

#include "MediaFile.h"

#include <fmt/format.h>

#include <algorithm>

#include "Failure.h"
#include "ForeignFormats.h"
#include "Format.h"
#include "Text.h"

namespace quorv::tool {

namespace {

constexpr int64_t kSecond = 1000000;

uint64_t milliseconds(int64_t microseconds) {
    return microseconds > 0 ? static_cast<uint64_t>(microseconds / kMicroseconds) : 0;
}

// What the file is instead.
std::string what_it_is(std::span<const uint8_t> head) {
    if (const std::string_view name = foreign_format(head); !name.empty())
        return fmt::format("{}, none of AVI, ASF and MPEG audio", name);
    switch (find_format(head)) {
        case Format::H264:
        case Format::Mpeg4:
            return "raw video without tracks: 'quorv headers' lists what it holds";
        case Format::Tagged:
            return "no MPEG audio frames can be found in it";
        case Format::Text:
            return "not a media file: it holds text";
        case Format::Unknown:
            break;
    }
    return "not a media file of a known format";
}

const Track &track_of_number(const std::vector<Track> &tracks, uint32_t number) {
    std::vector<uint32_t> numbers;
    for (const Track &track : tracks) {
        if (track.facts->number == number) return track;
        numbers.push_back(track.facts->number);
    }
    throw Failure(ExitCode::Usage,
                  fmt::format("no track {}: the file has {}{}{}", number, counted(numbers.size(), "track"),
                              numbers.empty() ? "" : ": ", fmt::join(numbers, ", ")));
}

std::string describe(const Track &track) {
    return fmt::format("track {} is {}", track.facts->number, track.facts->codec_name);
}

// Collects reasons, the pieces of one line.
void add_count(std::vector<std::string> &reasons, const QuorvDamageCount &damage, std::string_view noun,
               std::string_view fate) {
    if (damage.count == 0) return;
    reasons.push_back(
        fmt::format("{} {}, the first at offset {}", counted(damage.count, noun), fate, damage.first_offset));
}

}  // namespace

std::span<const uint8_t> Track::codec_data() const {
    return {static_cast<const uint8_t *>(facts->codec_data), facts->codec_data_size};
}

uint64_t Track::duration_ms() const {
    return milliseconds(facts->duration_us);
}

MediaFile::MediaFile(FileSource &file) : file_(file) {
    if (file.head().empty()) throw ForeignFile("the file is empty");
    // What does not look like one of the library's formats need not be copied from a pipe, which may have no
    // end.
    if (!may_be_media(file.head())) throw ForeignFile(what_it_is(file.head()));
    file.make_seekable();
    open();
    const uint32_t count = quorv_file(reader_.get())->track_count;
    for (uint32_t i = 0; i < count; ++i)
        tracks_.push_back({i, quorv_track(reader_.get(), i)});
}

void MediaFile::open() {
    const QuorvSource source = file_.source();
    QuorvReader *reader = nullptr;
    const QuorvResult result = quorv_open_source(&source, &reader);
    reader_.reset(reader);
    check_reads();
    if (result == QUORV_ERR_NOT_MEDIA) throw ForeignFile(what_it_is(file_.head()));
    if (result == QUORV_ERR_DAMAGED)
        throw Failure(ExitCode::BadFile, why_no_tracks(file_.head(), file_.size()));
    if (result != QUORV_OK) fail(result, "cannot be opened");
}

std::string_view MediaFile::format() const {
    switch (quorv_file(reader_.get())->container) {
        case QUORV_CONTAINER_AVI:
            return "avi";
        case QUORV_CONTAINER_ASF:
            return "asf";
        default:
            return "mp3";
    }
}

uint64_t MediaFile::stated_end() const {
    const int64_t end = tracks_.empty() ? 0 : tracks_.front().facts->stated_end;
    return end > 0 ? static_cast<uint64_t>(end) : 0;
}

uint32_t MediaFile::frame_rate(const Track &track) {
    const QuorvRational &rate = track.facts->frame_rate;
    if (rate.den != 0) return static_cast<uint32_t>(std::clamp<int64_t>(rate.num / rate.den, 0, UINT32_MAX));
    const QuorvPacket *packet = nullptr;
    const bool read = quorv_read_track(reader_.get(), track.index, &packet) == QUORV_OK;
    const int64_t duration = read ? packet->duration_us : 0;
    quorv_seek(reader_.get(), 0, QUORV_SEEK_BEFORE, nullptr);
    return duration > 0 ? static_cast<uint32_t>((kSecond + duration / 2) / duration) : 0;
}

bool MediaFile::read_frame(const Track &track, Frame &frame) {
    const QuorvPacket *packet = nullptr;
    QuorvResult result = QUORV_OK;
    while ((result = quorv_read_track(reader_.get(), track.index, &packet)) == QUORV_ERR_DAMAGED)
        has_bad_parts_ = true;
    check_reads();
    if (result == QUORV_END) return false;
    if (result != QUORV_OK)
        fail(result, fmt::format("a frame of track {} cannot be read", track.facts->number));
    frame = {{static_cast<const uint8_t *>(packet->data), packet->size},
             milliseconds(packet->time_us),
             milliseconds(packet->duration_us),
             packet->key != 0,
             packet->offset >= 0 ? std::optional(static_cast<uint64_t>(packet->offset)) : std::nullopt};
    return true;
}

bool MediaFile::try_frame(const Track &track, Frame &frame) {
    try {
        return read_frame(track, frame);
    } catch (const Failure &failure) {
        if (failure.code == ExitCode::Io) throw;
        return false;
    }
}

QuorvResult MediaFile::read_next(QuorvPacket &packet) {
    const QuorvPacket *next = nullptr;
    const QuorvResult result = quorv_read(reader_.get(), &next);
    check_reads();
    if (result == QUORV_OK) packet = *next;
    if (result != QUORV_OK && result != QUORV_END && result != QUORV_ERR_DAMAGED)
        fail(result, "a frame cannot be read");
    return result;
}

void MediaFile::rewind() {
    quorv_seek(reader_.get(), 0, QUORV_SEEK_BEFORE, nullptr);
    check_reads();
}

std::optional<QuorvSurvey> MediaFile::survey(const Track &track) {
    QuorvSurvey survey = {};
    const QuorvResult result = quorv_survey(reader_.get(), track.index, &survey);
    check_reads();
    return result == QUORV_OK ? std::optional(survey) : std::nullopt;
}

SeekResult MediaFile::seek(const Track &track, uint32_t time_ms, QuorvSeek mode) {
    for (const Track &other : tracks_) {
        if (other.is_readable()) quorv_select(reader_.get(), other.index, other.index == track.index);
    }
    const int64_t wanted = int64_t{time_ms} * kMicroseconds;
    int64_t reached = 0;
    const QuorvResult result = quorv_seek(reader_.get(), wanted, mode, &reached);
    check_reads();
    if (result == QUORV_ERR_UNSUPPORTED) return SeekResult::NoIndex;
    if (result != QUORV_OK) fail(result, fmt::format("track {} cannot be positioned", track.facts->number));
    const bool before = milliseconds(reached) <= time_ms;
    const bool found = mode == QUORV_SEEK_BEFORE ? before : milliseconds(reached) >= time_ms;
    return found ? SeekResult::Found : SeekResult::NoFrame;
}

std::string MediaFile::damage() const {
    const QuorvDamage &damage = damage_facts();
    std::vector<std::string> reasons;
    if (damage.cut_off != 0 && damage.bytes_missing >= 0) {
        reasons.push_back(fmt::format("truncated: its header declares {} bytes, the file has {}",
                                      file_.size() + static_cast<uint64_t>(damage.bytes_missing),
                                      file_.size()));
    } else if (damage.cut_off != 0) {
        reasons.emplace_back("truncated: it ends before its header says");
    }
    add_count(reasons, damage.bytes_passed_over, "byte", "belong to no frame");
    add_count(reasons, damage.chunks_missing, "chunk", "of the index cannot be found");
    add_count(reasons, damage.packets_unusable, "packet", "cannot be used");
    add_count(reasons, damage.frames_skipped, "frame", "cannot be used");
    if (reasons.empty() && has_bad_parts_) reasons.emplace_back("a part of it cannot be read");
    return fmt::format("{}", fmt::join(reasons, "; "));
}

// The library goes on after a failed read where it can, so a success may hide one.
void MediaFile::check_reads() const {
    if (file_.first_error() != 0) throw io_failure(file_.first_error());
}

void MediaFile::fail(QuorvResult result, const std::string &doing) const {
    if (result == QUORV_ERR_MEMORY) throw Failure(ExitCode::Io, "out of memory");
    throw Failure(ExitCode::BadFile, fmt::format("{}: {}", doing, quorv_strerror(result)));
}

std::vector<Track> find_tracks(const MediaFile &media, uint32_t number, const TrackKind &kind) {
    if (number != 0) {
        const Track &track = track_of_number(media.tracks(), number);
        for (const TrackKind *needed : {&kReadableTracks, &kind}) {
            if (!needed->fits(track))
                throw Failure(ExitCode::BadFile, fmt::format("{}, {}", describe(track), needed->unlike));
        }
        return {track};
    }
    std::vector<Track> found;
    std::copy_if(media.tracks().begin(), media.tracks().end(), std::back_inserter(found), kind.fits);
    if (found.empty()) {
        std::vector<std::string> others;
        for (const Track &track : media.tracks())
            others.push_back(describe(track));
        throw Failure(ExitCode::BadFile,
                      fmt::format("{}{}{}", kind.none, others.empty() ? "" : ": ", fmt::join(others, "; ")));
    }
    return found;
}

}  // namespace quorv::tool
