/*
 * The AVI splitter: RIFF/AVI files, OpenDML indexes and multi-segment files of any size included.
 *
 * Tracks are numbered from 1 in the order of their stream headers. Each track has a read position of its
 * own: reading one track does not consume the frames of another.
 */
#ifndef QUORV_AVI_SPLITTER_H
#define QUORV_AVI_SPLITTER_H

#include <quorv/splitter.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Parses the header of a source that may still be arriving and reads its legacy index to the end.
 * Optional, before Open; when *handle is null a handle is made that Open then takes over.
 *
 * source  the caller's stream callbacks; copied
 * param   out: index_flag is 1 when an "idx1" index was found and read completely; 0 with SPLITER_OK also
 * when it has not arrived yet, so that a later call may find it; zeroed on failure handle  in and out: null,
 * or a handle of an earlier call
 *
 * Returns SPLITER_ERR_INVALID_PARAM for a null argument, the open callback's code, or the header's result.
 * When it fails, a handle that this call made is freed and *handle stays null; one that came in stays valid
 * and the call can be repeated after more bytes have arrived.
 */
QUORV_API uint32_t AVI_SPLITER_GetHTTPParam(const SplitterStreamSource *source, SplitterHttpParam *param,
                                            SplitterHandle *handle);

/*
 * Opens an AVI file: parses its header and rewinds every track to time 0.
 *
 * source  the caller's stream callbacks; copied
 * mode    1 or 2, which do the same
 * handle  in and out: null, or a handle from GetHTTPParam; a handle that is open already is only rewound
 *
 * A local source nearly always opens: one that is not AVI at all has no tracks, which EnumTrack reports as
 * SPLITER_ERR_UNSUPPORTED. A progressive source fails with SPLITER_ERR_IO for a failed read or a wrong
 * signature, SPLITER_ERR_BAD_FORMAT or SPLITER_ERR_END_OF_STREAM. Both: SPLITER_ERR_INVALID_PARAM for a
 * null argument or another mode, the open callback's code, the code of a callback that failed while a first
 * frame was read or the stream put back behind the index, SPLITER_ERR_BAD_FORMAT for more than 100 streams,
 * SPLITER_ERR_NO_MEMORY, and
 * SPLITER_ERR_BUFFER_TOO_SMALL for Huffman tables of more than 2048 bytes. Handles on failure are as for
 * AVI_SPLITER_GetHTTPParam.
 */
QUORV_API uint32_t AVI_SPLITER_Open(const SplitterStreamSource *source, uint32_t mode,
                                    SplitterHandle *handle);

/*
 * Lists the tracks. list->entries belongs to the splitter and stays valid until Close.
 * Returns SPLITER_ERR_UNSUPPORTED when there are no tracks, SPLITER_ERR_INVALID_PARAM for a null argument and
 * SPLITER_ERR_NO_MEMORY; the list is then zeroed.
 */
QUORV_API uint32_t AVI_SPLITER_EnumTrack(SplitterHandle handle, SplitterTrackList *list);

/*
 * Describes a track: writes a SplitterVideoInfo for a video track, a SplitterAudioInfo for an audio track
 * and nothing for any other.
 *
 * track  from 1; 0 or a number above the count gives SPLITER_ERR_INVALID_PARAM
 * info   room for the record of the track's type
 * size   not looked at: info must have room for the whole record
 *
 * The duration of an audio track is raised to that of the first video track when that one is longer; in a
 * file without video, to that of the last track. SPLITER_ERR_INVALID_PARAM also for a null argument.
 */
QUORV_API uint32_t AVI_SPLITER_GetTrackInfo(SplitterHandle handle, uint32_t track, void *info, uint32_t size);

/*
 * Reads a setting or a derived value; *size is the size of the record at value, in and out.
 *
 * SPLITER_CFG_NEXT_KEYFRAME_TIME  SplitterTrackValue: out, the time in milliseconds of the first key frame
 *                                 at or after the track's read position; SPLITER_ERR_UNSUPPORTED for a track
 *                                 that is not video, without index or without such a key frame
 * SPLITER_CFG_CODEC_DATA          SplitterTrackData: out, the decoder-specific data of the track
 * SPLITER_CFG_NOP                 nothing
 *
 * SPLITER_ERR_BUFFER_TOO_SMALL when *size is below the record's size, SPLITER_ERR_INVALID_PARAM for a bad
 * track number. A null argument or any other identifier gives SPLITER_OK and changes nothing.
 */
QUORV_API uint32_t AVI_SPLITER_GetConfig(SplitterHandle handle, uint32_t id, void *value, uint32_t *size);

/*
 * Sets a setting. There is none: SPLITER_ERR_UNSUPPORTED, or SPLITER_ERR_INVALID_PARAM for a null handle or
 * value.
 */
QUORV_API uint32_t AVI_SPLITER_SetConfig(SplitterHandle handle, uint32_t id, const void *value,
                                         uint32_t size);

/*
 * Copies the next frame of a video or audio track into the caller's buffer.
 *
 * track   from 1
 * buffer  size bytes, the caller's; the track's max_frame_size is what the file suggests
 * frame   out: size, time stamp, duration and key flag; zeroed on failure
 *
 * SPLITER_ERR_BUFFER_TOO_SMALL  frame->size says what is needed; the same frame comes at the next call
 * SPLITER_ERR_END_OF_STREAM     no further frame; stays so until the track is sought, or more of a
 * progressive source has arrived SPLITER_ERR_INVALID_PARAM     a null argument, a bad track number, a track
 * that is neither video nor audio other                         the callback's code; the read position is
 * unchanged
 *
 * When the codec data of a video track was taken from its first frame, those leading bytes are removed from
 * that frame the first time it is read; after a Reset it comes whole. An MPEG-4 Part 2 track must carry its
 * video object layer header within the first 256 bytes of its first frame, or of its next key frame;
 * otherwise the track ends at once. A changed palette of a video track is appended to the next frame
 * (1024 bytes, 256 entries of red, green, blue, flags); buffer must have room for it.
 */
QUORV_API uint32_t AVI_SPLITER_ReadFrame(SplitterHandle handle, uint32_t track, void *buffer, uint32_t size,
                                         SplitterFrameInfo *frame);

/*
 * Moves the read position of one track to a key frame.
 *
 * time  in: wanted time in milliseconds, or 0xFFFFFFFF for the next key frame; out: the time reached
 * mode  SPLITER_SEEK_FORWARD, or SPLITER_SEEK_BACKWARD (every other value)
 *
 * An audio track sought backward is then moved on, piece by piece, to the piece that holds the wanted time.
 * Time 0 rewinds and needs no index. SPLITER_ERR_END_OF_STREAM when the index has no such key frame,
 * SPLITER_ERR_INVALID_PARAM for a null argument or a bad track number, SPLITER_ERR_NO_MEMORY, or the code of
 * a callback that failed while the index was read; the track and *time are then as before. A failed read ends
 * the index for good: later seeks reach what was read of it.
 */
QUORV_API uint32_t AVI_SPLITER_Seek(SplitterHandle handle, uint32_t track, uint32_t *time, uint32_t mode);

/* Rewinds every track to time 0. SPLITER_OK, or SPLITER_ERR_INVALID_PARAM for a null handle. */
QUORV_API uint32_t AVI_SPLITER_Reset(SplitterHandle handle);

/*
 * Nonzero when the track's index holds more than one key frame; reads further blocks of the index as needed.
 * 0 otherwise, also for a null handle or a bad track number. A failure while the index is read is returned as
 * its nonzero code.
 */
QUORV_API uint32_t AVI_SPLITER_IsSeekable(SplitterHandle handle, uint32_t track);

/*
 * Frees everything that belongs to the handle and closes the stream. A failure of the close callback is
 * returned; the handle is then still valid for another Close, and for nothing else. SPLITER_ERR_INVALID_PARAM
 * for a null handle.
 */
QUORV_API uint32_t AVI_SPLITER_Close(SplitterHandle handle);

#ifdef __cplusplus
}
#endif

#endif
