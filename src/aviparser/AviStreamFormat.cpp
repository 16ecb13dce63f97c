// The chunks of a stream list that describe its format; see the header.

#include "aviparser/AviStreamFormat.h"

#include <string.h>

#include <algorithm>
#include <optional>

#include "aviparser/AviChunkReader.h"
#include "aviparser/AviCodecTags.h"
#include "aviparser/AviPacketRecord.h"
#include "aviparser/AviRiff.h"

namespace quorv {

namespace {

constexpr uint32_t kBitmapHeaderBytes = 40;
constexpr uint32_t kMaxBitmapExtra = 0x40000000;
constexpr uint32_t kWaveFormatExtensible = 0xFFFE;
constexpr uint32_t kMaxHuffmanBytes = 2048;
// The tables stand near the start of the stream data.
constexpr uint32_t kMaxStreamData = 65536;

// Marks uncompressed pictures, whose lines are stored from the bottom up, with a text and its final zero.
Code append_bottom_up(AviHeaderData *codec_data) {
    static constexpr char kText[] = "BottomUp";
    const uint32_t length = codec_data->length;
    if (!resize_array(&codec_data->bytes, uint64_t{length} + sizeof(kText) + kAviSpareBytes))
        return Code::NoMemory;
    uint8_t *bytes = codec_data->bytes.get();
    memcpy(bytes + length, kText, sizeof(kText));
    memset(bytes + length + sizeof(kText), 0, kAviSpareBytes);
    codec_data->length += sizeof(kText);
    return Code::Ok;
}

Code avi_get_wav_header(AviTrack *track, AviChunkReader *reader) {
    SplitterAudioInfo &audio = track->audio;
    AviStated &stated = track->stated;
    const uint32_t size = reader->left();
    const uint32_t format_tag = stated.format_tag = reader->le16();
    audio.codec = avi_wave_format_codec(format_tag);
    stated.channels = reader->le16();
    audio.channels = std::min(stated.channels, 2u);
    audio.sample_rate = reader->le32();
    audio.bit_rate = saturate_to_u32(uint64_t{reader->le32()} * 8);
    audio.block_align = reader->le16();
    // The oldest form of the record ends before the bits per sample.
    audio.bits_per_sample = size < 16 ? 8 : reader->le16();
    stated.container_bits = stated.bits_per_sample = audio.bits_per_sample;
    if (audio.bits_per_sample == 0) audio.bits_per_sample = 16;
    if (size < 18) return Code::Ok;

    uint32_t extra = reader->le16();
    extra = std::min(extra, reader->left());
    if (extra >= 22 && format_tag == kWaveFormatExtensible) {
        if (const uint32_t valid_bits = reader->le16(); valid_bits != 0)
            audio.bits_per_sample = stated.bits_per_sample = valid_bits;
        reader->skip(4);                     // channel mask
        stated.format_tag = reader->le16();  // what the sub-format begins with
        reader->skip(14);
        extra -= 22;
    }
    return reader->read_data(extra, &track->codec_data);
}

Code read_audio_format(const AviMainHeader &main, AviTrack *track, AviChunkReader *reader) {
    AviSampling &sampling = track->sampling;
    const Code code = avi_get_wav_header(track, reader);
    if (code != Code::Ok) return code;
    sampling.block_align = track->audio.block_align;
    if (sampling.sample_size != 0 && sampling.block_align != 0) sampling.sample_size = sampling.block_align;
    track->stated.tag_misleads = track->handler == avi_tag("Axan") || main.amv;
    if (track->stated.tag_misleads) track->audio.codec = 0;
    if (main.amv) sampling.block_align = 0;
    return Code::Ok;
}

// A negative height means lines from the top down; the picture is as high as its magnitude.
uint32_t picture_height(uint32_t stored) {
    return stored > INT32_MAX ? 0 - stored : stored;
}

Code read_video_format(AviTrack *track, AviChunkReader *reader) {
    SplitterVideoInfo &video = track->video;
    const uint32_t size = reader->left();
    video.format_header_size = reader->le32();
    video.width = reader->le32();
    video.height = picture_height(reader->le32());
    reader->skip(4);  // planes, bit count
    const uint32_t compression = track->stated.format_tag = reader->le32();
    reader->skip(20);  // image size, resolution and colour counts
    if (compression == avi_tag("DXSB") || compression == avi_tag("DXSA")) {
        track->type = SPLITER_TRACK_TEXT;
        return Code::Ok;
    }
    if (size > kBitmapHeaderBytes && size < kMaxBitmapExtra) {
        const Code code = reader->read_data(size - kBitmapHeaderBytes, &track->codec_data);
        if (code != Code::Ok) return code;
    }
    video.codec = avi_codec_get_id(avi_codec_bmp_tags, compression);
    const AviHeaderData &codec_data = track->codec_data;
    if (compression == avi_tag("AVRn") && codec_data.length >= 31 &&
        memcmp(codec_data.bytes.get() + 28, "1:1", 3) == 0) {
        video.codec = 0;
    }
    if (compression == 0 && video.height != 0) return append_bottom_up(&track->codec_data);
    return Code::Ok;
}

bool is_huffman_segment(const uint8_t *bytes) {
    return bytes[0] == 0xFF && bytes[1] == 0xC4;
}

struct ByteRange {
    uint32_t begin, end;
};

// The run of Huffman table segments that begins with the first one. Nothing when there is more of it than
// fits.
std::optional<ByteRange> find_huffman_segments(const uint8_t *data, uint32_t length) {
    uint32_t at = 0;
    while (at + 1 < length && !is_huffman_segment(data + at))
        ++at;
    const uint32_t begin = at;
    while (length - at >= 4 && is_huffman_segment(data + at)) {
        const uint32_t segment = uint32_t{data[at + 2]} << 8 | data[at + 3];
        if (segment < 2 || length - at - 2 < segment) break;
        at += 2 + segment;
        if (at - begin > kMaxHuffmanBytes) return std::nullopt;
    }
    return ByteRange{begin, at};
}

// Reads the format chunk of a track whose type is known.
Code read_format(const AviMainHeader &main, AviTrack *track, AviChunkReader *reader) {
    if (track->type == SPLITER_TRACK_AUDIO) return read_audio_format(main, track, reader);
    if (track->type != SPLITER_TRACK_VIDEO) return Code::Ok;
    if (!main.amv) return read_video_format(track, reader);
    track->video.width = main.width;
    track->video.height = main.height;
    return Code::Ok;
}

}  // namespace

Code avi_read_stream_format(AviContext *context, AviTrack *track, uint32_t size) {
    AviChunkReader reader(&context->source, size);
    // A second format chunk replaces the first.
    track->codec_data = {};
    const Code code = read_format(context->main, track, &reader);
    return code == Code::Ok && reader.failed() ? Code::Io : code;
}

Code avi_read_stream_data(AviContext *context, AviTrack *track, uint32_t size) {
    if (track->type != SPLITER_TRACK_VIDEO || track->video.codec != fourcc("mjpg")) return Code::Ok;
    AviChunkReader reader(&context->source, size);
    AviHeaderData data = {};
    const Code code = reader.read_data(std::min(size, kMaxStreamData), &data);
    if (code != Code::Ok) return code;
    if (reader.failed()) return Code::Io;
    const std::optional<ByteRange> segments = find_huffman_segments(data.bytes.get(), data.length);
    if (!segments) return Code::BufferTooSmall;
    const uint32_t length = segments->end - segments->begin;
    if (length == 0) return Code::Ok;
    track->huffman_tables = {make_array<uint8_t>(length), length};
    uint8_t *bytes = track->huffman_tables.bytes.get();
    if (bytes == nullptr) {
        track->huffman_tables.length = 0;
        return Code::NoMemory;
    }
    memcpy(bytes, data.bytes.get() + segments->begin, length);
    return Code::Ok;
}

}  // namespace quorv
