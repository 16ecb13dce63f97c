/**
 * @file
 * The AVI splitter: RIFF/AVI files, OpenDML indexes and multi-segment files of any size included.
 */
#ifndef QUORV_AVI_SPLITTER_H
#define QUORV_AVI_SPLITTER_H

#include <quorv/splitter.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup avi AVI splitter
 * The tracks and frames of RIFF/AVI files.
 *
 * Tracks are numbered from 1 in the order of their stream headers. Each track has a read position of its
 * own: reading one track does not consume the frames of another.
 * @{
 */

/**
 * Parses the header of a source that may still be arriving and reads its legacy index to the end.
 *
 * Optional, before AVI_SPLITER_Open. When it fails, a handle that this call made is freed and *handle stays
 * null; one that came in stays valid, and the call can be repeated after more bytes have arrived. An index of
 * which only a part has arrived ends there for good: index_flag stays 0, and seeks reach what was read of it.
 *
 * @param[in]     source  the caller's stream callbacks; copied
 * @param[out]    param   index_flag is 1 when an "idx1" index was found and read completely; 0 with
 *                        SPLITER_OK also when none of it has arrived yet, so that a later call may find it;
 *                        zeroed on failure
 * @param[in,out] handle  null, and a handle is stored that AVI_SPLITER_Open then takes over; or a handle of
 *                        an earlier call
 *
 * @retval SPLITER_OK                 the header is known
 * @retval SPLITER_ERR_INVALID_PARAM  a null argument, or a callback that is null
 * @return otherwise the open callback's code, or the header's result as for AVI_SPLITER_Open
 */
QUORV_API uint32_t AVI_SPLITER_GetHTTPParam(const SplitterStreamSource *source, SplitterHttpParam *param,
                                            SplitterHandle *handle);

/**
 * Opens an AVI file: parses its header and rewinds every track to time 0.
 *
 * A local source nearly always opens: one that is not AVI at all has no tracks, which AVI_SPLITER_EnumTrack
 * reports. Handles on failure are as for AVI_SPLITER_GetHTTPParam.
 *
 * @param[in]     source  the caller's stream callbacks; copied
 * @param[in]     mode    1 or 2, which do the same
 * @param[in,out] handle  null, and a handle is stored that AVI_SPLITER_Close ends; or a handle from
 *                        AVI_SPLITER_GetHTTPParam; a handle that is open already is only rewound
 *
 * @retval SPLITER_OK                    the file is open
 * @retval SPLITER_ERR_INVALID_PARAM     a null argument, a callback that is null, or another mode
 * @retval SPLITER_ERR_IO                progressive sources: a failed read or a wrong signature
 * @retval SPLITER_ERR_END_OF_STREAM     progressive sources: no media data
 * @retval SPLITER_ERR_BAD_FORMAT        more than 100 streams; progressive sources: a bad stream header
 * @retval SPLITER_ERR_NO_MEMORY         an allocation failed
 * @retval SPLITER_ERR_BUFFER_TOO_SMALL  Huffman tables of more than 2048 bytes
 * @return otherwise the code of a callback: of open, or of one that failed while a first frame was read or
 *         the stream put back behind the index
 */
QUORV_API uint32_t AVI_SPLITER_Open(const SplitterStreamSource *source, uint32_t mode,
                                    SplitterHandle *handle);

/**
 * Lists the tracks.
 *
 * @param[in]  handle  an open file
 * @param[out] list    the tracks; its entries belong to the splitter and stay valid until AVI_SPLITER_Close;
 *                     zeroed on failure
 *
 * @retval SPLITER_OK                 list is filled
 * @retval SPLITER_ERR_UNSUPPORTED    there are no tracks
 * @retval SPLITER_ERR_INVALID_PARAM  a null argument
 * @retval SPLITER_ERR_NO_MEMORY      an allocation failed
 */
QUORV_API uint32_t AVI_SPLITER_EnumTrack(SplitterHandle handle, SplitterTrackList *list);

/**
 * Describes a track.
 *
 * **An audio track takes 36 bytes, also where size says less: a SplitterVideoInfo, which has 32, is too small
 * for it.** Look at the track's type first, which AVI_SPLITER_EnumTrack tells, or pass a union:
 *
 *     SplitterTrackInfo info;
 *     result = AVI_SPLITER_GetTrackInfo(handle, entry->track, &info, sizeof info);
 *     if (entry->type == SPLITER_TRACK_AUDIO) play(info.audio.channels, info.audio.sample_rate);
 *
 * The duration of an audio track is raised to that of the first video track when that one is longer; in a
 * file without video, to that of the last track.
 *
 * @param[in]  handle  an open file
 * @param[in]  track   from 1
 * @param[out] info    a SplitterVideoInfo for a video track, a SplitterAudioInfo for an audio track; nothing
 *                     is written for any other
 * @param[in]  size    not looked at: info must have room for the whole record, 32 bytes of video, 36 of audio
 *
 * @retval SPLITER_OK                 info is filled
 * @retval SPLITER_ERR_INVALID_PARAM  a null argument, track 0 or a track above the count
 */
QUORV_API uint32_t AVI_SPLITER_GetTrackInfo(SplitterHandle handle, uint32_t track, void *info, uint32_t size);

/**
 * Reads a setting or a derived value.
 *
 * | id                             | value                                                              |
 * | ------------------------------ | ------------------------------------------------------------------ |
 * | SPLITER_CFG_NEXT_KEYFRAME_TIME | SplitterTrackValue: out, the time in milliseconds of the key frame |
 * | SPLITER_CFG_CODEC_DATA         | SplitterTrackData: out, the decoder-specific data of the track     |
 * | SPLITER_CFG_NOP                | nothing                                                            |
 *
 * The next key frame is the first one at or after the track's read position.
 *
 * @param[in]     handle  an open file
 * @param[in]     id      SPLITER_CFG_*
 * @param[in,out] value   the identifier's record, its track set
 * @param[in,out] size    bytes at value; out: those of the record
 *
 * @retval SPLITER_OK                    value is filled; or, with nothing changed, a null argument or any
 *                                       other identifier
 * @retval SPLITER_ERR_BUFFER_TOO_SMALL  *size is below the record's size
 * @retval SPLITER_ERR_INVALID_PARAM     a bad track number
 * @retval SPLITER_ERR_UNSUPPORTED       next key frame: the track is not video, has no index or no such frame
 * @return otherwise the code of a callback that failed while the index was read
 */
QUORV_API uint32_t AVI_SPLITER_GetConfig(SplitterHandle handle, uint32_t id, void *value, uint32_t *size);

/**
 * Sets a setting, of which there is none.
 *
 * @param[in] handle  an open file
 * @param[in] id      not looked at
 * @param[in] value   not looked at
 * @param[in] size    not looked at
 *
 * @retval SPLITER_ERR_UNSUPPORTED    every identifier
 * @retval SPLITER_ERR_INVALID_PARAM  a null handle or value
 */
QUORV_API uint32_t AVI_SPLITER_SetConfig(SplitterHandle handle, uint32_t id, const void *value,
                                         uint32_t size);

/**
 * Copies the next frame of a video or audio track into the caller's buffer.
 *
 * When the codec data of a video track was taken from its first frame, those leading bytes are removed from
 * that frame the first time it is read; after a Reset it comes whole. An MPEG-4 Part 2 track must carry its
 * video object layer header within the first 256 bytes of its first frame, or of its next key frame;
 * otherwise the track ends at once. A changed palette of a video track is appended to the next frame
 * (1024 bytes, 256 entries of red, green, blue, flags); buffer must have room for it.
 *
 * @param[in]  handle  an open file
 * @param[in]  track   from 1
 * @param[out] buffer  size bytes, the caller's
 * @param[in]  size    bytes; the track's max_frame_size is what the file suggests
 * @param[out] frame   size, time stamp, duration and key flag; zeroed on failure
 *
 * @retval SPLITER_OK                    the frame is in buffer
 * @retval SPLITER_ERR_BUFFER_TOO_SMALL  frame->size says what is needed; the same frame comes at the next
 *                                       call
 * @retval SPLITER_ERR_END_OF_STREAM     no further frame; stays so until the track is sought, or more of a
 *                                       progressive source has arrived
 * @retval SPLITER_ERR_INVALID_PARAM     a null argument, a bad track number, a track that is neither video
 *                                       nor audio
 * @return otherwise a callback's code; the read position is unchanged
 */
QUORV_API uint32_t AVI_SPLITER_ReadFrame(SplitterHandle handle, uint32_t track, void *buffer, uint32_t size,
                                         SplitterFrameInfo *frame);

/**
 * Moves the read position of one track to a key frame.
 *
 * With SPLITER_SEEK_BACKWARD an audio track is then moved on, piece by piece, to the piece that holds the
 * wanted time. Time 0 rewinds and needs no index. On failure the track and *time are as before. A failed read
 * ends the index for good: later seeks reach what was read of it.
 *
 * @param[in]     handle  an open file
 * @param[in]     track   from 1
 * @param[in,out] time    wanted time in milliseconds, or SPLITER_TIME_NEXT_KEYFRAME; out: the time reached
 * @param[in]     mode    SPLITER_SEEK_FORWARD, or SPLITER_SEEK_BACKWARD; every other value is backward, too,
 *                        and leaves an audio track on the key frame
 *
 * @retval SPLITER_OK                 the track has been moved
 * @retval SPLITER_ERR_END_OF_STREAM  the index has no such key frame
 * @retval SPLITER_ERR_INVALID_PARAM  a null argument or a bad track number
 * @retval SPLITER_ERR_NO_MEMORY      an allocation failed
 * @return otherwise the code of a callback that failed while the index was read
 */
QUORV_API uint32_t AVI_SPLITER_Seek(SplitterHandle handle, uint32_t track, uint32_t *time, uint32_t mode);

/**
 * Rewinds every track to time 0.
 *
 * @param[in] handle  an open file
 *
 * @retval SPLITER_OK                 done
 * @retval SPLITER_ERR_INVALID_PARAM  a null handle
 */
QUORV_API uint32_t AVI_SPLITER_Reset(SplitterHandle handle);

/**
 * Tells whether a track's index holds more than one key frame; reads further blocks of the index as needed.
 *
 * @param[in] handle  an open file
 * @param[in] track   from 1
 *
 * @return 1 when it does; 0 when it does not, and for a null handle or a bad track number; the nonzero code
 *         of a failure while the index is read
 */
QUORV_API uint32_t AVI_SPLITER_IsSeekable(SplitterHandle handle, uint32_t track);

/**
 * Frees everything that belongs to the handle and closes the stream.
 *
 * @param[in] handle  from AVI_SPLITER_Open or AVI_SPLITER_GetHTTPParam
 *
 * @retval SPLITER_OK                 the handle is gone
 * @retval SPLITER_ERR_INVALID_PARAM  a null handle
 * @return otherwise the close callback's code; the handle is then still valid for another Close, and for
 *         nothing else
 */
QUORV_API uint32_t AVI_SPLITER_Close(SplitterHandle handle);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
