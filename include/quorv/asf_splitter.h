/*
 * The ASF splitter: ASF, WMV and WMA files.
 *
 * Of a file it offers the first video stream of a known codec (Windows Media Video 7 to 9 and MPEG-4 Part 2;
 * when there is none, the last video stream, with codec 0) and the first audio stream. A track's number is
 * its stream number in the file plus one. Each track has a read position of its own: reading one track does
 * not consume the frames of the other.
 *
 * Up to three readers of the source are open at a time: one for header and index with access mode 1, two for
 * the tracks with access mode 2. Each must have a position of its own.
 *
 * A progressive source whose bytes have not arrived yet says so by returning SPLITER_ERR_DATA_PENDING from
 * read, seek or size. Every function hands that on, leaves all positions as they were, and can be called
 * again later; the frames are then the same as from a local source.
 */
#ifndef QUORV_ASF_SPLITTER_H
#define QUORV_ASF_SPLITTER_H

#include <quorv/splitter.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Parses the header of a source that may still be arriving and looks for its Simple Index Object.
 * Optional, before Open; when *handle is null a handle is made that Open then takes over.
 *
 * source  the caller's stream callbacks; copied
 * param   out: index_flag is 1 when a usable Simple Index Object was read completely; 0 with SPLITER_OK
 *         also when it has not arrived yet, so that a later call may find it; zeroed on failure
 * handle  in and out: null, or a handle of an earlier call
 *
 * Returns SPLITER_ERR_INVALID_PARAM for a null argument, SPLITER_ERR_NO_MEMORY, SPLITER_ERR_BAD_FORMAT or
 * the code of a callback. When it fails, a handle that this call made is freed and *handle stays null;
 * one that came in stays valid and the call can be repeated after more bytes have arrived.
 */
QUORV_API uint32_t ASF_SPLITER_GetHTTPParam(const SplitterStreamSource *source, SplitterHttpParam *param,
                                            SplitterHandle *handle);

/*
 * Opens an ASF file: parses its header, reads the Simple Index Object of a local source, and rewinds both
 * tracks to time 0.
 *
 * source  the caller's stream callbacks; copied
 * mode    not used
 * handle  in and out: null, or a handle from GetHTTPParam; a handle that is open already is only rewound
 *
 * SPLITER_ERR_BAD_FORMAT when the file does not begin with a Header Object that a Data Object follows, for an
 * object of less than 24 bytes, for packets of 0 bytes or more than 64 MB, and for a known video codec with
 * less than 51 or more than 307 bytes of type-specific data; SPLITER_ERR_INVALID_PARAM for a null argument,
 * SPLITER_ERR_NO_MEMORY, or the code of a callback. An index that cannot be read is no failure. Handles on
 * failure are as for ASF_SPLITER_GetHTTPParam.
 */
QUORV_API uint32_t ASF_SPLITER_Open(const SplitterStreamSource *source, uint32_t mode,
                                    SplitterHandle *handle);

/*
 * Lists the tracks, video first. list->entries belongs to the splitter and stays valid until Close; null,
 * with count 0 and SPLITER_OK, when there are no tracks. SPLITER_ERR_INVALID_PARAM for a null argument.
 */
QUORV_API uint32_t ASF_SPLITER_EnumTrack(SplitterHandle handle, SplitterTrackList *list);

/*
 * Describes a track: writes a SplitterVideoInfo or a SplitterAudioInfo.
 *
 * size  bytes at info; SPLITER_ERR_BUFFER_TOO_SMALL below 32 for video, 36 for audio
 *
 * frame_rate is rounded from whole milliseconds a frame, 0 when they are not known (as of a progressive
 * source); max_bitrate is that of the file, max_frame_size of audio the packet size.
 * SPLITER_ERR_INVALID_PARAM for a null argument or a number that is no track's.
 */
QUORV_API uint32_t ASF_SPLITER_GetTrackInfo(SplitterHandle handle, uint32_t track, void *info, uint32_t size);

/*
 * Reads a setting or a derived value; *size is the size of the record at value, in and out.
 *
 * SPLITER_CFG_KEYFRAME_COUNT      SplitterTrackValue: out, how many different packets with key frames
 *                                 the Simple Index Object leads to; 1000 when there is no usable one, 0
 *                                 before it was looked for, and for tracks that are not video
 * SPLITER_CFG_NEXT_KEYFRAME_TIME  SplitterTrackValue: out, the time in milliseconds of the first key
 *                                 frame behind the video read position; SPLITER_ERR_END_OF_STREAM
 *                                 without one, SPLITER_ERR_UNSUPPORTED for a track that is not video,
 *                                 or the code of a callback
 * SPLITER_CFG_CODEC_DATA          SplitterTrackData: out, the decoder-specific data of the track; empty
 *                                 for audio once it was sent with a frame, and for other numbers
 * SPLITER_CFG_VIDEO_TYPE_DATA     SplitterTrackData: out, the whole type-specific data of the video
 *                                 stream (empty for an unknown codec); SPLITER_ERR_UNSUPPORTED for a
 *                                 track that is not video
 *
 * SPLITER_ERR_BUFFER_TOO_SMALL when *size is below the record's size, SPLITER_ERR_INVALID_PARAM for a
 * null argument, SPLITER_ERR_UNSUPPORTED for any other identifier.
 */
QUORV_API uint32_t ASF_SPLITER_GetConfig(SplitterHandle handle, uint32_t id, void *value, uint32_t *size);

/*
 * Sets a setting; every value is an uint32_t.
 *
 * SPLITER_CFG_CODEC_DATA_FIRST  whether the codec data of video is put in front of the next video
 *                               frame; at Open it is for all codecs but Windows Media Video
 * SPLITER_CFG_SEEK_THRESHOLD    accepted, without effect
 * SPLITER_CFG_LOAD_INDEX        when nonzero, reads the Simple Index Object now: SPLITER_OK also when
 *                               it was read before, SPLITER_ERR_UNSUPPORTED when there is no usable
 *                               one, SPLITER_ERR_NO_PARSER before Open, or the code of a callback
 *
 * SPLITER_ERR_BUFFER_TOO_SMALL when size is below 4, SPLITER_ERR_INVALID_PARAM for a null handle or
 * value, SPLITER_ERR_UNSUPPORTED for any other identifier.
 */
QUORV_API uint32_t ASF_SPLITER_SetConfig(SplitterHandle handle, uint32_t id, const void *value,
                                         uint32_t size);

/*
 * Copies the next frame of a track into the caller's buffer.
 *
 * buffer  size bytes, the caller's
 * frame   out: size, time stamp, duration and key flag, 1 for all audio; zeroed on failure
 *
 * Time stamps count from the lowest time seen in the packets so far, at most from the preroll. The
 * duration is the time to the track's next frame, 1 when that is not known. The first frame of an MP3
 * track and of a video track with SPLITER_CFG_CODEC_DATA_FIRST comes behind the codec data, as one piece.
 *
 * SPLITER_ERR_BUFFER_TOO_SMALL  frame->size says what is needed; the same frame comes next time
 * SPLITER_ERR_END_OF_STREAM     no further frame, or the track's duration is reached; stays so until
 *                               the track is sought
 * SPLITER_ERR_BAD_FORMAT        a packet is damaged; the next call goes on behind it
 * SPLITER_ERR_DATA_PENDING      progressive: the bytes have not arrived, or a Seek that returned this
 *                               code has not been repeated yet
 * SPLITER_ERR_INVALID_PARAM     a null argument, or a number that is no track's
 * SPLITER_ERR_NO_PARSER         the handle was not opened
 * other                         the callback's code; the read position is unchanged
 */
QUORV_API uint32_t ASF_SPLITER_ReadFrame(SplitterHandle handle, uint32_t track, void *buffer, uint32_t size,
                                         SplitterFrameInfo *frame);

/*
 * Moves the read position of one track.
 *
 * time  in: wanted time in milliseconds; out: the time stamp of the frame that comes next. Of a video
 *       track 0xFFFFFFFF is the next key frame; of an audio track it reports the position and counts it
 *       on by one frame without moving
 * mode  video: SPLITER_SEEK_FORWARD for the first key frame at or after the time (or the last one of
 *       all), every other value for the last one at or before it; audio goes to the last frame at or
 *       before the time either way
 *
 * Time 0 rewinds. Needs no index: without a usable one, packets are searched by their times.
 *
 * SPLITER_ERR_UNSUPPORTED    the file does not say how long it is; or 0xFFFFFFFF after a Seek that
 *                            returned SPLITER_ERR_DATA_PENDING
 * SPLITER_ERR_END_OF_STREAM  the time is at or behind the end, the index ends before it, or there is no
 *                            such key frame; a video track of a local source then stands at its end
 * SPLITER_ERR_DATA_PENDING   progressive: repeat the call later; until then ReadFrame gives this code
 * SPLITER_ERR_INVALID_PARAM  a null argument, or a number that is no track's
 * SPLITER_ERR_NO_PARSER      the handle was not opened
 * other                      the callback's code
 */
QUORV_API uint32_t ASF_SPLITER_Seek(SplitterHandle handle, uint32_t track, uint32_t *time, uint32_t mode);

/* Rewinds both tracks to time 0. SPLITER_OK, or SPLITER_ERR_INVALID_PARAM for a null handle. */
QUORV_API uint32_t ASF_SPLITER_Reset(SplitterHandle handle);

/*
 * 1, or 0 for a file with video whose Simple Index Object was not looked for (a progressive source, or one
 * that does not say how long it is); the track number does not matter. SPLITER_ERR_INVALID_PARAM for a null
 * handle.
 */
QUORV_API uint32_t ASF_SPLITER_IsSeekable(SplitterHandle handle, uint32_t track);

/*
 * Closes all readers, whatever the close callback returns, and frees everything that belongs to the handle.
 * SPLITER_OK, or SPLITER_ERR_INVALID_PARAM for a null handle.
 */
QUORV_API uint32_t ASF_SPLITER_Close(SplitterHandle handle);

#ifdef __cplusplus
}
#endif

#endif
