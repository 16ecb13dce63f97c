// Audio and video formats; see the header.

#include "asfparser/AsfStreamProperties.h"

namespace quorv {

namespace {

struct CodecRow {
    uint32_t tag;    // as read from the file, little-endian
    uint32_t codec;  // FourCC
};

// The two older audio codecs have the names that callers know them by.
constexpr CodecRow kAudioCodecs[] = {
    {0x0160, fourcc("wmv1")}, {0x0161, fourcc("wmv2")}, {0x0162, fourcc("wm9p")}, {0x0163, fourcc("wm9l")},
    {0x0055, fourcc("mp3 ")}, {0x00FF, fourcc("aac ")}, {0x0011, fourcc("imaa")},
};

constexpr CodecRow kVideoCodecs[] = {
    {__builtin_bswap32(fourcc("WMV1")), fourcc("wmv7")}, {__builtin_bswap32(fourcc("WMV2")), fourcc("wmv8")},
    {__builtin_bswap32(fourcc("WMV3")), fourcc("wmv9")}, {__builtin_bswap32(fourcc("M4S2")), fourcc("m4vs")},
    {__builtin_bswap32(fourcc("MP4S")), fourcc("m4vs")},
};

template <size_t Count>
uint32_t find_codec(const CodecRow (&rows)[Count], uint32_t tag) {
    for (const CodecRow &row : rows) {
        if (row.tag == tag) return row.codec;
    }
    return 0;
}

// Width, height, flags, format size and the bitmap header up to its compression; the whole bitmap header.
constexpr uint32_t kUpToCompression = 31;
constexpr uint32_t kUpToCodecData = 51;

void read_codec_data(AsfHeaderReader *reader, uint32_t length, AsfCodecData *data) {
    data->length = reader->bytes_up_to(data->bytes, kAsfMaxCodecData, length);
}

Code read_known_video(AsfHeaderReader *reader, uint64_t start, uint32_t length, AsfVideoStream *video) {
    if (length < kUpToCodecData || length - kUpToCodecData > kAsfMaxCodecData) return Code::BadFormat;
    video->present = true;
    reader->skip(kUpToCodecData - kUpToCompression);
    read_codec_data(reader, length - kUpToCodecData, &video->codec_data);
    if (reader->code() != Code::Ok) return reader->code();
    video->type_data = make_array<uint8_t>(length);
    if (video->type_data == nullptr) return Code::NoMemory;
    video->type_data_length = length;
    reader->move_to(start);
    reader->bytes(video->type_data.get(), length);
    return reader->code();
}

}  // namespace

Code asf_read_audio_properties(AsfHeaderReader *reader, uint32_t stream_number, AsfAudioStream *audio) {
    if (audio->present) {
        reader->skip(16);
        reader->skip(reader->le16());
        return reader->code();
    }
    audio->present = true;
    audio->stream_number = stream_number;
    audio->format_tag = reader->le16();
    audio->codec = find_codec(kAudioCodecs, audio->format_tag);
    audio->channels = reader->le16();
    audio->sample_rate = reader->le32();
    audio->bit_rate = saturate_to_u32(uint64_t{reader->le32()} * 8);
    audio->block_align = reader->le16();
    audio->bits_per_sample = audio->container_bits = reader->le16();
    read_codec_data(reader, reader->le16(), &audio->codec_data);
    audio->codec_data.first = audio->codec == fourcc("mp3 ");
    if (audio->codec == fourcc("mp3 ") || audio->codec == fourcc("aac ")) audio->bits_per_sample = 16;
    return reader->code();
}

Code asf_read_video_properties(AsfHeaderReader *reader, uint32_t stream_number, uint32_t length,
                               AsfVideoStream *video) {
    if (video->present || length < kUpToCompression) {
        reader->skip(length);
        return reader->code();
    }
    const uint64_t start = reader->position();
    video->width = reader->le32();
    video->height = reader->le32();
    reader->skip(19);
    const uint32_t compression = reader->le32();
    if (reader->code() != Code::Ok) return reader->code();
    video->stream_number = stream_number;
    video->tag = __builtin_bswap32(compression);
    video->codec = find_codec(kVideoCodecs, compression);
    if (video->codec == 0) {
        video->unrecognised_code = video->tag;
        reader->skip(length - kUpToCompression);
        return reader->code();
    }
    if (video->codec != fourcc("m4vs")) video->codec_data.first = false;
    return read_known_video(reader, start, length, video);
}

}  // namespace quorv
