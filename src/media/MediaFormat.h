// What the reader asks of a format: a table of functions, one for each kind of file.
#ifndef QUORV_SRC_MEDIA_MEDIAFORMAT_H
#define QUORV_SRC_MEDIA_MEDIAFORMAT_H

#include <quorv/quorv.h>

#include "splitter/Code.h"

namespace quorv {

// Where a packet went and what is known of it. Times in microseconds.
struct MediaPacket {
    size_t size;
    int64_t time_us;
    int64_t duration_us;
    int64_t offset;  // in the file, -1 when it does not lie there in one piece
    bool key;
};

enum class MediaSeek { KeyFrameBefore, KeyFrameAfter, AnyBefore };

// How far a track has been read; each format has its own use for the words.
struct MediaMark {
    uint64_t words[12];
};

// An open file of a format; each format derives its own.
struct MediaState {};

// All functions return Code::DataPending when the source has answered "not here yet", and change nothing
// then.
struct MediaFormat {
    QuorvContainer container;
    // How sure it is that a file which begins with these bytes is of the format: 0 for not.
    uint32_t (*recognise)(const uint8_t *head, size_t size);
    // *state is null on failure.
    Code (*open)(const SplitterStreamSource &source, MediaState **state);
    void (*close)(MediaState *state);
    uint32_t (*track_count)(const MediaState *state);
    // Of a track, from 0. What the record points to lives as long as the state.
    Code (*describe)(MediaState *state, uint32_t index, QuorvTrack *track);
    // Code::BufferTooSmall: packet->size is what is needed, and nothing has moved. Code::EndOfStream.
    // Code::BadFormat: the next call goes on behind the damage.
    Code (*read)(MediaState *state, uint32_t index, uint8_t *buffer, size_t room, MediaPacket *packet);
    // Code::Unsupported where nothing says where the time lies. Any failure leaves the track where it was.
    // To time 0 every track can be moved.
    // Sound goes to the last packet at or before the time whatever the mode; each of its packets is a key
    // frame.
    Code (*seek)(MediaState *state, uint32_t index, int64_t time_us, MediaSeek mode, int64_t *reached_us);
    // What is known of all packets of a track without reading them; Code::Unsupported when that is nothing.
    Code (*survey)(MediaState *state, uint32_t index, QuorvSurvey *survey);
    // Notes how far a track has been read, and takes it back there after seeks and reads: none of this reads.
    void (*mark)(const MediaState *state, uint32_t index, MediaMark *mark);
    void (*go_back)(MediaState *state, uint32_t index, const MediaMark &mark);
    // Of a track, or QUORV_WHOLE_FILE. The record is all zero, with first offsets of -1.
    void (*damage)(MediaState *state, uint32_t index, QuorvDamage *damage);
};

extern const MediaFormat kAviFormat, kAsfFormat, kMpegAudioFormat;

}  // namespace quorv

#endif
