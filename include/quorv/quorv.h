/**
 * @file
 * Any media file in a few calls: its tracks, its packets in the order of time, seeking, damage, decoded
 * sound.
 */
#ifndef QUORV_QUORV_H
#define QUORV_QUORV_H

#include <quorv/codec.h>
#include <quorv/export.h>
#include <quorv/media_records.h>
#include <quorv/version.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup quorv Media files
 * AVI, ASF (WMV, WMA) and MPEG audio files behind one set of functions.
 *
 * A program that plays, converts or lists files needs nothing else:
 *
 *     QuorvReader *reader;
 *     const QuorvPacket *packet;
 *     QuorvResult result = quorv_open_path("holiday.avi", &reader);
 *     if (result != QUORV_OK) return report(quorv_strerror(result));
 *     while ((result = quorv_read(reader, &packet)) == QUORV_OK)
 *         play(quorv_track(reader, packet->track), packet);
 *     if (result != QUORV_END) report(quorv_strerror(result));
 *     quorv_close(reader);
 *
 * Tracks are counted from 0. Times are microseconds, counted from the beginning of the file. Records come as
 * pointers to what the library owns: later versions add fields at their ends and never move or remove one, so
 * a program must not copy one whole by its size and expect a newer library's to fit. QuorvSource, which the
 * caller fills, stays as it is.
 *
 * In an MPEG audio file a packet is one frame. Tags (ID3v2, ID3v1, APE) are passed over, and so is a first
 * frame that holds what an encoder says of the stream (Xing, Info, VBRI). Times and durations are those of
 * the sound without what the encoder added, as quorv_decode gives it: packets that it trims are shorter, or
 * last for 0. The whole duration is what that frame says; without one the frames are counted up to 4 MB, and
 * the rest of a larger file is taken to have as many bytes a frame. A seek is exact: it walks over frames.
 * Where these are more than 32 MB it leaps, which is exact at constant rates; at variable rates the times
 * that follow are estimates, by the encoder's table where there is one.
 *
 * A reader, or a decoder, is used by one thread at a time; different ones are independent.
 *
 * What the other headers declare lies underneath and stays for those who need it.
 * @{
 */

/** @name Opening and closing
 * @{ */

/**
 * Opens a file by its name.
 *
 * @param[in]  path    the name, as the system takes it
 * @param[out] reader  what quorv_close ends; null on failure
 *
 * @retval QUORV_OK               the tracks are known
 * @retval QUORV_ERR_ARGUMENT     a null argument
 * @retval QUORV_ERR_SOURCE       it cannot be opened or read; errno says why
 * @retval QUORV_ERR_NOT_MEDIA    of no format that this library reads
 * @retval QUORV_ERR_DAMAGED      of a known format, but without a track that can be described
 * @retval QUORV_ERR_MEMORY       an allocation failed
 */
QUORV_API QuorvResult quorv_open_path(const char *path, QuorvReader **reader);

/**
 * Opens a file by its descriptor, which can be sought and is never moved: it is read with pread.
 *
 * @param[in]  fd      the caller's, who closes it after quorv_close
 * @param[out] reader  what quorv_close ends; null on failure
 *
 * @return as quorv_open_path
 */
QUORV_API QuorvResult quorv_open_fd(int fd, QuorvReader **reader);

/**
 * Opens a file that lies in memory.
 *
 * @param[in]  data    size bytes, which stay the caller's and unchanged until quorv_close
 * @param[in]  size    bytes
 * @param[out] reader  what quorv_close ends; null on failure
 *
 * @return as quorv_open_path
 */
QUORV_API QuorvResult quorv_open_memory(const void *data, size_t size, QuorvReader **reader);

/**
 * Opens a file that the caller reads.
 *
 * A source that answers QUORV_SOURCE_AGAIN makes this return QUORV_AGAIN **with a reader**: call again with
 * the same variable, or give it to quorv_close. From then on no byte is asked for twice until the call
 * succeeds; the same holds for the other calls.
 *
 * @param[in]     source  the caller's functions; copied
 * @param[in,out] reader  null, or what an earlier call stored that returned QUORV_AGAIN; out: what quorv_close
 *                        ends; null on failure
 *
 * @retval QUORV_AGAIN  the bytes that are needed are not here yet
 * @return otherwise as quorv_open_path
 */
QUORV_API QuorvResult quorv_open_source(const QuorvSource *source, QuorvReader **reader);

/**
 * Ends a reader and frees all that belongs to it: its tracks and packets, too.
 *
 * @param[in] reader  the reader, or null
 */
QUORV_API void quorv_close(QuorvReader *reader);

/** @}
 * @name Tracks
 * @{ */

/**
 * Describes the file.
 *
 * @param[in] reader  an open reader
 *
 * @return the description, valid until quorv_close; null for a null reader, or one that is not open yet
 */
QUORV_API const QuorvFile *quorv_file(const QuorvReader *reader);

/**
 * Describes a track.
 *
 * @param[in] reader  an open reader
 * @param[in] index   from 0
 *
 * @return the description, valid until quorv_close; null for a null reader or a track that is not there
 */
QUORV_API const QuorvTrack *quorv_track(const QuorvReader *reader, uint32_t index);

/**
 * Chooses whether quorv_read and quorv_seek deal with a track. At first all are chosen that have packets. One
 * that is chosen again goes on where it was left.
 *
 * @param[in] reader    an open reader
 * @param[in] index     from 0
 * @param[in] selected  0 leaves it out, other values take it in
 *
 * @retval QUORV_OK               done
 * @retval QUORV_ERR_ARGUMENT     a null reader, or a track that is not there
 * @retval QUORV_ERR_UNSUPPORTED  a track that can only be listed is taken in
 */
QUORV_API QuorvResult quorv_select(QuorvReader *reader, uint32_t index, int selected);

/**
 * Asks for the times at which a video track's packets are shown. They come with the packets, which are then
 * read as far ahead as the stream's own order makes necessary: 32 packets at most, and not at all where
 * nothing is reordered.
 *
 * The k-th picture that is shown has the k-th of the packets' times. So the first one is shown when the first
 * packet is decoded, and a B-frame is shown before the time of its packet: a player that decodes just in time
 * adds the delay of its decoder to all of them.
 *
 * H.264 by picture order count (ITU-T H.264, 8.2.1), MPEG-4 Part 2 by VOP types (ISO/IEC 14496-2), packed
 * B-frames included: a packet with two VOPs has the time of the one that is shown first. Packets of other
 * codecs, and those in which no picture can be made out, are shown when they are decoded. ASF files have
 * these times themselves.
 *
 * @param[in] reader  an open reader
 * @param[in] index   from 0
 * @param[in] wanted  0 for packets without them, as at first; other values for packets with them
 *
 * @retval QUORV_OK            done, from the next packet on
 * @retval QUORV_ERR_MEMORY    an allocation failed
 * @retval QUORV_ERR_ARGUMENT  a null reader, or a track that is not there
 */
QUORV_API QuorvResult quorv_set_presentation(QuorvReader *reader, uint32_t index, int wanted);

/**
 * Counts a track's chunks and their bytes without reading them, as far as the file tells: by the index of an
 * AVI file, all of which is read; of an MPEG audio file by what is known since it was opened, without the
 * sizes of single chunks.
 *
 * @param[in]  reader  an open reader
 * @param[in]  index   from 0
 * @param[out] survey  the counts; zeros on failure
 *
 * @retval QUORV_OK               survey is set
 * @retval QUORV_AGAIN            the bytes are not here yet
 * @retval QUORV_ERR_ARGUMENT     a null argument, or a track that is not there
 * @retval QUORV_ERR_UNSUPPORTED  nothing tells
 * @return otherwise as quorv_read
 */
QUORV_API QuorvResult quorv_survey(QuorvReader *reader, uint32_t index, QuorvSurvey *survey);

/** @}
 * @name Packets
 * @{ */

/**
 * Reads the next packet of all selected tracks in the order of their times (time_us); at equal times the
 * track with the lower index comes first.
 *
 * After QUORV_ERR_DAMAGED the next call goes on behind the damage.
 *
 * @param[in]  reader  an open reader
 * @param[out] packet  the packet, valid until the next call with the reader; null on failure
 *
 * @retval QUORV_OK            packet is set
 * @retval QUORV_END           no further packet in any selected track
 * @retval QUORV_AGAIN         the bytes are not here yet
 * @retval QUORV_ERR_ARGUMENT  a null argument
 * @retval QUORV_ERR_SOURCE    the source failed; the call can be repeated
 * @retval QUORV_ERR_DAMAGED   a part of the file cannot be used
 * @retval QUORV_ERR_MEMORY    an allocation failed; the call can be repeated
 */
QUORV_API QuorvResult quorv_read(QuorvReader *reader, const QuorvPacket **packet);

/**
 * Reads the next packet of one track, selected or not; the others stay where they are.
 *
 * @param[in]  reader  an open reader
 * @param[in]  index   from 0
 * @param[out] packet  as for quorv_read
 *
 * @retval QUORV_ERR_UNSUPPORTED  the track can only be listed
 * @return otherwise as quorv_read
 */
QUORV_API QuorvResult quorv_read_track(QuorvReader *reader, uint32_t index, const QuorvPacket **packet);

/**
 * Moves all selected tracks: the first selected video track to a key frame, the others to the last packet
 * that begins at or before the time of that. Without a selected video track each goes to a packet as if all
 * were key frames.
 *
 * @param[in]  reader      an open reader
 * @param[in]  time_us     the wanted time; below 0 counts as 0
 * @param[in]  mode        which key frame
 * @param[out] reached_us  the time reached; may be null
 *
 * @retval QUORV_OK               the next packets are those
 * @retval QUORV_AGAIN            the bytes are not here yet; nothing has moved
 * @retval QUORV_ERR_ARGUMENT     a null reader, another mode
 * @retval QUORV_ERR_UNSUPPORTED  nothing says where the time lies; nothing has moved
 * @return otherwise as quorv_read
 */
QUORV_API QuorvResult quorv_seek(QuorvReader *reader, int64_t time_us, QuorvSeek mode, int64_t *reached_us);

/** For quorv_damage: all tracks, and what belongs to none. */
#define QUORV_WHOLE_FILE UINT32_MAX

/**
 * Tells what could not be used of what has been read so far. Nothing is counted twice, however often it is
 * read again.
 *
 * @param[in] reader  an open reader
 * @param[in] index   from 0, or QUORV_WHOLE_FILE
 *
 * @return the record, valid until the next call with the reader; null for a null reader or a track that is
 * not there
 */
QUORV_API const QuorvDamage *quorv_damage(QuorvReader *reader, uint32_t index);

/** @}
 * @name Decoding MPEG audio
 * @{ */

/**
 * Makes a decoder of MPEG audio, Layers I to III.
 *
 * Where the stream tells how much its encoder added (a Xing or Info header with an encoder's delay and
 * padding), that is trimmed: what comes out is what went into the encoder. The frame that holds such a header
 * gives no samples, trimmed or not.
 *
 * @param[in]  track    what to decode, of any reader; null for a raw stream
 * @param[in]  flags    QUORV_DECODER_*, or 0
 * @param[out] decoder  what quorv_decoder_close ends; null on failure
 *
 * @retval QUORV_OK               done
 * @retval QUORV_ERR_ARGUMENT     decoder is null, or a flag has no meaning
 * @retval QUORV_ERR_UNSUPPORTED  the track is not MPEG audio
 * @retval QUORV_ERR_MEMORY       an allocation failed
 */
QUORV_API QuorvResult quorv_decoder_open(const QuorvTrack *track, uint32_t flags, QuorvDecoder **decoder);

/**
 * Decodes the next bytes of the stream, which may be cut anywhere, and takes them all. What they give may
 * come in several portions:
 *
 *     for (result = quorv_decode(decoder, data, size, &samples); result == QUORV_OK && samples->frames != 0;
 *          result = quorv_decode(decoder, NULL, 0, &samples))
 *         play(samples);
 *
 * @param[in]  decoder  the decoder
 * @param[in]  data     size bytes, such as a packet's
 * @param[in]  size     bytes; 0 for more of what came before
 * @param[out] samples  the next portion, of one format; with 0 frames there is no more until further bytes
 *                      come; null on failure
 *
 * @retval QUORV_OK            samples is set
 * @retval QUORV_ERR_ARGUMENT  a null decoder or samples, or null data with a size
 * @retval QUORV_ERR_MEMORY    an allocation failed; nothing was taken, and the call can be repeated
 */
QUORV_API QuorvResult quorv_decode(QuorvDecoder *decoder, const void *data, size_t size,
                                   const QuorvSamples **samples);

/**
 * Ends the stream and brings out its last frames; to be called until there are no more samples, like
 * quorv_decode. Bytes that come after that are another stream.
 *
 * @param[in]  decoder  the decoder
 * @param[out] samples  as for quorv_decode
 *
 * @retval QUORV_OK            samples is set
 * @retval QUORV_ERR_ARGUMENT  a null argument
 */
QUORV_API QuorvResult quorv_decoder_finish(QuorvDecoder *decoder, const QuorvSamples **samples);

/**
 * Forgets what has been decoded, for after a seek. The first frames that follow may need bytes of those
 * before them; such frames give no samples and are counted as skipped.
 *
 * @param[in] decoder  the decoder
 * @param[in] time_us  where the stream goes on: the time of the next packet of the decoder's track, by which
 *                     is known what is still to be trimmed. 0 is the beginning of the stream; below 0 stands
 *                     for a place that is not known, and nothing is trimmed
 *
 * @retval QUORV_OK            done
 * @retval QUORV_ERR_ARGUMENT  null
 */
QUORV_API QuorvResult quorv_decoder_reset(QuorvDecoder *decoder, int64_t time_us);

/**
 * Tells which frames could not be decoded since the decoder was made.
 *
 * @param[in] decoder  the decoder
 *
 * @return the record, valid until the next call with the decoder; null for null
 */
QUORV_API const QuorvSkippedFrames *quorv_decoder_skipped(const QuorvDecoder *decoder);

/**
 * Ends a decoder.
 *
 * @param[in] decoder  the decoder, or null
 */
QUORV_API void quorv_decoder_close(QuorvDecoder *decoder);

/** @}
 * @name Texts
 * @{ */

/**
 * Says in words what a result means.
 *
 * @param[in] result  of any function of this header
 *
 * @return a text in English without a full stop; "unknown result" for what is none
 */
QUORV_API const char *quorv_strerror(QuorvResult result);

/**
 * Says in words what a code of one of the other headers means.
 *
 * @param[in] module  whose it is
 * @param[in] code    the code
 *
 * @return a text in English without a full stop; "unknown code" for what is none
 */
QUORV_API const char *quorv_code_text(QuorvModule module, uint32_t code);

/**
 * Tells the code underneath the latest result of a reader: a splitter's, or what the source answered, cut to
 * 32 bits; errno for files that the library opened itself.
 *
 * @param[in] reader  the reader
 *
 * @return the code; 0 after a success and for null
 */
QUORV_API uint32_t quorv_reader_code(const QuorvReader *reader);

/**
 * Tells the version of the library that runs, which may be newer than these headers.
 *
 * @return such as "0.1.0"
 */
QUORV_API const char *quorv_version(void);

/** @} */

/** @} */

#ifdef __cplusplus
}
#endif

#endif
