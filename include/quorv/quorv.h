/**
 * @file
 * Any media file in a few calls: its tracks, its packets in the order of time, seeking, damage, decoded
 * sound.
 */
#ifndef QUORV_QUORV_H
#define QUORV_QUORV_H

#include <quorv/codec.h>
#include <quorv/export.h>
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
 * A reader, or a decoder, is used by one thread at a time; different ones are independent.
 *
 * What the other headers declare lies underneath and stays for those who need it.
 * @{
 */

/** What a caller can do about a call. */
typedef enum QuorvResult {
    QUORV_OK = 0,          /**< done */
    QUORV_END,             /**< no further packet */
    QUORV_AGAIN,           /**< the source does not have these bytes yet; nothing changed, call again */
    QUORV_ERR_ARGUMENT,    /**< a null pointer, a track that is not there, a value without a meaning */
    QUORV_ERR_MEMORY,      /**< an allocation failed; the call can be repeated */
    QUORV_ERR_SOURCE,      /**< the source failed; quorv_reader_code() has its own code */
    QUORV_ERR_NOT_MEDIA,   /**< of no format that this library reads */
    QUORV_ERR_DAMAGED,     /**< of a known format, but nothing can be made of it, or of this part of it */
    QUORV_ERR_UNSUPPORTED, /**< sound, but not possible: no index to seek with, a codec without a decoder */
    QUORV_ERR_CLOSED       /**< the call before has failed in a way that leaves only quorv_close */
} QuorvResult;

/** A media file that is being read. */
typedef struct QuorvReader QuorvReader;
/** A decoder of MPEG audio. */
typedef struct QuorvDecoder QuorvDecoder;

/** Answers of QuorvSource's functions that are no number of bytes. Other negative values are errors. */
enum {
    QUORV_SOURCE_UNKNOWN = -1, /**< size: not known */
    QUORV_SOURCE_AGAIN = -2 /**< read_at and size: not here yet; the caller of the reader gets QUORV_AGAIN */
};

/** A file of any kind: two functions in the manner of pread and fstat. Copied when a reader is opened. */
typedef struct QuorvSource {
    /** Passed to every function, never looked at. */
    void *user;
    /**
     * Reads at most size bytes at an offset. Returns how many came, which may be fewer, 0 at the end;
     * QUORV_SOURCE_AGAIN; or another value below 0, which quorv_reader_code then tells.
     */
    int64_t (*read_at)(void *user, uint64_t offset, void *buffer, size_t size);
    /** Returns the length in bytes, QUORV_SOURCE_UNKNOWN, QUORV_SOURCE_AGAIN or another value below 0. */
    int64_t (*size)(void *user);
    /** Called once, by quorv_close or by an open that fails with anything but QUORV_AGAIN; may be null. */
    void (*close)(void *user);
} QuorvSource;

/** A fraction in its lowest terms; den is 0 when it is not known. */
typedef struct QuorvRational {
    int64_t num; /**< numerator */
    int64_t den; /**< denominator */
} QuorvRational;

/** Formats of files. */
typedef enum QuorvContainer {
    QUORV_CONTAINER_AVI = 1,   /**< RIFF/AVI, OpenDML included */
    QUORV_CONTAINER_ASF,       /**< ASF: WMV and WMA files */
    QUORV_CONTAINER_MPEG_AUDIO /**< MPEG audio of Layer I, II or III: MP3 files */
} QuorvContainer;

/** What a track holds. */
typedef enum QuorvTrackType {
    QUORV_TRACK_OTHER = 0, /**< can only be listed */
    QUORV_TRACK_VIDEO,     /**< pictures */
    QUORV_TRACK_AUDIO,     /**< sound */
    QUORV_TRACK_TEXT       /**< subtitles; can only be listed */
} QuorvTrackType;

/** What the bytes of a track's packets are. */
typedef enum QuorvFraming {
    QUORV_FRAMING_UNKNOWN = 0,  /**< whatever the codec's frames are */
    QUORV_FRAMING_ANNEX_B,      /**< H.264 access units with start codes (ITU-T H.264, annex B) */
    QUORV_FRAMING_MPEG4_VISUAL, /**< VOPs with start codes; several in a packet when B-frames are packed */
    QUORV_FRAMING_JPEG,         /**< a whole JPEG picture; its Huffman tables may be missing */
    QUORV_FRAMING_RAW_PICTURE,  /**< an uncompressed picture */
    QUORV_FRAMING_WMV,          /**< a frame of Windows Media Video, without start codes */
    QUORV_FRAMING_PCM,          /**< samples as sample_format says, all channels in turn */
    QUORV_FRAMING_MPEG_AUDIO,   /**< bytes of MPEG audio frames; a packet may begin and end inside of one */
    QUORV_FRAMING_BLOCKS        /**< whole blocks of block_align bytes, as ADPCM and WMA have them */
} QuorvFraming;

/** Samples of uncompressed sound. */
typedef enum QuorvSampleFormat {
    QUORV_SAMPLES_NONE = 0, /**< compressed, or not known */
    QUORV_SAMPLES_U8,       /**< unsigned, 8 bits */
    QUORV_SAMPLES_S16LE,    /**< signed, 16 bits, little-endian */
    QUORV_SAMPLES_S24LE,    /**< signed, 24 bits, little-endian */
    QUORV_SAMPLES_S32LE,    /**< signed, 32 bits, little-endian */
    QUORV_SAMPLES_F32LE,    /**< IEEE 754, 32 bits, little-endian */
    QUORV_SAMPLES_F64LE,    /**< IEEE 754, 64 bits, little-endian */
    QUORV_SAMPLES_ALAW,     /**< ITU-T G.711 A-law */
    QUORV_SAMPLES_MULAW     /**< ITU-T G.711 mu-law */
} QuorvSampleFormat;

/** What a file is as a whole. */
typedef struct QuorvFile {
    QuorvContainer container; /**< its format, found from its content */
    uint32_t track_count;     /**< tracks, those that can only be listed included */
    int64_t duration_us;      /**< of the longest track; -1 when it is not known */
    int64_t size;             /**< bytes; -1 when it is not known */
} QuorvFile;

/** A track, as the file describes it. */
typedef struct QuorvTrack {
    QuorvTrackType type;             /**< what it holds */
    uint32_t number;                 /**< as the file counts: what the splitters' functions take */
    uint32_t codec;                  /**< QUORV_CODEC_* of codec.h; 0 when the library does not know it */
    uint32_t tag;                    /**< what the file says, whether known or not: a FourCC with its first
                                          character most significant, or the format tag of a WAVEFORMAT */
    const char *codec_name;          /**< "H.264", "MPEG-4 Part 2 (XVID)", "PCM, 16 bits"; never null */
    QuorvFraming framing;            /**< what a packet's bytes are */
    int64_t duration_us;             /**< the track's own; -1 when not known */
    uint32_t bit_rate;               /**< bit/s, as the file says; 0 when not known */
    int seekable;                    /**< nonzero when quorv_seek can move it to any time */
    uint32_t width;                  /**< video: pixels */
    uint32_t height;                 /**< video: pixels */
    QuorvRational frame_rate;        /**< video: frames a second, exactly as the file has it */
    uint32_t sample_rate;            /**< audio: hertz */
    uint32_t channels;               /**< audio: as the file says, however many */
    uint32_t bits_per_sample;        /**< audio: 0 where the codec has none */
    uint32_t block_align;            /**< audio: bytes; 0 when not known */
    QuorvSampleFormat sample_format; /**< audio without compression: what the samples are */
    const void *codec_data;     /**< what decoders must have first, such as parameter sets; may be null */
    size_t codec_data_size;     /**< bytes at codec_data */
    const void *huffman_tables; /**< motion JPEG: DHT segments that its pictures lack; may be null */
    size_t huffman_tables_size; /**< bytes at huffman_tables */
    int reorders;               /**< nonzero when packets may be shown in another order than they come in,
                                     as far as the codec data tells */
    uint64_t sample_count;      /**< MPEG audio files: samples of each channel, exactly; 0 when not known */
    uint32_t trim_front; /**< MPEG audio files: samples that come out of a decoder in front of those, and that
                              quorv_decode leaves out; the times of packets are those without them */
    uint32_t trim_back;  /**< the same behind them */
} QuorvTrack;

/** A piece of a track: a compressed frame, or some samples. */
typedef struct QuorvPacket {
    uint32_t track;          /**< the track's index, from 0 */
    const void *data;        /**< size bytes, valid until the next call with the reader; never null */
    size_t size;             /**< bytes */
    int64_t time_us;         /**< when it is decoded */
    int64_t presentation_us; /**< when it is shown: time_us, unless quorv_set_presentation asked for more */
    int64_t duration_us;     /**< how long it lasts; 0 when not known */
    int64_t offset;          /**< of its first byte in the file; -1 when it does not lie there in one piece */
    int key;                 /**< nonzero when decoding can begin here */
} QuorvPacket;

/** How often something was met, and where for the first time. */
typedef struct QuorvDamageCount {
    uint64_t count;       /**< bytes or pieces */
    int64_t first_offset; /**< in the file; -1 for none */
} QuorvDamageCount;

/** What could not be used, of a track or of the whole file, among the parts that have been read so far. */
typedef struct QuorvDamage {
    QuorvDamageCount bytes_passed_over; /**< bytes that belong to nothing that is known */
    QuorvDamageCount chunks_missing;    /**< chunks that the index names and that are not where it says */
    QuorvDamageCount packets_unusable;  /**< ASF: data packets, or frames that lack a part */
    QuorvDamageCount frames_skipped;    /**< MPEG audio files: frames that are cut off or make no sense */
    int cut_off;                        /**< the file ends before its own header says */
    int64_t bytes_missing;              /**< how much is missing then; -1 when that is not known */
} QuorvDamage;

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
 * the same variable, or give it to quorv_close. What was read before is not asked for again.
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
 * read as far ahead as the stream's own order makes necessary: not at all without B-frames.
 *
 * H.264 by picture order count (ITU-T H.264, 8.2.1), MPEG-4 Part 2 by VOP types (ISO/IEC 14496-2), packed
 * B-frames included: a packet with two VOPs has the time of the one that is shown first. Packets of other
 * codecs are shown when they are decoded. ASF files have these times themselves.
 *
 * @param[in] reader  an open reader
 * @param[in] index   from 0
 * @param[in] wanted  0 for packets without them, as at first; other values for packets with them
 *
 * @retval QUORV_OK            done, from the next packet on
 * @retval QUORV_ERR_ARGUMENT  a null reader, or a track that is not there
 */
QUORV_API QuorvResult quorv_set_presentation(QuorvReader *reader, uint32_t index, int wanted);

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

/** Which key frame quorv_seek goes to. */
typedef enum QuorvSeek {
    QUORV_SEEK_BEFORE = 0, /**< the last one at or before the time; the first of all when there is none */
    QUORV_SEEK_AFTER       /**< the first one at or after the time; the last of all when there is none */
} QuorvSeek;

/**
 * Moves all selected tracks: the first selected video track to a key frame, the others to the last packet
 * that begins at or before the time of that; without a selected video track all to the wanted time.
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

/** Decoded sound. */
typedef struct QuorvSamples {
    const int16_t *samples; /**< all channels in turn; valid until the next call with the decoder */
    size_t frames;          /**< samples of each channel; 0 when there are none yet */
    uint32_t sample_rate;   /**< hertz */
    uint32_t channels;      /**< 1 or 2 */
    int format_changed; /**< nonzero when rate or channels differ from those of the portion before, and for
                             the first portion of all */
} QuorvSamples;

/** Flags of quorv_decoder_open. */
enum {
    QUORV_DECODER_KEEP_PADDING = 1 /**< what the encoder added in front and behind is not trimmed */
};

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
 * Forgets what has been decoded, for after a seek.
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

/** Frames that could not be decoded, by reason. */
typedef struct QuorvSkippedFrames {
    uint64_t total;        /**< frames, or runs of bytes that are none */
    uint64_t lost_sync;    /**< runs of bytes that are no frame where one was expected */
    uint64_t bad_check;    /**< the check word does not match */
    uint64_t no_reservoir; /**< they need bytes of earlier frames that were not there */
    uint64_t bad_data;     /**< a header or contents that break the standard */
    uint32_t last_code;    /**< MP3_ERR_* of the latest; 0 for none */
    uint64_t cut_off;      /**< the stream ends inside of them */
} QuorvSkippedFrames;

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

/** Whose code quorv_code_text explains; the modules' own codes overlap. */
typedef enum QuorvModule {
    QUORV_MODULE_SPLITTER = 1, /**< SPLITER_* of splitter.h */
    QUORV_MODULE_MP3,          /**< MP3_ERR_* of mp3_decoder.h */
    QUORV_MODULE_PLATFORM      /**< Result* of platform/memory.h */
} QuorvModule;

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
