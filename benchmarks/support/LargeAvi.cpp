// Layout of the large files; see the header.

#include "support/LargeAvi.h"

#include <cstring>

#include "support/AviBuilder.h"

namespace quorv::bench {
namespace {

using namespace quorv::test;

constexpr uint32_t kSampleRate = 48000, kSamplesPerFrame = 1152;
constexpr uint32_t kSampleBytes = 4, kMp3FrameBytes = 960;
constexpr uint32_t kIndexed = 0x10, kInterleaved = 0x100, kKeyFrame = 0x10;

void append(std::vector<uint8_t> &bytes, const Bytes &more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

void put_le32(std::vector<uint8_t> &bytes, uint64_t position, uint64_t value) {
    const Bytes word = le32(static_cast<uint32_t>(value));
    memcpy(&bytes[position], word.data(), word.size());
}

struct Stream {
    AviStream headers;
    uint32_t chunk_bytes;
    uint32_t id;  // of its chunks
};

std::vector<Stream> make_streams(uint32_t frame_bytes, Sound sound, uint32_t frames) {
    std::vector<Stream> streams{
        {video_stream(tag("MJPG"), kSamplesPerFrame, kSampleRate), frame_bytes, tag("00dc")}};
    if (sound == Sound::Mp3)
        streams.push_back(
            {mp3_stream(kSampleRate, kSamplesPerFrame, kSamplesPerFrame), kMp3FrameBytes, tag("01wb")});
    if (sound == Sound::Pcm)
        streams.push_back(
            {pcm_stream(kSampleRate, kSampleBytes), kSamplesPerFrame * kSampleBytes, tag("01wb")});
    for (Stream &stream : streams) {
        StreamHeader &header = stream.headers.header;
        header.length = header.sample_size != 0 ? frames * kSamplesPerFrame : frames;
        header.suggested_buffer = stream.chunk_bytes;
    }
    return streams;
}

Bytes header_list(const std::vector<Stream> &streams, uint32_t frames) {
    MainHeader main;
    main.microseconds_per_frame = uint64_t{1000000} * kSamplesPerFrame / kSampleRate;
    main.flags = kIndexed | kInterleaved;
    main.total_frames = frames;
    main.streams = static_cast<uint32_t>(streams.size());
    Bytes body = chunk(tag("avih"), main.body());
    for (const Stream &stream : streams)
        body = join({body, list(tag("strl"), join({chunk(tag("strh"), stream.headers.header.body()),
                                                   chunk(tag("strf"), stream.headers.format)}))});
    return list(tag("hdrl"), body);
}

}  // namespace

void fill_randomly(uint8_t *to, size_t count, uint64_t &state) {
    for (size_t at = 0; at + sizeof state <= count; at += sizeof state) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        memcpy(to + at, &state, sizeof state);
    }
}

const char *tracks_text(Sound sound) {
    switch (sound) {
        case Sound::Mp3:
            return "video, MP3";
        case Sound::Pcm:
            return "video, PCM";
        case Sound::Wma:
            return "video, WMA";
        case Sound::None:
            break;
    }
    return "video";
}

std::string file_text(const std::string &format, uint32_t frame_kilobytes, Sound sound) {
    return format + ", " + std::to_string(frame_kilobytes) + " KB frames, " + tracks_text(sound);
}

LargeFile make_large_avi(uint32_t frame_bytes, Sound sound, uint64_t total) {
    uint64_t turn = 0;
    for (const Stream &stream : make_streams(frame_bytes, sound, 0))
        turn += stream.chunk_bytes;
    const auto turns = static_cast<uint32_t>(total / turn);
    const std::vector<Stream> streams = make_streams(frame_bytes, sound, turns);

    LargeFile avi;
    std::vector<uint8_t> &bytes = avi.bytes;
    bytes.reserve(turns * (turn + 2 * (8 + 16)) + 4096);
    append(bytes, join({le32(tag("RIFF")), le32(0), le32(tag("AVI "))}));
    append(bytes, header_list(streams, turns));
    append(bytes, join({le32(tag("LIST")), le32(0), le32(tag("movi"))}));
    const uint64_t movi = bytes.size() - 4;

    uint64_t random = 0x9E3779B97F4A7C15;
    for (uint32_t i = 0; i < turns; ++i) {
        for (uint32_t track = 1; track <= streams.size(); ++track) {
            const Stream &stream = streams[track - 1];
            append(bytes, join({le32(stream.id), le32(stream.chunk_bytes)}));
            avi.chunks.push_back({track, bytes.size(), stream.chunk_bytes});
            bytes.resize(bytes.size() + stream.chunk_bytes);
            fill_randomly(&bytes[bytes.size() - stream.chunk_bytes], stream.chunk_bytes, random);
        }
    }
    put_le32(bytes, movi - 4, bytes.size() - movi);

    append(bytes, join({le32(tag("idx1")), le32(static_cast<uint32_t>(avi.chunks.size()) * 16)}));
    for (const MediaChunk &c : avi.chunks)
        append(bytes, join({le32(streams[c.track - 1].id), le32(kKeyFrame),
                            le32(static_cast<uint32_t>(c.position - 8 - movi)), le32(c.size)}));
    put_le32(bytes, 4, bytes.size() - 8);
    return avi;
}

}  // namespace quorv::bench
