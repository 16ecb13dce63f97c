/**
 * @file
 * MP3 decoder: MPEG audio Layers I, II and III to 16-bit PCM.
 */
#ifndef QUORV_MP3_DECODER_H
#define QUORV_MP3_DECODER_H

#include <quorv/export.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup mp3 MP3 decoder
 * MPEG audio Layers I, II and III to 16-bit PCM.
 *
 * Decodes MPEG-1 (ISO/IEC 11172-3), MPEG-2 low sampling frequencies (ISO/IEC 13818-3) and MPEG-2.5, every bit
 * rate and free format, one and two channels, joint and intensity stereo. All arithmetic is in integers, so
 * the same stream gives the same samples on every machine.
 *
 * The caller feeds pieces of any size and collects samples in pieces of any size. A decoder holds about
 * 40 KB, shares nothing with other decoders and belongs to one thread at a time. It allocates when it is
 * made, when the first Layer III frame comes and when a piece of input is too short for a frame.
 * @{
 */

/** Results of QU_MP3_decoder_read and QU_MP3_player_read; -1 stands for a null argument. */
enum {
    QU_MP3_OK = 0,          /**< the output is exactly full and no decoded sample waits */
    QU_MP3_NEED_INPUT = 1,  /**< call again with what was not consumed and more, or with 0 at the end */
    QU_MP3_OUTPUT_FULL = 2, /**< the output is full and samples wait: call again with a new output */
    QU_MP3_ERROR = 3        /**< no memory, or small pieces that never make a frame: reset or close */
};

/**
 * Why the last frame failed, from QU_MP3_decoder_error. Codes below 256 ask for more input; the others say
 * that the frame was bad and was skipped.
 */
enum {
    MP3_ERR_NEED_INPUT = 1,    /**< the input ends within a frame or the 8 bytes behind it */
    MP3_ERR_NO_INPUT = 2,      /**< there was no input yet */
    MP3_ERR_NO_MEMORY = 49,    /**< an allocation failed */
    MP3_ERR_SYNC = 257,        /**< no frame where one was expected, reserved version, no free-format rate */
    MP3_ERR_LAYER = 258,       /**< reserved layer */
    MP3_ERR_BITRATE = 259,     /**< bit rate index 15 */
    MP3_ERR_SAMPLE_RATE = 260, /**< reserved sample rate */
    MP3_ERR_CRC = 513,         /**< the check word does not match */
    MP3_ERR_LAYER2_MODE = 546, /**< Layer II: one channel above 192 kbit/s */
    MP3_ERR_SIDE_INFO = 561,   /**< the frame is too short for its own tables or samples */
    MP3_ERR_BIG_VALUES = 562,  /**< more than 288 pairs of big values */
    MP3_ERR_BLOCK_TYPE = 563,  /**< window switching to the normal window */
    MP3_ERR_SCFSI = 564,       /**< short blocks that share scale factors with the granule before */
    MP3_ERR_RESERVOIR = 565,   /**< the frame needs bytes of earlier frames that were not seen */
    MP3_ERR_HUFFMAN = 568      /**< the spectrum does not fit its length or uses a table that is not there */
};

/** A piece of input or output. */
typedef struct QuMp3Buffer {
    void *data;      /**< the caller's memory, of any alignment; input is never written */
    uint32_t length; /**< bytes */
    uint32_t result; /**< out: bytes consumed (input) or produced (output) */
} QuMp3Buffer;

/** What a decoder is made for; null takes 2, 3 and an unknown rate. */
typedef struct QuMp3Config {
    uint32_t frame_value;     /**< largest number of channels; kept, no stream is refused for it */
    uint32_t synthesis_value; /**< highest layer; kept, no stream is refused for it */
    uint32_t sample_rate;     /**< of the stream in hertz, 0 when unknown; the output's is relative to it */
} QuMp3Config;

/** Channels of the output. */
enum {
    QU_MP3_CHANNELS_OWN = 0,   /**< the stream's own */
    QU_MP3_CHANNELS_MONO = 1,  /**< two are mixed to one */
    QU_MP3_CHANNELS_STEREO = 2 /**< one is doubled */
};

/** What comes out; null keeps the stream's own rate and channels. */
typedef struct QuMp3OutputRequest {
    uint32_t channel_mode; /**< QU_MP3_CHANNELS_*; any other value: the stream's own */
    uint32_t sample_rate;  /**< wanted in hertz; rates above the stream's, and 0, keep the stream's */
} QuMp3OutputRequest;

/** What a whole stream is. */
typedef struct QuMp3Info {
    uint32_t layer;       /**< 1 to 3 */
    uint32_t channels;    /**< 1 or 2 */
    uint32_t version;     /**< 0 MPEG-1, 1 MPEG-2, 2 MPEG-2.5 */
    uint32_t bitrate;     /**< kbit/s: the highest in the low 16 bits, the lowest in the high 16 bits */
    uint32_t sample_rate; /**< hertz */
    uint32_t duration;    /**< milliseconds; the largest value when it does not fit */
    uint32_t frame_count; /**< frames */
} QuMp3Info;

/** The short form of QuMp3Info. */
typedef struct QuMp3Summary {
    uint32_t layer;              /**< 1 to 3 */
    uint32_t bitrate;            /**< as in QuMp3Info */
    uint32_t sample_rate;        /**< hertz */
    uint32_t channels_minus_one; /**< 0 or 1 */
} QuMp3Summary;

/** Bits of Mp3FrameHeader.flags. */
enum {
    MP3_FLAG_CRC = 0x0010,               /**< a check word follows the header */
    MP3_FLAG_COPYRIGHT = 0x0020,         /**< the header's copyright bit */
    MP3_FLAG_ORIGINAL = 0x0040,          /**< the header's bit of an original */
    MP3_FLAG_PADDING = 0x0080,           /**< the frame is one slot longer */
    MP3_FLAG_LAYER2_JOINT = 0x0100,      /**< set by the Layer II decoder in joint stereo frames */
    MP3_FLAG_FREE_FORMAT = 0x0400,       /**< the bit rate was measured */
    MP3_FLAG_LOW_SAMPLING_RATE = 0x1000, /**< MPEG-2 or MPEG-2.5 */
    MP3_FLAG_MPEG25 = 0x4000             /**< MPEG-2.5 */
};

/** The header of one frame (ISO/IEC 11172-3, 2.4.1.3). */
typedef struct Mp3FrameHeader {
    uint8_t layer;              /**< 1 to 3 */
    uint8_t channel_code;       /**< 3 stereo, 2 joint stereo, 1 dual channel, 0 single channel */
    uint32_t mode_extension;    /**< the field of 2 bits */
    uint32_t emphasis;          /**< the field of 2 bits */
    uint32_t bitrate;           /**< kbit/s; of free format, as measured */
    uint32_t bitrate_index;     /**< the field of 4 bits */
    uint32_t sample_rate;       /**< hertz */
    uint32_t sample_rate_index; /**< the field of 2 bits, 0 to 2 */
    uint16_t computed_crc;      /**< CRC-16 of the header's last 16 bits when a check word follows */
    uint16_t stored_crc;        /**< the check word */
    uint32_t flags;             /**< MP3_FLAG_* */
    uint32_t private_bits;      /**< 0x100 the header's private bit; low bits: of the side information */
    const uint16_t *scale_factor_bands; /**< the sample rate's 23 long and 14 short band boundaries */
    uint32_t options;                   /**< bit 0: check words are not compared */
} Mp3FrameHeader;

/** A decoder, which QU_MP3_decoder_close frees. */
typedef void *QuMp3Decoder;
/** A player, which QU_MP3_player_close frees. */
typedef void *QuMp3Player;

/**
 * Makes a decoder.
 *
 * The rate ratio is (stream rate x 128 + output rate / 2) / output rate in 1/128 units, from 128 (no change)
 * to 65535. With a ratio of 256 and above the upper 16 of the 32 subbands are not synthesised; any ratio but
 * 128 and 256 interpolates linearly. Without a stream rate the ratio is 128.
 *
 * @param[in] config   what is known of the stream, or null; copied
 * @param[in] request  what shall come out, or null; copied
 *
 * @return the decoder, which QU_MP3_decoder_close frees; null when memory is short
 */
QUORV_API QuMp3Decoder QU_MP3_decoder_init(const QuMp3Config *config, const QuMp3OutputRequest *request);

/**
 * Forgets buffered input, decoded samples, the bit reservoir and the state of the filters: what follows is
 * decoded as by a new decoder.
 *
 * @param[in] decoder  the decoder
 *
 * @return 0, or -1 for null
 */
QUORV_API int32_t QU_MP3_decoder_reset(QuMp3Decoder decoder);

/**
 * Frees a decoder.
 *
 * @param[in] decoder  the decoder, or null
 */
QUORV_API void QU_MP3_decoder_close(QuMp3Decoder decoder);

/**
 * Decodes as much of the input as the output takes.
 *
 * Bad frames are skipped without output; frames whose reservoir lies before the start of the stream, too.
 * Tags (ID3v2, ID3v1, APE) at the start and behind a frame are stepped over.
 *
 * A frame is decoded when 8 bytes behind it are there. A piece too short for a frame is consumed whole, into
 * a copy; from then on all input goes through the copy. It grows fourfold when it is full without a frame,
 * which fails once it has 6912 bytes or more; up to 64 KB while 16 KB of what may be a tag are waited for.
 *
 * A decoder whose rate ratio is neither 128 nor 256 interpolates: output sample k lies at k x ratio / 128
 * samples of the stream, above 256 at half of that in samples of the half-rate synthesis. A single channel
 * stays one there whatever the channel mode, and modes above 2 mix two channels.
 *
 * @param[in]     decoder  the decoder
 * @param[in,out] input    the next bytes of the stream; result: bytes that must not be presented again. The
 *                         others have to be the first of the next call, with or without further ones behind
 *                         them. A length of 0 is the end of the stream and brings out the last frame; a
 *                         stream that goes on after it is taken up again
 * @param[in,out] output   room for samples of 16 bits in little-endian order, left and right in turn; result:
 *                         bytes written, always whole samples (of all channels)
 *
 * @retval QU_MP3_OK           the output is exactly full and no decoded sample waits
 * @retval QU_MP3_NEED_INPUT   all usable input was consumed
 * @retval QU_MP3_OUTPUT_FULL  the output is full and samples wait
 * @retval QU_MP3_ERROR        no memory, or small pieces that never make a frame; QU_MP3_decoder_reset helps
 * @retval -1                  a null argument
 */
QUORV_API int32_t QU_MP3_decoder_read(QuMp3Decoder decoder, QuMp3Buffer *input, QuMp3Buffer *output);

/**
 * Tells why the last frame failed.
 *
 * @param[in] decoder  the decoder
 *
 * @return MP3_ERR_*, 0 before the first failure; -1 for null
 */
QUORV_API int32_t QU_MP3_decoder_error(QuMp3Decoder decoder);

/**
 * Switches the equaliser from the next frame on. Presets boost by 6 dB at most; peaks saturate.
 *
 * @param[in] enable   0 off: the output is what it is without an equaliser; else on
 * @param[in] value    the preset: 0 flat, 1 bass boost, 2 bass cut, 3 treble boost, 4 treble cut, 5 speech, 6
 *                     loudness, 7 small speaker; any other value is flat
 * @param[in] decoder  the decoder
 *
 * @return 0, or -1 for null
 */
QUORV_API int32_t QU_MP3_decoder_EQ_enabled(uint32_t enable, uint32_t value, QuMp3Decoder decoder);

/**
 * Gives the size of an input buffer that holds about one frame of a stream plus 9 bytes: ((sample rate +
 * samples x bit rate x 2000) / sample rate) / 16 + 9 with the highest bit rate in kbit/s and 384, 576 or 1152
 * samples a frame.
 *
 * @param[in] info  from QU_MP3_info_get
 *
 * @return bytes; 0 for a sample rate of 0, -1 for null
 */
QUORV_API int32_t QU_MP3_min_input_buffer_size(const QuMp3Info *info);

/**
 * Gives what QU_MP3_min_input_buffer_size does for one frame.
 *
 * @param[in] header  of the frame
 *
 * @return bytes, from 32 to 1464; 1464 for a sample rate of 0, -1 for null
 */
QUORV_API int32_t QU_MP3_min_input_buffer_size_compat(const Mp3FrameHeader *header);

/**
 * Scans a stream for its format, frames and duration.
 *
 * Tags are passed over as by QU_MP3_decoder_read. When the format changes, the frames after the last change
 * count.
 *
 * @param[in]  stream  an MStream of quorv/platform/stream.h; its position is the same afterwards
 * @param[out] info    what was found
 * @param[in]  frames  0 reads the whole stream; else as many frames are read and the rest is estimated from
 *                     its size
 *
 * @return 0; -1 for null, a failing stream, a stream without frames or no memory
 */
QUORV_API int32_t QU_MP3_info_get(void *stream, QuMp3Info *info, uint32_t frames);

/**
 * Gives what QU_MP3_info_get finds in the whole stream.
 *
 * @param[in]  stream       as for QU_MP3_info_get
 * @param[out] duration     milliseconds
 * @param[out] frame_count  frames
 * @param[out] summary      the format
 *
 * @return 0; or -1 as for QU_MP3_info_get, with nothing written
 */
QUORV_API int32_t QU_MP3_get_info(void *stream, uint32_t *duration, uint32_t *frame_count,
                                  QuMp3Summary *summary);

/**
 * Decodes a stream from its position to its end, as a decoder made with null and null does; an ID3v2 tag at
 * the position is passed over.
 *
 * @param[in] input_stream   an MStream that is read
 * @param[in] output_stream  an MStream that samples of 16 bits are written to
 *
 * @return 0; or -1 for null, no memory, or an output that does not take all
 */
QUORV_API int32_t QU_MP3_decode_file(void *input_stream, void *output_stream);

/**
 * Decodes a stream as QU_MP3_decode_file does with a decoder of the caller's, which is reset first and stays
 * open.
 *
 * @param[in] decoder        the decoder
 * @param[in] input_stream   an MStream that is read
 * @param[in] output_stream  an MStream that samples of 16 bits are written to
 *
 * @return as QU_MP3_decode_file
 */
QUORV_API int32_t QU_MP3_decoder_file(QuMp3Decoder decoder, void *input_stream, void *output_stream);

/**
 * Makes a player: a decoder with an input buffer.
 *
 * @param[in] value       the channel mode of the output as in QuMp3OutputRequest
 * @param[in] input_size  bytes of the input buffer
 *
 * @return the player, which QU_MP3_player_close frees; null when memory is short or input_size is 0
 */
QUORV_API QuMp3Player QU_MP3_player_init(uint32_t value, uint32_t input_size);

/**
 * Takes input into the player's buffer.
 *
 * @param[in] player  the player
 * @param[in] data    the next bytes of the stream; copied
 * @param[in] length  bytes; 0 is the end of the stream
 *
 * @return the bytes taken, which may be fewer than length; -1 for null
 */
QUORV_API int32_t QU_MP3_player_input(QuMp3Player player, const void *data, uint32_t length);

/**
 * Records where reads put their samples, over what is there.
 *
 * @param[in]  player  the player
 * @param[out] output  length bytes, the caller's; must last until the last read
 * @param[in]  length  bytes
 *
 * @return 0, or -1 for null
 */
QUORV_API int32_t QU_MP3_player_read_append(QuMp3Player player, void *output, uint32_t length);

/**
 * Decodes into the recorded output. QU_MP3_NEED_INPUT asks for QU_MP3_player_input, and once that has
 * signalled the end it means that all was delivered.
 *
 * @param[in]  player    the player
 * @param[out] produced  bytes
 *
 * @return as QU_MP3_decoder_read
 */
QUORV_API int32_t QU_MP3_player_read(QuMp3Player player, uint32_t *produced);

/**
 * The delivery stage of a decoder: moves decoded samples into the output that the last read recorded.
 *
 * @param[in] decoder  the decoder
 *
 * @return 0, 16 when the output is full and samples are left, -1 for null
 */
QUORV_API int32_t QU_MP3_player_output(QuMp3Decoder decoder);

/**
 * Frees a player.
 *
 * @param[in] player  the player, or null
 */
QUORV_API void QU_MP3_player_close(QuMp3Player player);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
