// An open ASF file for the module above: what the records and functions of the interface have no room for.
//
// Bytes that have not arrived (Code::DataPending) leave everything as it was: a call that meets them can be
// repeated and then gives the same result.
#ifndef QUORV_SRC_ASFPARSER_ASFDETAILS_H
#define QUORV_SRC_ASFPARSER_ASFDETAILS_H

#include "asfparser/AsfContext.h"

namespace quorv {

// The Header Object's identifier, with which a file begins.
inline constexpr uint32_t kAsfSignatureBytes = kAsfGuidBytes;
bool asf_has_signature(const uint8_t *head);

// Opens the readers, reads header and index. Frames come without codec data in front of them. A failure
// leaves nothing open.
Code asf_open_details(const SplitterStreamSource &source, Owned<AsfContext> *opened);

// The next frame of a track that is video or audio. Code::BadFormat has moved it behind the damage; every
// other failure but Code::EndOfStream leaves it where it was. Code::BufferTooSmall leaves the size that is
// needed.
Code asf_read_details(AsfContext *context, uint32_t track, uint8_t *buffer, uint32_t size, AsfObject *object);

// Moves a track: sound to the last object at or before the time, video to a key frame, or the nearest on the
// other side where there is none; to time 0 in any case. *reached gets milliseconds. Every failure leaves the
// track where it was.
Code asf_seek_details(AsfContext *context, uint32_t track, AsfSeekTarget target, uint32_t *reached);

// How far a track has been read, for taking it back there.
struct AsfTrackMark {
    AsfPosition position;
    int32_t expected_pts;
    AsfProgress progress;
};
AsfTrackMark asf_mark_track(AsfContext *context, uint32_t track);
void asf_take_track_back(AsfContext *context, uint32_t track, const AsfTrackMark &mark);

// How long the file says that it lasts, in microseconds; -1 when it does not.
int64_t asf_stated_duration_us(const AsfHeader &header);

}  // namespace quorv

#endif
