// Fuzz harness of the reader of media files and its decoder: all their functions over a source in memory. The
// input is a file, control bytes behind it, and as the last byte their number. They say how the source
// misbehaves and which functions are called in which order; without any the file is opened, read and decoded.

#include <string.h>

#include <span>

#include "Harness.h"
#include "support/MediaFile.h"

namespace {

using namespace quorv::test;
using quorv::fuzz::require;

constexpr uint32_t kMostPackets = 500;
constexpr size_t kMostSamples = 1 << 20;
// Of seeks and of reading up to the end, which may each go through the whole file.
constexpr uint32_t kMostWalks = 8;
// Each answer "not here yet" makes a call go through what it has read once more.
constexpr uint64_t kMostAgains = 500;

// Control bytes, zeros behind their end.
struct Control : std::span<const uint8_t> {
    uint32_t byte() {
        const uint32_t first = empty() ? 0 : front();
        if (!empty()) *this = {subspan(1)};
        return first;
    }
};

MediaFaults take_faults(Control &control) {
    constexpr size_t kLongestReads[] = {SIZE_MAX, 1, 7, 4096};
    MediaFaults faults;
    const uint32_t settings = control.byte();
    faults.longest_read = kLongestReads[settings & 3];
    faults.knows_size = (settings & 4) == 0;
    faults.again_at_first = (settings & 8) != 0;
    faults.again_every = (settings & 16) != 0 ? 2 + control.byte() : 0;
    faults.most_agains = kMostAgains;
    faults.fail_at = (settings & 32) != 0 ? 1 + control.byte() : 0;
    faults.size_agains = (settings & 64) != 0 ? 2 : 0;
    faults.flip_every = (settings & 128) != 0 ? 1 + control.byte() * 16 : 0;
    faults.call_limit = 10000000;
    return faults;
}

void touch(const void *data, size_t size) {
    const auto *bytes = static_cast<const uint8_t *>(data);
    require(size == 0 || memcmp(quorv::fuzz::exact_copy(bytes, size).get(), bytes, size) == 0);
}

void require_known(QuorvResult result) {
    require(result <= QUORV_ERR_UNSUPPORTED && result != QUORV_ERR_MEMORY && result != QUORV_ERR_ARGUMENT);
    require(strncmp(quorv_strerror(result), "unknown", 7) != 0);
}

void look_at_track(QuorvReader *reader, uint32_t index) {
    const QuorvTrack *track = quorv_track(reader, index);
    const QuorvDamage *damage = quorv_damage(reader, index);
    require((track != nullptr) == (index < quorv_file(reader)->track_count));
    require((damage != nullptr) == (track != nullptr || index == QUORV_WHOLE_FILE));
    if (track == nullptr) return;
    touch(track->codec_data, track->codec_data_size);
    touch(track->huffman_tables, track->huffman_tables_size);
    require(track->codec_name != nullptr && strlen(track->codec_name) != 0);
    require(track->duration_us >= -1 && track->frame_rate.den >= 0);
}

void decode(QuorvDecoder *decoder, const QuorvPacket &packet, size_t *left) {
    const QuorvSamples *samples = nullptr;
    QuorvResult result = quorv_decode(decoder, packet.data, packet.size, &samples);
    for (; *left != 0; result = quorv_decode(decoder, nullptr, 0, &samples)) {
        require(result == QUORV_OK);
        if (samples->frames == 0) return;
        require(samples->channels == 1 || samples->channels == 2);
        if (samples->samples != nullptr)  // it is null where sound is only measured
            touch(samples->samples, samples->frames * samples->channels * sizeof(int16_t));
        *left -= std::min(*left, samples->frames);
    }
}

// One packet, repeated while the source does not have it.
QuorvResult read_one(QuorvReader *reader, uint32_t index, const QuorvPacket **packet) {
    QuorvResult result = QUORV_AGAIN;
    while (result == QUORV_AGAIN)
        result =
            index == QUORV_WHOLE_FILE ? quorv_read(reader, packet) : quorv_read_track(reader, index, packet);
    require_known(result);
    require((*packet != nullptr) == (result == QUORV_OK));
    if (*packet == nullptr) return result;
    require((*packet)->track < quorv_file(reader)->track_count && (*packet)->data != nullptr);
    require((*packet)->offset >= -1 && (*packet)->duration_us >= 0);
    touch((*packet)->data, (*packet)->size);
    return result;
}

void read_all(QuorvReader *reader) {
    QuorvDecoder *decoder = nullptr;
    size_t samples = kMostSamples;
    const QuorvPacket *packet = nullptr;
    for (uint32_t n = 0; n < kMostPackets; ++n) {
        if (read_one(reader, QUORV_WHOLE_FILE, &packet) == QUORV_END) break;
        if (packet == nullptr) continue;
        const QuorvTrack *track = quorv_track(reader, packet->track);
        if (track->framing != QUORV_FRAMING_MPEG_AUDIO) continue;
        if (decoder == nullptr) require(quorv_decoder_open(track, 0, &decoder) == QUORV_OK);
        decode(decoder, *packet, &samples);
    }
    const QuorvSamples *rest = nullptr;
    if (decoder != nullptr) require(quorv_decoder_finish(decoder, &rest) == QUORV_OK);
    quorv_decoder_close(decoder);
}

void seek(QuorvReader *reader, int64_t time_us, QuorvSeek mode) {
    QuorvResult result = QUORV_AGAIN;
    while (result == QUORV_AGAIN)
        result = quorv_seek(reader, time_us, mode, nullptr);
    require_known(result);
}

QuorvResult survey(QuorvReader *reader, uint32_t index, QuorvSurvey *counts) {
    QuorvResult result = QUORV_AGAIN;
    while (result == QUORV_AGAIN)
        result = quorv_survey(reader, index, counts);
    return result;
}

// Twice the same, where nothing has been read between.
void look_at_survey(QuorvReader *reader, uint32_t index, bool steady) {
    QuorvSurvey first, second;
    const QuorvResult result = survey(reader, index, &first);
    require_known(result);
    require(first.smallest <= first.largest && (result == QUORV_OK || first.chunks == 0));
    if (steady && result == QUORV_OK)
        require(survey(reader, index, &second) == QUORV_OK && second.bytes == first.bytes);
}

// Arguments that make no sense are told apart, and change nothing.
void misuse(QuorvReader *reader, uint32_t track) {
    const uint32_t none = quorv_file(reader)->track_count + track;
    const QuorvPacket *packet = nullptr;
    QuorvSurvey counts;
    QuorvReader *open = reader;
    for (QuorvReader *wrong : {reader, static_cast<QuorvReader *>(nullptr)}) {
        require(quorv_select(wrong, none, 1) == QUORV_ERR_ARGUMENT);
        require(quorv_set_presentation(wrong, none, 1) == QUORV_ERR_ARGUMENT);
        require(quorv_survey(wrong, none, &counts) == QUORV_ERR_ARGUMENT && counts.chunks == 0);
        require(quorv_survey(wrong, track, nullptr) == QUORV_ERR_ARGUMENT);
        require(quorv_read(wrong, nullptr) == QUORV_ERR_ARGUMENT);
        require(quorv_read_track(wrong, track, nullptr) == QUORV_ERR_ARGUMENT);
        require(quorv_read_track(wrong, none, &packet) == QUORV_ERR_ARGUMENT && packet == nullptr);
        require(quorv_seek(wrong, 0, static_cast<QuorvSeek>(track + 2), nullptr) == QUORV_ERR_ARGUMENT);
        require(quorv_track(wrong, none) == nullptr && quorv_damage(wrong, none) == nullptr);
    }
    require(quorv_open_source(nullptr, &open) == QUORV_ERR_ARGUMENT && open == reader);
}

// A decoder of the track, or of a raw stream where that is not MPEG audio, over some of the track's packets.
void use_decoder(QuorvReader *reader, uint32_t track, uint32_t how) {
    QuorvDecoder *decoder = nullptr;
    const QuorvSamples *samples = nullptr;
    const QuorvTrack *record = quorv_track(reader, track);
    QuorvResult result = quorv_decoder_open(record, how & 7, &decoder);
    require((decoder != nullptr) == (result == QUORV_OK) && result != QUORV_ERR_MEMORY);
    if (decoder == nullptr && quorv_decoder_open(nullptr, how & 3, &decoder) != QUORV_OK) return;
    size_t left = kMostSamples / 8;
    const QuorvPacket *packet = nullptr;
    for (uint32_t n = how >> 4; n != 0 && record != nullptr; --n) {
        if (read_one(reader, track, &packet) != QUORV_OK) break;
        decode(decoder, *packet, &left);
        if ((how & 8) != 0) require(quorv_decoder_reset(decoder, packet->time_us) == QUORV_OK);
    }
    for (left = kMostSamples; left != 0; left -= std::min(left, samples->frames)) {
        require(quorv_decoder_finish(decoder, &samples) == QUORV_OK);
        if (samples->frames == 0) break;
    }
    const QuorvSkippedFrames *skipped = quorv_decoder_skipped(decoder);
    require(skipped->last_code != 0 || skipped->total == skipped->cut_off);
    require(quorv_decode(decoder, nullptr, 1, &samples) == QUORV_ERR_ARGUMENT && samples == nullptr);
    require(quorv_decoder_finish(nullptr, &samples) == QUORV_ERR_ARGUMENT);
    require(quorv_decoder_reset(nullptr, 0) == QUORV_ERR_ARGUMENT &&
            quorv_decoder_skipped(nullptr) == nullptr);
    quorv_decoder_close(decoder);
}

// One call, chosen by the low half of the byte; the high half is the track.
void call(QuorvReader *reader, MediaBytes &source, Control &control, uint32_t *walks_left) {
    const uint32_t choice = control.byte(), what = choice & 15, track = choice >> 4;
    const bool exists = quorv_track(reader, track) != nullptr;
    const QuorvPacket *packet = nullptr;
    if (what == 0) look_at_track(reader, track);
    if (what == 1 && exists) require_known(quorv_select(reader, track, static_cast<int>(control.byte() & 1)));
    if (what == 2 && exists)
        require_known(quorv_set_presentation(reader, track, static_cast<int>(control.byte() & 1)));
    if (what >= 3 && what <= 5 && *walks_left != 0) {
        --*walks_left;
        const int64_t time_us = what == 5 ? 0 : int64_t{control.byte()} * control.byte() * 4000;
        if (what == 3) seek(reader, time_us, QUORV_SEEK_BEFORE);
        if (what == 4) seek(reader, time_us, QUORV_SEEK_AFTER);
        if (what == 5) read_all(reader);
    }
    if (what == 6) source.faults.fail_at = source.reads + control.byte();
    if (what == 7 && exists) read_one(reader, track, &packet);
    if (what == 8 && exists) look_at_survey(reader, track, source.faults.flip_every == 0);
    if (what == 9) misuse(reader, track);
    if (what == 10) use_decoder(reader, track, control.byte());
    if (what == 11) source.faults.flip_every = control.byte() * 16;
    if (what > 11) read_one(reader, QUORV_WHOLE_FILE, &packet);
    require(strcmp(quorv_code_text(QUORV_MODULE_SPLITTER, quorv_reader_code(reader)), "") != 0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    const size_t control_size = std::min<size_t>(data[size - 1], size - 1);
    const size_t file_size = size - 1 - control_size;
    Control control = {{data + file_size, control_size}};
    MediaBytes source(Bytes(data, data + file_size), take_faults(control));
    const QuorvSource record = source.record();
    QuorvReader *reader = nullptr;
    QuorvResult result = QUORV_AGAIN;
    while (result == QUORV_AGAIN)
        result = quorv_open_source(&record, &reader);
    require_known(result);
    require((reader != nullptr) == (result == QUORV_OK) && source.closes == (reader == nullptr ? 1 : 0));
    if (reader == nullptr) return 0;
    for (uint32_t track = 0; track <= quorv_file(reader)->track_count; ++track)
        look_at_track(reader, track);
    if (control.empty()) read_all(reader);
    uint32_t walks_left = kMostWalks;
    while (!control.empty())
        call(reader, source, control, &walks_left);
    look_at_track(reader, QUORV_WHOLE_FILE);
    quorv_close(reader);
    require(source.closes == 1);
    return 0;
}
