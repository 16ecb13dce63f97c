/**
 * @file
 * What the calls of quorv.h take and give: results, sources, and the records of files, tracks, packets,
 * damage and sound.
 */
#ifndef QUORV_MEDIA_RECORDS_H
#define QUORV_MEDIA_RECORDS_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** @addtogroup quorv
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
    QUORV_ERR_CLOSED       /**< the reader is not open yet: quorv_open_source has answered QUORV_AGAIN */
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
    /**
     * Called once, by quorv_close or by an open that fails, but for QUORV_AGAIN and QUORV_ERR_ARGUMENT; may
     * be null.
     */
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
    QUORV_FRAMING_MPEG_AUDIO,   /**< MPEG audio frames: one in MPEG audio files; in others bytes of them,
                                     which may begin and end inside of one */
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

/** How the pictures of a video track were taken. */
typedef enum QuorvScan {
    QUORV_SCAN_UNKNOWN = 0, /**< its headers do not tell */
    QUORV_SCAN_PROGRESSIVE, /**< whole */
    QUORV_SCAN_INTERLACED   /**< as two fields, some of them at least */
} QuorvScan;

/** Whether every part of a sound track has the same bit rate. */
typedef enum QuorvRateKind {
    QUORV_RATE_UNKNOWN = 0, /**< the headers do not tell */
    QUORV_RATE_CONSTANT,    /**< the same */
    QUORV_RATE_VARIABLE     /**< several */
} QuorvRateKind;

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
    uint32_t bit_rate;               /**< bit/s, of variable ones the mean; 0 when not known */
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
    uint32_t max_packet_size; /**< bytes, as the file suggests: a packet may have more; 0 when not known */
    uint64_t
        stated_packets; /**< MPEG audio files: packets, as the encoder says in front; 0 when it does not */
    int64_t stated_end; /**< offset behind the last packet, as the encoder says in front; -1 when it does not,
                             and in files that are no MPEG audio files */
    QuorvScan scan;     /**< video: as the codec data tells */
    QuorvRational pixel_aspect; /**< video: a pixel's width by its height; den is 0 when not told */
    const char *profile;        /**< profile and level by the codec data ("Main, level 1.3"), or kind of MPEG
                                     audio ("MPEG-1 Layer III"); "" when not told, never null */
    const char *coding;         /**< what else the headers tell of how it is coded, in words with commas
                                     between them ("CABAC, 4 reference frames"); "" for nothing, never null */
    const char *encoder;        /**< what made the stream, by its own words; "" when not told, never null */
    QuorvRateKind rate_kind;    /**< audio: of the bit rate */
} QuorvTrack;

/**
 * What is told of all of a track without reading it. A chunk is most often one packet, but may be cut into
 * several, and the first one may have the codec data in front.
 */
typedef struct QuorvSurvey {
    uint64_t chunks;   /**< of MPEG audio files: packets */
    uint64_t bytes;    /**< of all of them */
    uint64_t smallest; /**< bytes of the smallest; 0 when not known */
    uint64_t largest;  /**< bytes of the largest; 0 when not known */
} QuorvSurvey;

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

/** A run of bytes of the file. */
typedef struct QuorvRange {
    int64_t begin; /**< offset of the first */
    int64_t end;   /**< offset behind the last */
} QuorvRange;

/**
 * Runs of bytes in the order of the file, none of them touching. After very many, those that lie closest are
 * one with what is between them.
 */
typedef struct QuorvRanges {
    const QuorvRange *ranges; /**< count of them, valid as long as the record; null for none */
    size_t count;             /**< at most 1024 */
} QuorvRanges;

/** What could not be used, of a track or of the whole file, among the parts that have been read so far. */
typedef struct QuorvDamage {
    QuorvDamageCount bytes_passed_over; /**< bytes that belong to nothing that is known */
    QuorvDamageCount chunks_missing;    /**< chunks that the index names and that are not where it says */
    QuorvDamageCount packets_unusable;  /**< ASF: data packets, or frames that lack a part */
    QuorvDamageCount frames_skipped;    /**< MPEG audio files: frames that are cut off or make no sense */
    int cut_off;                        /**< the file ends before its own header says */
    int64_t bytes_missing;              /**< how much is missing then; -1 when that is not known */
    QuorvRanges passed_over_at;         /**< where bytes_passed_over lie */
    QuorvRanges missing_at;             /**< where the index has chunks_missing; each takes a byte here */
    QuorvRanges unusable_at;            /**< where packets_unusable begin; each takes a byte here */
    QuorvRanges skipped_at;             /**< where frames_skipped lie */
} QuorvDamage;

/** Decoded sound. */
typedef struct QuorvSamples {
    const int16_t *samples; /**< all channels in turn; valid until the next call with the decoder; null from a
                                 decoder that only measures */
    size_t frames;          /**< samples of each channel; 0 when there are none yet */
    uint32_t sample_rate;   /**< hertz */
    uint32_t channels;      /**< 1 or 2 */
    int format_changed; /**< nonzero when rate or channels differ from those of the portion before, and for
                             the first portion of all */
} QuorvSamples;

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

/** Which key frame quorv_seek goes to. */
typedef enum QuorvSeek {
    QUORV_SEEK_BEFORE = 0, /**< the last one at or before the time; the first of all when there is none */
    QUORV_SEEK_AFTER       /**< the first one at or after the time; the last of all when there is none */
} QuorvSeek;

/** Whose code quorv_code_text explains; the modules' own codes overlap. */
typedef enum QuorvModule {
    QUORV_MODULE_SPLITTER = 1, /**< SPLITER_* of splitter.h */
    QUORV_MODULE_MP3,          /**< MP3_ERR_* of mp3_decoder.h */
    QUORV_MODULE_PLATFORM      /**< Result* of platform/memory.h */
} QuorvModule;

/** Flags of quorv_decoder_open. */
enum {
    QUORV_DECODER_KEEP_PADDING = 1, /**< what the encoder added in front and behind is not trimmed */
    QUORV_DECODER_MEASURE = 2       /**< only headers are looked at: samples come with their number, rate and
                                         channels and a null pointer, of undecodable frames as well */
};

/** @} */

#ifdef __cplusplus
}
#endif

#endif
