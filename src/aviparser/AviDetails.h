// An open AVI file for the module above: exact times, key flags as the file has them, places in the file.
//
// Bytes that have not arrived (Code::DataPending) leave everything as it was here, whatever of them a call
// could have done without: repeated later it gives the same result.
#ifndef QUORV_SRC_AVIPARSER_AVIDETAILS_H
#define QUORV_SRC_AVIPARSER_AVIDETAILS_H

#include "aviparser/AviContext.h"

namespace quorv {

// Opens the stream, reads header and index. A failure leaves nothing open.
Code avi_open_details(const SplitterStreamSource &source, Owned<AviContext> *opened);
// Whatever the close callback answers.
void avi_close_details(Owned<AviContext> context);

struct AviFrameDetails {
    uint32_t size;  // bytes, also those that are needed when the buffer was too small
    int64_t time_us, duration_us;
    int64_t time_stamp;  // in time-base units
    int64_t offset;      // of the first byte in the file, -1 when it does not lie there in one piece
};

// What AVI_SPLITER_ReadFrame delivers, for a track that is video or audio. Every failure but
// Code::EndOfStream leaves the track where it was; of the frame, only a size that is needed is set then.
Code avi_read_details(AviContext *context, AviTrack *track, uint8_t *buffer, uint32_t room,
                      AviFrameDetails *frame);

// The first bytes of the track's next chunk, as many as there are or fit; the track stays where it is.
Code avi_peek_details(AviContext *context, AviTrack *track, uint8_t *buffer, uint32_t room, uint32_t *size);

// Whether the file itself says that decoding can begin at this time stamp of a video track.
bool avi_is_stated_key(const AviTrack &track, int64_t time_stamp);

enum class AviSeekTo { KeyFrameBefore, KeyFrameAfter, AnyBefore };

// Moves a track to a time of 0 or more. Of video, key frames are those that the file states; where none lies
// on the wanted side, the next one on the other is taken. AnyBefore finds its place without an index, too: by
// walking through the chunks, at most a million. Code::Unsupported when nothing tells where the time lies.
Code avi_seek_details(AviContext *context, AviTrack *track, int64_t time_us, AviSeekTo to,
                      int64_t *reached_us);

// Whether the index has anything of the track. Reads on in it as far as that takes.
Code avi_find_indexed(AviContext *context, const AviTrack &track, Found *indexed);

// Reads the index up to its end.
Code avi_load_whole_index(AviContext *context);

// Frames a second in lowest terms; the denominator is 0 when the header does not say.
void avi_frame_rate(const AviTrack &track, int64_t *num, int64_t *den);

// How long the track lasts by its own header; -1 when that does not say.
int64_t avi_stated_duration_us(const AviTrack &track);

}  // namespace quorv

#endif
