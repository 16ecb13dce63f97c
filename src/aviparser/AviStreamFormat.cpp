// The chunks of a stream list that describe its format; see the header.

#include "aviparser/AviStreamFormat.h"

#include <string.h>

#include <algorithm>

#include "aviparser/AviChunkReader.h"
#include "aviparser/AviCodecTags.h"
#include "aviparser/AviMemory.h"

namespace quorv {

namespace {

constexpr uint32_t kBitmapHeaderBytes = 40;
constexpr uint32_t kMaxBitmapExtra = 0x40000000;
constexpr uint32_t kWaveFormatExtensible = 0xFFFE;
constexpr uint32_t kMaxHuffmanBytes = 2048;
// The tables stand near the start of the stream data.
constexpr uint32_t kMaxStreamData = 65536;

uint32_t read_codec_data(AviTrack *track, AviChunkReader *reader, uint32_t size) {
    return reader->read_bytes(size, &track->codec_data, &track->codec_data_length);
}

// Marks uncompressed pictures, whose lines are stored from the bottom up, with a text and its final zero.
uint32_t append_bottom_up(AviTrack *track) {
    static constexpr char kText[] = "BottomUp";
    const size_t length = track->codec_data_length;
    void *grown = MMemRealloc(nullptr, track->codec_data, length + sizeof(kText) + kAviSpareBytes);
    if (grown == nullptr) return SPLITER_ERR_NO_MEMORY;
    track->codec_data = static_cast<uint8_t *>(grown);
    memcpy(track->codec_data + length, kText, sizeof(kText));
    memset(track->codec_data + length + sizeof(kText), 0, kAviSpareBytes);
    track->codec_data_length += sizeof(kText);
    return SPLITER_OK;
}

uint32_t avi_get_wav_header(AviTrack *track, AviChunkReader *reader) {
    SplitterAudioInfo &audio = track->audio;
    const uint32_t size = reader->left();
    const uint32_t format_tag = reader->le16();
    audio.codec = avi_wave_format_codec(format_tag);
    audio.channels = std::min(reader->le16(), 2u);
    audio.sample_rate = reader->le32();
    audio.bit_rate = saturate_to_u32(uint64_t{reader->le32()} * 8);
    audio.block_align = reader->le16();
    // The oldest form of the record ends before the bits per sample.
    audio.bits_per_sample = size < 16 ? 8 : reader->le16();
    if (audio.bits_per_sample == 0) audio.bits_per_sample = 16;
    if (size < 18) return SPLITER_OK;

    uint32_t extra = reader->le16();
    extra = std::min(extra, reader->left());
    if (extra >= 22 && format_tag == kWaveFormatExtensible) {
        if (const uint32_t valid_bits = reader->le16(); valid_bits != 0) audio.bits_per_sample = valid_bits;
        reader->skip(20);  // channel mask and sub-format
        extra -= 22;
    }
    return read_codec_data(track, reader, extra);
}

uint32_t read_audio_format(const AviContext &context, AviTrack *track, AviChunkReader *reader) {
    AviStreamState &state = *track->state;
    const uint32_t code = avi_get_wav_header(track, reader);
    if (code != 0) return code;
    state.block_align = track->audio.block_align;
    if (state.sample_size != 0 && state.block_align != 0) state.sample_size = state.block_align;
    if (track->handler == avi_tag("Axan")) track->audio.codec = 0;
    if (context.amv) {
        track->audio.codec = 0;
        state.block_align = 0;
    }
    return SPLITER_OK;
}

// A negative height means lines from the top down; the picture is as high as its magnitude.
uint32_t picture_height(uint32_t stored) {
    return stored > INT32_MAX ? 0 - stored : stored;
}

uint32_t read_video_format(AviTrack *track, AviChunkReader *reader) {
    SplitterVideoInfo &video = track->video;
    const uint32_t size = reader->left();
    video.format_header_size = reader->le32();
    video.width = reader->le32();
    video.height = picture_height(reader->le32());
    reader->skip(4);  // planes, bit count
    const uint32_t compression = reader->le32();
    reader->skip(20);  // image size, resolution and colour counts
    if (compression == avi_tag("DXSB") || compression == avi_tag("DXSA")) {
        track->type = SPLITER_TRACK_TEXT;
        return SPLITER_OK;
    }
    if (size > kBitmapHeaderBytes && size < kMaxBitmapExtra) {
        const uint32_t code = read_codec_data(track, reader, size - kBitmapHeaderBytes);
        if (code != 0) return code;
    }
    video.codec = avi_codec_get_id(avi_codec_bmp_tags, compression);
    if (compression == avi_tag("AVRn") && track->codec_data_length >= 31 &&
        memcmp(track->codec_data + 28, "1:1", 3) == 0) {
        video.codec = 0;
    }
    if (compression == 0 && video.height != 0) return append_bottom_up(track);
    return SPLITER_OK;
}

bool is_huffman_segment(const uint8_t *bytes) {
    return bytes[0] == 0xFF && bytes[1] == 0xC4;
}

// The run of Huffman table segments that begins with the first one. False when there is more of it than fits.
bool find_huffman_segments(const uint8_t *data, uint32_t length, uint32_t *begin, uint32_t *end) {
    uint32_t at = 0;
    while (at + 1 < length && !is_huffman_segment(data + at))
        ++at;
    *begin = at;
    while (length - at >= 4 && is_huffman_segment(data + at)) {
        const uint32_t segment = uint32_t{data[at + 2]} << 8 | data[at + 3];
        if (segment < 2 || length - at - 2 < segment) break;
        at += 2 + segment;
        if (at - *begin > kMaxHuffmanBytes) return false;
    }
    *end = at;
    return true;
}

}  // namespace

uint32_t avi_read_stream_format(AviContext *context, AviTrack *track, uint32_t size) {
    AviChunkReader reader(&context->source, size);
    uint32_t code = SPLITER_OK;
    // A second format chunk replaces the first.
    avi_freep(&track->codec_data);
    track->codec_data_length = 0;
    if (track->type == SPLITER_TRACK_AUDIO) {
        code = read_audio_format(*context, track, &reader);
    } else if (track->type == SPLITER_TRACK_VIDEO && context->amv) {
        track->video.width = context->main_width;
        track->video.height = context->main_height;
    } else if (track->type == SPLITER_TRACK_VIDEO) {
        code = read_video_format(track, &reader);
    }
    if (code == SPLITER_OK && reader.failed()) return SPLITER_ERR_IO;
    return code;
}

uint32_t avi_read_stream_data(AviContext *context, AviTrack *track, uint32_t size) {
    if (track->type != SPLITER_TRACK_VIDEO || track->video.codec != fourcc("mjpg")) return SPLITER_OK;
    AviChunkReader reader(&context->source, size);
    uint8_t *data = nullptr;
    uint32_t length = 0, begin = 0, end = 0;
    uint32_t code = reader.read_bytes(std::min(size, kMaxStreamData), &data, &length);
    if (code == SPLITER_OK && reader.failed()) code = SPLITER_ERR_IO;
    if (code == SPLITER_OK && !find_huffman_segments(data, length, &begin, &end)) {
        code = SPLITER_ERR_BUFFER_TOO_SMALL;
    }
    if (code == SPLITER_OK && begin < end) {
        avi_freep(&track->huffman_data);
        track->huffman_length = 0;
        track->huffman_data = static_cast<uint8_t *>(MMemAlloc(nullptr, end - begin));
        if (track->huffman_data != nullptr) {
            track->huffman_length = end - begin;
            memcpy(track->huffman_data, data + begin, end - begin);
        } else {
            code = SPLITER_ERR_NO_MEMORY;
        }
    }
    MMemFree(nullptr, data);
    return code;
}

}  // namespace quorv
