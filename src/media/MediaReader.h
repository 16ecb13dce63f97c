// An open media file: its source, its format, its tracks and how far they have been read.
#ifndef QUORV_SRC_MEDIA_MEDIAREADER_H
#define QUORV_SRC_MEDIA_MEDIAREADER_H

#include <quorv/quorv.h>

#include <array>
#include <span>

#include "media/MediaFormat.h"
#include "media/MediaSource.h"
#include "media/PacketQueue.h"
#include "media/PresentationOrder.h"
#include "media/TrackTexts.h"

namespace quorv {

// As many as an AVI file can have.
inline constexpr uint32_t kMostMediaTracks = 100;

struct MediaTrack {
    QuorvTrack record;
    TrackTexts texts;  // of video
    QuorvDamage damage;
    bool selected;
    bool ended;  // nothing can be read any more, but what waits in the queue
    bool ready;  // all is known of the queue's first packet
    bool lent;   // the caller has it, until the track is read again
    PacketQueue queue;
    Owned<PresentationOrder> order;  // null where presentation times have never been wanted
    bool wants_presentation;
    MediaMark mark;  // where a seek began
    bool ended_before_seek;

    // Whether there is a packet that only needs to be fetched.
    bool waits() const { return ready && !lent; }
    bool has_packets() const { return record.type == QUORV_TRACK_VIDEO || record.type == QUORV_TRACK_AUDIO; }
};

// What a call of the interface makes of a code. Notes both, and that the call is over.
QuorvResult conclude(QuorvReader *reader, Code code);

// Finds the format and describes the tracks. After a failure nothing is open, and the call can be repeated.
Code open_media(QuorvReader *reader);

// Reads the track's next packet into the spare one of its queue. Code::BadFormat: the next call goes on
// behind the damage, where the track has not ended with it. Code::EndOfStream: it has ended.
Code load_packet(QuorvReader *reader, uint32_t index, MediaPacket *media);
// Makes sure that all is known of the track's next packet, and that the caller has no other.
Code prepare_packet(QuorvReader *reader, uint32_t index);
// Of the tracks that are selected, the one whose packet comes next.
Code prepare_earliest(QuorvReader *reader, uint32_t *index);
// From the next packet on the track's presentation times are found out.
Code order_packets(MediaTrack *track);
// Forgets what has been read ahead of the caller.
void forget_packets(MediaTrack *track);

// Moves the selected tracks. When one cannot be moved, none is.
Code seek_media(QuorvReader *reader, int64_t time_us, MediaSeek mode, int64_t *reached_us);

}  // namespace quorv

struct QuorvReader {
    explicit QuorvReader(const QuorvSource &caller) : source(caller) {}
    ~QuorvReader();
    QuorvReader(const QuorvReader &) = delete;
    QuorvReader &operator=(const QuorvReader &) = delete;

    bool is_open() const { return state != nullptr; }
    quorv::MediaTrack *track(uint32_t index) const {
        return index < file.track_count ? tracks[index].get() : nullptr;
    }
    void close_state();

    quorv::MediaSource source;
    const quorv::MediaFormat *format = nullptr;
    quorv::MediaState *state = nullptr;
    QuorvFile file = {};
    std::array<quorv::Owned<quorv::MediaTrack>, quorv::kMostMediaTracks> tracks;
    QuorvDamage damage = {};
    uint32_t code = 0;  // under the latest result
};

#endif
