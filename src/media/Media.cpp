// The exported functions that open, describe, read and seek: arguments and results.

#include <errno.h>
#include <string.h>

#include "media/MediaReader.h"
#include "media/SystemSources.h"

namespace quorv {
namespace {

// Opens, or tries once more; what cannot be opened is closed, and its code stored.
QuorvResult open_reader(Owned<QuorvReader> owner, QuorvReader **reader, uint32_t *code) {
    owner->source.begin_call();
    const QuorvResult result = conclude(owner.get(), open_media(owner.get()));
    *code = owner->code;
    if (result == QUORV_OK || result == QUORV_AGAIN) *reader = owner.release();
    return result;
}

QuorvResult open_new(const QuorvSource &source, QuorvReader **reader, uint32_t *code) {
    Owned<QuorvReader> owner = make_owned<QuorvReader>(source);
    if (owner != nullptr) return open_reader(std::move(owner), reader, code);
    if (source.close != nullptr) source.close(source.user);
    return QUORV_ERR_MEMORY;
}

// A file that the library reads itself fails as the system does.
QuorvResult open_system(const QuorvSource &source, QuorvReader **reader) {
    uint32_t code = 0;
    const QuorvResult result = open_new(source, reader, &code);
    if (result == QUORV_ERR_SOURCE) errno = static_cast<int>(code);
    return result;
}

QuorvResult begin(QuorvReader *reader) {
    if (reader == nullptr) return QUORV_ERR_ARGUMENT;
    if (!reader->is_open()) return QUORV_ERR_CLOSED;
    reader->source.begin_call();
    return QUORV_OK;
}

// The packet is the caller's until the track is read again.
QuorvResult lend(QuorvReader *reader, uint32_t index, Code code, const QuorvPacket **packet) {
    if (code == Code::Ok) {
        MediaTrack &track = *reader->tracks[index];
        track.lent = true;
        QueuedPacket &first = *track.queue.first();
        const bool shown = track.wants_presentation;
        first.record.presentation_us = shown ? first.presentation_us : first.record.time_us;
        *packet = &first.record;
    }
    return conclude(reader, code);
}

// Callers in C can pass any number, which C++ must not look at as the enumeration that it is none of.
bool is_known(const QuorvSeek &mode) {
    int number = 0;
    static_assert(sizeof(number) == sizeof(mode));
    memcpy(&number, &mode, sizeof(number));
    return number == QUORV_SEEK_BEFORE || number == QUORV_SEEK_AFTER;
}

constexpr QuorvDamageCount kNoDamage = {0, -1};

}  // namespace
}  // namespace quorv

using namespace quorv;

QuorvResult quorv_open_path(const char *path, QuorvReader **reader) {
    if (reader != nullptr) *reader = nullptr;
    if (path == nullptr || reader == nullptr) return QUORV_ERR_ARGUMENT;
    QuorvSource source = {};
    const QuorvResult result = make_path_source(path, &source);
    return result == QUORV_OK ? open_system(source, reader) : result;
}

QuorvResult quorv_open_fd(int fd, QuorvReader **reader) {
    if (reader == nullptr) return QUORV_ERR_ARGUMENT;
    *reader = nullptr;
    return open_system(descriptor_source(fd), reader);
}

QuorvResult quorv_open_memory(const void *data, size_t size, QuorvReader **reader) {
    if (reader != nullptr) *reader = nullptr;
    if (data == nullptr || reader == nullptr) return QUORV_ERR_ARGUMENT;
    QuorvSource source = {};
    const QuorvResult result = make_memory_source(data, size, &source);
    return result == QUORV_OK ? open_system(source, reader) : result;
}

QuorvResult quorv_open_source(const QuorvSource *source, QuorvReader **reader) {
    if (reader == nullptr || (*reader != nullptr && (*reader)->is_open())) return QUORV_ERR_ARGUMENT;
    uint32_t code = 0;
    if (*reader != nullptr) {
        Owned<QuorvReader> waiting(*reader);
        *reader = nullptr;
        return open_reader(std::move(waiting), reader, &code);
    }
    if (source == nullptr || source->read_at == nullptr || source->size == nullptr) return QUORV_ERR_ARGUMENT;
    return open_new(*source, reader, &code);
}

void quorv_close(QuorvReader *reader) {
    Owned<QuorvReader>(reader).reset();
}

uint32_t quorv_reader_code(const QuorvReader *reader) {
    return reader != nullptr ? reader->code : 0;
}

const QuorvFile *quorv_file(const QuorvReader *reader) {
    return reader != nullptr && reader->is_open() ? &reader->file : nullptr;
}

const QuorvTrack *quorv_track(const QuorvReader *reader, uint32_t index) {
    const MediaTrack *track = reader != nullptr ? reader->track(index) : nullptr;
    return track != nullptr ? &track->record : nullptr;
}

QuorvResult quorv_select(QuorvReader *reader, uint32_t index, int selected) {
    const QuorvResult begun = begin(reader);
    if (begun != QUORV_OK) return begun;
    MediaTrack *track = reader->track(index);
    if (track == nullptr) return QUORV_ERR_ARGUMENT;
    if (selected != 0 && !track->has_packets()) return QUORV_ERR_UNSUPPORTED;
    track->selected = selected != 0;
    return conclude(reader, Code::Ok);
}

QuorvResult quorv_set_presentation(QuorvReader *reader, uint32_t index, int wanted) {
    const QuorvResult begun = begin(reader);
    if (begun != QUORV_OK) return begun;
    MediaTrack *track = reader->track(index);
    if (track == nullptr) return QUORV_ERR_ARGUMENT;
    // Those of ASF files are presentation times already.
    const bool reorders =
        track->record.type == QUORV_TRACK_VIDEO && reader->file.container != QUORV_CONTAINER_ASF;
    const Code code = wanted != 0 && reorders ? order_packets(track) : Code::Ok;
    track->wants_presentation = wanted != 0 && track->order != nullptr;
    return conclude(reader, code);
}

QuorvResult quorv_survey(QuorvReader *reader, uint32_t index, QuorvSurvey *survey) {
    if (survey == nullptr) return QUORV_ERR_ARGUMENT;
    *survey = {};
    const QuorvResult begun = begin(reader);
    if (begun != QUORV_OK) return begun;
    if (reader->track(index) == nullptr) return QUORV_ERR_ARGUMENT;
    QuorvSurvey counted = {};
    const Code code = reader->format->survey(reader->state, index, &counted);
    if (code == Code::Ok) *survey = counted;
    return conclude(reader, code);
}

QuorvResult quorv_read(QuorvReader *reader, const QuorvPacket **packet) {
    if (packet == nullptr) return QUORV_ERR_ARGUMENT;
    *packet = nullptr;
    const QuorvResult begun = begin(reader);
    if (begun != QUORV_OK) return begun;
    uint32_t index = 0;
    const Code code = prepare_earliest(reader, &index);
    return lend(reader, index, code, packet);
}

QuorvResult quorv_read_track(QuorvReader *reader, uint32_t index, const QuorvPacket **packet) {
    if (packet == nullptr) return QUORV_ERR_ARGUMENT;
    *packet = nullptr;
    const QuorvResult begun = begin(reader);
    if (begun != QUORV_OK) return begun;
    const MediaTrack *track = reader->track(index);
    if (track == nullptr) return QUORV_ERR_ARGUMENT;
    const Code code = track->has_packets() ? prepare_packet(reader, index) : Code::Unsupported;
    return lend(reader, index, code, packet);
}

QuorvResult quorv_seek(QuorvReader *reader, int64_t time_us, QuorvSeek mode, int64_t *reached_us) {
    if (!is_known(mode)) return QUORV_ERR_ARGUMENT;
    const QuorvResult begun = begin(reader);
    if (begun != QUORV_OK) return begun;
    const auto which = mode == QUORV_SEEK_BEFORE ? MediaSeek::KeyFrameBefore : MediaSeek::KeyFrameAfter;
    int64_t reached = 0;
    const Code code = seek_media(reader, std::max<int64_t>(time_us, 0), which, &reached);
    if (code == Code::Ok && reached_us != nullptr) *reached_us = reached;
    return conclude(reader, code);
}

const QuorvDamage *quorv_damage(QuorvReader *reader, uint32_t index) {
    if (reader == nullptr || !reader->is_open()) return nullptr;
    MediaTrack *track = reader->track(index);
    if (track == nullptr && index != QUORV_WHOLE_FILE) return nullptr;
    QuorvDamage &damage = track != nullptr ? track->damage : reader->damage;
    damage = {};
    damage.bytes_passed_over = damage.chunks_missing = kNoDamage;
    damage.packets_unusable = damage.frames_skipped = kNoDamage;
    reader->format->damage(reader->state, index, &damage);
    return &damage;
}
