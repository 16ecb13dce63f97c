/**
 * @file
 * Records, result codes and identifiers shared by the container splitters.
 */
#ifndef QUORV_SPLITTER_H
#define QUORV_SPLITTER_H

#include <stdint.h>

#include <quorv/export.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup splitter Splitter records
 * What the container splitters share.
 *
 * A splitter takes a media container apart: it lists the tracks and hands out the whole compressed
 * frames of each track with a time stamp in milliseconds. It never touches the file system; all input
 * comes through the caller's table of stream callbacks, SplitterStreamSource.
 *
 * A FourCC is a 32-bit integer with its first character in the most significant byte. All times are
 * unsigned milliseconds. One handle is used by one thread at a time; different handles are independent.
 * @{
 */

/**
 * Result codes of every exported splitter function, unless the function says otherwise. A callback's own
 * nonzero code is passed on unchanged, except by the AVI header walk, which reports SPLITER_ERR_IO, and for
 * SPLITER_SOURCE_AT_END.
 */
enum {
    SPLITER_OK = 0,                     /**< success */
    SPLITER_ERR_IO = 1,                 /**< reading an AVI header: a read, seek or signature check failed */
    SPLITER_ERR_INVALID_PARAM = 2,      /**< a null pointer, a bad track number, mode or track type */
    SPLITER_ERR_UNSUPPORTED = 3,        /**< nothing to give: no tracks, unknown identifier, no index */
    SPLITER_ERR_NO_MEMORY = 4,          /**< an allocation failed */
    SPLITER_ERR_NO_PARSER = 5,          /**< ASF only: a parser object is missing */
    SPLITER_ERR_BUFFER_TOO_SMALL = 9,   /**< the caller's buffer or record is too small */
    SPLITER_ERR_DATA_PENDING = 0x3005,  /**< ASF, progressive: not arrived yet, call again later */
    SPLITER_ERR_BAD_FORMAT = 0x81001,   /**< not a valid or supported container, or inconsistent */
    SPLITER_ERR_END_OF_STREAM = 0x81002 /**< no further frame of this track */
};

/** Track types. Only video and audio tracks can be read. */
enum {
    SPLITER_TRACK_VIDEO = 0x76696465, /**< "vide" */
    SPLITER_TRACK_AUDIO = 0x736F756E, /**< "soun" */
    SPLITER_TRACK_TEXT = 0x74657874   /**< "text": AVI subtitle streams */
};

/** Values of SplitterStreamSource.source_kind; any value but SPLITER_SOURCE_LOCAL is progressive. */
enum {
    SPLITER_SOURCE_LOCAL = 1,      /**< random access, such as a file: Open reads the indexes */
    SPLITER_SOURCE_PROGRESSIVE = 2 /**< bytes arrive over time, such as a download */
};

/** How a stream callback is asked to open a stream. */
enum {
    SPLITER_ACCESS_READ = 1,  /**< the splitter's own stream */
    SPLITER_ACCESS_READER = 2 /**< ASF: one of the readers of the data packets */
};

/** Where a seek callback counts from. Not the values of stdio.h, which has 1 and 2 the other way round. */
enum {
    SPLITER_ORIGIN_START = 0,  /**< the stream's first byte */
    SPLITER_ORIGIN_END = 1,    /**< the byte behind its last; the splitters never count from there */
    SPLITER_ORIGIN_CURRENT = 2 /**< the position */
};

/**
 * A read callback may return this at the end of its source. ASF_SPLITER_ReadFrame makes
 * SPLITER_ERR_END_OF_STREAM of it, when the read was one of a data packet.
 */
#define SPLITER_SOURCE_AT_END 0x1003u

/** Seek modes; any value but SPLITER_SEEK_FORWARD is backward. */
enum {
    SPLITER_SEEK_BACKWARD = 0, /**< the last key frame at or before the time */
    SPLITER_SEEK_FORWARD = 1   /**< the first key frame at or after the time */
};

/** A time that Seek takes for a video track: that of the next key frame. */
#define SPLITER_TIME_NEXT_KEYFRAME UINT32_MAX

/** Identifiers of GetConfig and SetConfig; each splitter's functions say which ones they answer. */
enum {
    SPLITER_CFG_KEYFRAME_COUNT = 1,     /**< get, ASF: how many key frames the index holds */
    SPLITER_CFG_NEXT_KEYFRAME_TIME = 2, /**< get: the time of the next key frame */
    SPLITER_CFG_NOP = 5,                /**< get, AVI: nothing */
    SPLITER_CFG_CODEC_DATA_FIRST = 10,  /**< set, ASF: whether the first video frame begins with codec data */
    SPLITER_CFG_SEEK_THRESHOLD = 51,    /**< set, ASF: the threshold of forward seeks */
    SPLITER_CFG_LOAD_INDEX = 52,        /**< set, ASF: load the index now */
    SPLITER_CFG_CODEC_DATA = 100,       /**< get: the decoder-specific data of a track */
    SPLITER_CFG_VIDEO_TYPE_DATA = 108   /**< get, ASF: the type-specific data of a video stream */
};

/** The caller's handle of an open stream: one machine word that the splitters only hand back. */
typedef uintptr_t SplitterStream;

/**
 * The caller's stream: eleven machine words, copied whole when a handle is created, so the caller's record
 * may go away afterwards; what user_context points to may not.
 *
 * Every callback takes user_context first and returns 0 for success or a nonzero code of its own, which the
 * splitter hands on. The splitter remembers where the stream stands: between its calls nobody else may move
 * it.
 *
 * A local source need not buffer: headers, small frames and index entries are read ahead, with 64 KB of
 * memory a handle, and larger frames are read straight into the caller's buffer. A read-ahead that fails is
 * not reported: the bytes that are needed are then read by themselves. A progressive source is never read
 * ahead.
 */
typedef struct _tag_Stream_Source_ {
    /** Passed to every callback, never looked at. */
    void *user_context;
    /** SPLITER_SOURCE_LOCAL or SPLITER_SOURCE_PROGRESSIVE. */
    uint32_t source_kind;
    /**
     * Opens the stream and stores its handle; access_mode is SPLITER_ACCESS_READ or SPLITER_ACCESS_READER.
     * Each call opens another stream, which has a position of its own.
     */
    uint32_t (*open)(void *user_context, SplitterStream *stream, uint32_t access_mode);
    /** Closes the stream. */
    uint32_t (*close)(void *user_context, SplitterStream stream);
    /**
     * Reads at the current position; *count is the byte count asked for and then the count delivered, which
     * may be lower without being an error. A source whose bytes have not arrived yet returns a code.
     *
     * A source that claims bytes which it has not written is found out, also behind its end, and is taken to
     * end there. However wrong its size and its positions are, no call of a splitter's function then makes
     * more callbacks than 100000, or 20 for each KB of what the file's header claims or the size callback
     * reports, whichever is less (of 100 MB when that fails), if that is more. Honest sources have no bound:
     * one that delivers a byte at a time is read to its end.
     */
    uint32_t (*read)(void *user_context, SplitterStream stream, void *buffer, uint32_t *count);
    /**
     * Moves by a byte offset from SPLITER_ORIGIN_START, 0, or SPLITER_ORIGIN_CURRENT, 2. The origin is not
     * one for fseek, whose 2 is the end (SEEK_END); here the end is 1.
     */
    uint32_t (*seek)(void *user_context, SplitterStream stream, uint16_t origin, int64_t offset);
    /** Stores the position in bytes from the start. */
    uint32_t (*tell)(void *user_context, SplitterStream stream, int64_t *position);
    /** Stores the stream's length in bytes and succeeds with 0 when it is not known. */
    uint32_t (*size)(void *user_context, SplitterStream stream, int64_t *length);
    /** Copied, never read. */
    uintptr_t reserved[3];
} SplitterStreamSource;

/** One line of a track list. */
typedef struct SplitterTrackEntry {
    uint32_t track; /**< track number, from 1 */
    uint32_t type;  /**< SPLITER_TRACK_*; 0 for a stream that can only be listed */
} SplitterTrackEntry;

/** Filled by EnumTrack. */
typedef struct SplitterTrackList {
    uint32_t count;                    /**< tracks */
    const SplitterTrackEntry *entries; /**< count entries; owned by the splitter, valid until Close */
} SplitterTrackList;

/** Description of a video track, filled by GetTrackInfo. */
typedef struct SplitterVideoInfo {
    uint32_t codec;              /**< FourCC, 0 when the codec is not known */
    uint32_t duration;           /**< milliseconds */
    uint32_t width;              /**< pixels */
    uint32_t height;             /**< pixels */
    uint32_t frame_rate;         /**< whole frames a second; truncated in AVI, rounded in ASF */
    uint32_t max_bitrate;        /**< 0 in AVI; maximum bit rate in bits a second in ASF */
    uint32_t max_frame_size;     /**< bytes; what the file suggests, or the size of one 4:2:0 picture */
    uint32_t format_header_size; /**< bytes of the bitmap header, as an AVI file states it; 0 in ASF */
} SplitterVideoInfo;

/** Description of an audio track, filled by GetTrackInfo. */
typedef struct SplitterAudioInfo {
    uint32_t codec;           /**< FourCC, 0 when the codec is not known */
    uint32_t duration;        /**< milliseconds */
    uint32_t channels;        /**< at most 2 in AVI */
    uint32_t bits_per_sample; /**< AVI: 8 when the format record ends before it, 16 when it says 0 */
    uint32_t block_align;     /**< bytes */
    uint32_t sample_rate;     /**< hertz */
    uint32_t bit_rate;        /**< bits a second */
    uint32_t max_frame_size;  /**< bytes; AVI: suggested, or one second of 16-bit samples; ASF: a packet */
    uint32_t reserved;        /**< 0 */
} SplitterAudioInfo;

/**
 * Room for the description of any track: what GetTrackInfo should be given when the track's type has not been
 * looked at.
 */
typedef union SplitterTrackInfo {
    SplitterVideoInfo video; /**< of a track of type SPLITER_TRACK_VIDEO */
    SplitterAudioInfo audio; /**< of a track of type SPLITER_TRACK_AUDIO */
} SplitterTrackInfo;

/** Filled by ReadFrame; all zero on failure, but for size with SPLITER_ERR_BUFFER_TOO_SMALL. */
typedef struct SplitterFrameInfo {
    uint32_t size; /**< bytes written, or the size that the buffer must have */
    /**
     * Milliseconds: when the frame is shown. AVI files only say when it is decoded: with B-frames, which are
     * stored behind the frame that they are shown before, this is the decode time.
     */
    uint32_t time_stamp;
    uint32_t duration;  /**< milliseconds */
    uint32_t reserved1; /**< 0 */
    uint32_t key_frame; /**< 1 for a sync point, else 0 */
    uint32_t reserved2; /**< 0 */
} SplitterFrameInfo;

/** Filled by GetHTTPParam. */
typedef struct SplitterHttpParam {
    uint32_t index_flag; /**< 1 when the file's index was found and read completely */
    uint32_t reserved;   /**< 0 */
} SplitterHttpParam;

/** Value record of SPLITER_CFG_KEYFRAME_COUNT and SPLITER_CFG_NEXT_KEYFRAME_TIME. */
typedef struct SplitterTrackValue {
    uint32_t track; /**< in: track number, from 1 */
    uint32_t value; /**< out */
} SplitterTrackValue;

/** Value record of SPLITER_CFG_CODEC_DATA and SPLITER_CFG_VIDEO_TYPE_DATA. */
typedef struct SplitterTrackData {
    uint32_t track;   /**< in: track number, from 1 */
    const void *data; /**< out: owned by the splitter, valid until Close; null when there is none */
    uint32_t length;  /**< out: bytes */
} SplitterTrackData;

/** An open container; made by Open or GetHTTPParam, ended by Close. */
typedef void *SplitterHandle;

/** @} */

#ifdef __cplusplus
}
#endif

#endif
