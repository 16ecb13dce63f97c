/**
 * @file
 * The ASF splitter: ASF, WMV and WMA files.
 */
#ifndef QUORV_ASF_SPLITTER_H
#define QUORV_ASF_SPLITTER_H

#include <quorv/splitter.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup asf ASF splitter
 * The tracks and frames of ASF files, WMV and WMA among them.
 *
 * Of a file it offers the first video stream of a known codec (WMV1, WMV2, WMV3 and MPEG-4 Part 2;
 * when there is none, the last video stream, with codec 0) and the first audio stream. A track's number is
 * its stream number in the file plus one. Each track has a read position of its own: reading one track does
 * not consume the frames of the other.
 *
 * Up to three readers of the source are open at a time: one for header and index with access mode 1, two for
 * the tracks with access mode 2. Each is a stream with a position of its own: the open callback must not give
 * the same one out again, neither for the second nor for the third. The splitter remembers where each stands
 * and seeks only when it wants to be elsewhere, so a stream that two readers share is read in wrong places;
 * and each reader is closed.
 *
 * A progressive source whose bytes have not arrived yet says so by returning SPLITER_ERR_DATA_PENDING from
 * read, seek or size. Every function hands that on, leaves all positions as they were, and can be called
 * again later; the frames are then the same as from a local source.
 * @{
 */

/**
 * Parses the header of a source that may still be arriving and looks for its Simple Index Object.
 *
 * Optional, before ASF_SPLITER_Open. When it fails, a handle that this call made is freed and *handle stays
 * null; one that came in stays valid, and the call can be repeated after more bytes have arrived.
 *
 * @param[in]     source  the caller's stream callbacks; copied
 * @param[out]    param   index_flag is 1 when a usable Simple Index Object was read completely; 0 with
 *                        SPLITER_OK also when it has not arrived yet, so that a later call may find it;
 *                        zeroed on failure
 * @param[in,out] handle  null, and a handle is stored that ASF_SPLITER_Open then takes over; or a handle of
 *                        an earlier call
 *
 * @retval SPLITER_OK                 the header is known
 * @retval SPLITER_ERR_INVALID_PARAM  a null argument, or a callback that is null
 * @retval SPLITER_ERR_NO_MEMORY      an allocation failed
 * @retval SPLITER_ERR_BAD_FORMAT     as for ASF_SPLITER_Open
 * @return otherwise the code of a callback
 */
QUORV_API uint32_t ASF_SPLITER_GetHTTPParam(const SplitterStreamSource *source, SplitterHttpParam *param,
                                            SplitterHandle *handle);

/**
 * Opens an ASF file: parses its header, reads the Simple Index Object of a local source, and rewinds both
 * tracks to time 0.
 *
 * An index that cannot be read is no failure. Handles on failure are as for ASF_SPLITER_GetHTTPParam.
 *
 * @param[in]     source  the caller's stream callbacks; copied
 * @param[in]     mode    not used
 * @param[in,out] handle  null, and a handle is stored that ASF_SPLITER_Close ends; or a handle from
 *                        ASF_SPLITER_GetHTTPParam; a handle that is open already is only rewound
 *
 * @retval SPLITER_OK                 the file is open
 * @retval SPLITER_ERR_INVALID_PARAM  a null argument, or a callback that is null
 * @retval SPLITER_ERR_BAD_FORMAT     the file does not begin with a Header Object that a Data Object follows;
 *                                    an object of less than 24 bytes; packets of less than 10 bytes or more
 *                                    than 64 MB; a known video codec with less than 51 or more than 307 bytes
 *                                    of type-specific data
 * @retval SPLITER_ERR_NO_MEMORY      an allocation failed
 * @return otherwise the code of a callback
 */
QUORV_API uint32_t ASF_SPLITER_Open(const SplitterStreamSource *source, uint32_t mode,
                                    SplitterHandle *handle);

/**
 * Lists the tracks, video first.
 *
 * @param[in]  handle  an open file
 * @param[out] list    the tracks; its entries belong to the splitter and stay valid until ASF_SPLITER_Close;
 *                     null with count 0 when there are none
 *
 * @retval SPLITER_OK                 list is filled, also when there are no tracks
 * @retval SPLITER_ERR_INVALID_PARAM  a null argument
 */
QUORV_API uint32_t ASF_SPLITER_EnumTrack(SplitterHandle handle, SplitterTrackList *list);

/**
 * Describes a track.
 *
 * The frame rate is rounded from whole milliseconds a frame, 0 when they are not known (as of a progressive
 * source); max_bitrate is that of the file, max_frame_size of audio the packet size.
 *
 * @param[in]  handle  an open file
 * @param[in]  track   the track's number
 * @param[out] info    a SplitterVideoInfo for the video track, a SplitterAudioInfo for the audio track
 * @param[in]  size    bytes at info
 *
 * @retval SPLITER_OK                    info is filled
 * @retval SPLITER_ERR_BUFFER_TOO_SMALL  size is below 32 for video, 36 for audio
 * @retval SPLITER_ERR_INVALID_PARAM     a null argument or a number that is no track's
 */
QUORV_API uint32_t ASF_SPLITER_GetTrackInfo(SplitterHandle handle, uint32_t track, void *info, uint32_t size);

/**
 * Reads a setting or a derived value.
 *
 * | id                             | value                                                                  |
 * | ------------------------------ | ---------------------------------------------------------------------- |
 * | SPLITER_CFG_KEYFRAME_COUNT     | SplitterTrackValue: out, the number of packets that begin key frames   |
 * | SPLITER_CFG_NEXT_KEYFRAME_TIME | SplitterTrackValue: out, the time in milliseconds of the key frame     |
 * | SPLITER_CFG_CODEC_DATA         | SplitterTrackData: out, the decoder-specific data of the track         |
 * | SPLITER_CFG_VIDEO_TYPE_DATA    | SplitterTrackData: out, the type-specific data of the video stream     |
 *
 * The count is that of the different packets of the file that the Simple Index Object leads to: 1000 when
 * there is no usable one or it leads to none of the file's packets, 0 as long as it was not looked for, and
 * for tracks that are not video. The next key frame is the first one behind the video read position. The
 * decoder-specific data is empty for audio once it was sent with a frame, and for numbers that are no
 * track's; the type-specific data is empty for an unknown codec.
 *
 * @param[in]     handle  an open file
 * @param[in]     id      SPLITER_CFG_*
 * @param[in,out] value   the identifier's record, its track set
 * @param[in,out] size    bytes at value; out: those of the record
 *
 * @retval SPLITER_OK                    value is filled
 * @retval SPLITER_ERR_BUFFER_TOO_SMALL  *size is below the record's size
 * @retval SPLITER_ERR_INVALID_PARAM     a null argument
 * @retval SPLITER_ERR_END_OF_STREAM     next key frame: there is none
 * @retval SPLITER_ERR_UNSUPPORTED       next key frame, type-specific data: the track is not video; any other
 *                                       identifier
 * @retval SPLITER_ERR_NO_PARSER         next key frame: the handle was not opened
 * @retval SPLITER_ERR_NO_MEMORY         next key frame: as for ASF_SPLITER_ReadFrame
 * @return otherwise the code of a callback
 */
QUORV_API uint32_t ASF_SPLITER_GetConfig(SplitterHandle handle, uint32_t id, void *value, uint32_t *size);

/**
 * Sets a setting.
 *
 * | id                           | value, a uint32_t                                                        |
 * | ---------------------------- | ------------------------------------------------------------------------ |
 * | SPLITER_CFG_CODEC_DATA_FIRST | whether codec data is put in front of the next video frame               |
 * | SPLITER_CFG_SEEK_THRESHOLD   | accepted, without effect                                                 |
 * | SPLITER_CFG_LOAD_INDEX       | when nonzero, reads the Simple Index Object now                          |
 *
 * The first of them is set at Open for all codecs but WMV1, WMV2 and WMV3.
 *
 * @param[in] handle  an open file
 * @param[in] id      SPLITER_CFG_*
 * @param[in] value   the setting; copied
 * @param[in] size    bytes at value, at least 4
 *
 * @retval SPLITER_OK                    done; the index may have been read before
 * @retval SPLITER_ERR_BUFFER_TOO_SMALL  size is below 4
 * @retval SPLITER_ERR_INVALID_PARAM     a null handle or value
 * @retval SPLITER_ERR_UNSUPPORTED       there is no usable index; any other identifier
 * @retval SPLITER_ERR_NO_PARSER         loading the index: the handle was not opened
 * @retval SPLITER_ERR_NO_MEMORY         loading the index: an allocation failed
 * @return otherwise the code of a callback
 */
QUORV_API uint32_t ASF_SPLITER_SetConfig(SplitterHandle handle, uint32_t id, const void *value,
                                         uint32_t size);

/**
 * Copies the next frame of a track into the caller's buffer.
 *
 * Time stamps count from the lowest time seen in the packets so far, at most from the preroll. The duration
 * is the time to the track's next frame, 1 when that is not known. The first frame of an MP3 track and of a
 * video track with SPLITER_CFG_CODEC_DATA_FIRST comes behind the codec data, as one piece.
 *
 * @param[in]  handle  an open file
 * @param[in]  track   the track's number
 * @param[out] buffer  size bytes, the caller's
 * @param[in]  size    bytes
 * @param[out] frame   size, time stamp, duration and key flag, 1 for all audio; zeroed on failure
 *
 * @retval SPLITER_OK                    the frame is in buffer
 * @retval SPLITER_ERR_BUFFER_TOO_SMALL  frame->size says what is needed; the same frame comes at the next
 *                                       call
 * @retval SPLITER_ERR_END_OF_STREAM     no further frame, or the track's duration is reached; stays so until
 *                                       the track is sought
 * @retval SPLITER_ERR_BAD_FORMAT        a packet is damaged; the next call goes on behind it
 * @retval SPLITER_ERR_DATA_PENDING      progressive: the bytes have not arrived, or the latest Seek on either
 *                                       track returned this code; any other result of a Seek ends that, and
 *                                       so does ASF_SPLITER_Reset
 * @retval SPLITER_ERR_INVALID_PARAM     a null argument, or a number that is no track's
 * @retval SPLITER_ERR_NO_PARSER         the handle was not opened
 * @retval SPLITER_ERR_NO_MEMORY         packets of more than 64 KB, or of 2 KB when there is no memory for
 *                                       reading ahead: an allocation failed; for these, memory grows with the
 *                                       bytes that come
 * @return otherwise the callback's code; the read position is unchanged
 */
QUORV_API uint32_t ASF_SPLITER_ReadFrame(SplitterHandle handle, uint32_t track, void *buffer, uint32_t size,
                                         SplitterFrameInfo *frame);

/**
 * Moves the read position of one track.
 *
 * Time 0 rewinds. Needs no index: without a usable one, packets are searched by their times.
 *
 * @param[in]     handle  an open file
 * @param[in]     track   the track's number
 * @param[in,out] time    wanted time in milliseconds; out: the time stamp of the frame that comes next.
 *                        SPLITER_TIME_NEXT_KEYFRAME is the next key frame of a video track; of an audio
 *                        track it reports the position and counts it on by one frame without moving
 * @param[in]     mode    video: SPLITER_SEEK_FORWARD for the first key frame at or after the time (or the
 *                        last one of all), every other value for the last one at or before it (or the first
 *                        one of all); audio goes to the last frame at or before the time either way
 *
 * @retval SPLITER_OK                 the track has been moved
 * @retval SPLITER_ERR_UNSUPPORTED    the file does not say how long it is; or the next key frame was wanted
 *                                    after a Seek that returned SPLITER_ERR_DATA_PENDING
 * @retval SPLITER_ERR_END_OF_STREAM  the time is at or behind the end, or there is no key frame; a video
 *                                    track of a local source then stands at its end. Or there is no next key
 *                                    frame; then nothing has moved
 * @retval SPLITER_ERR_DATA_PENDING   progressive: repeat the call later; until a Seek has another result,
 *                                    ReadFrame gives this code
 * @retval SPLITER_ERR_INVALID_PARAM  a null argument, or a number that is no track's
 * @retval SPLITER_ERR_NO_PARSER      the handle was not opened; time 0 needs no more than the header
 * @retval SPLITER_ERR_NO_MEMORY      as for ASF_SPLITER_ReadFrame
 * @return otherwise the callback's code
 */
QUORV_API uint32_t ASF_SPLITER_Seek(SplitterHandle handle, uint32_t track, uint32_t *time, uint32_t mode);

/**
 * Rewinds both tracks to time 0.
 *
 * @param[in] handle  an open file
 *
 * @retval SPLITER_OK                 done
 * @retval SPLITER_ERR_INVALID_PARAM  a null handle
 */
QUORV_API uint32_t ASF_SPLITER_Reset(SplitterHandle handle);

/**
 * Tells whether the file can be sought.
 *
 * @param[in] handle  an open file
 * @param[in] track   not looked at
 *
 * @return 1, or 0 for a file with video whose Simple Index Object was not looked for (a progressive source,
 *         or one that does not say how long it is); SPLITER_ERR_INVALID_PARAM for a null handle
 */
QUORV_API uint32_t ASF_SPLITER_IsSeekable(SplitterHandle handle, uint32_t track);

/**
 * Closes all readers, whatever the close callback returns, and frees everything that belongs to the handle.
 *
 * @param[in] handle  from ASF_SPLITER_Open or ASF_SPLITER_GetHTTPParam
 *
 * @retval SPLITER_OK                 the handle is gone
 * @retval SPLITER_ERR_INVALID_PARAM  a null handle
 */
QUORV_API uint32_t ASF_SPLITER_Close(SplitterHandle handle);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
