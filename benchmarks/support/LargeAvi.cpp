// Layout of the large files; see the header.

#include "support/LargeAvi.h"

#include <cstring>

#include "support/AviBuilder.h"

namespace quorv::bench {
namespace {

using namespace quorv::test;

constexpr uint32_t kSampleRate = 48000, kFrameRate = 25, kSampleBytes = 4;
constexpr uint32_t kSoundBytes = kSampleRate / kFrameRate * kSampleBytes;
constexpr uint32_t kIndexed = 0x10, kInterleaved = 0x100, kKeyFrame = 0x10;

void append(std::vector<uint8_t> &bytes, const Bytes &more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

void put_le32(std::vector<uint8_t> &bytes, uint64_t position, uint64_t value) {
    const Bytes word = le32(static_cast<uint32_t>(value));
    memcpy(&bytes[position], word.data(), word.size());
}

Bytes header_list(const std::vector<AviStream> &streams, uint32_t frame_bytes, uint32_t frames) {
    MainHeader main;
    main.flags = kIndexed | kInterleaved;
    main.total_frames = frames;
    main.streams = static_cast<uint32_t>(streams.size());
    main.suggested_buffer = frame_bytes;
    Bytes body = chunk(tag("avih"), main.body());
    for (AviStream stream : streams) {
        stream.header.length = stream.is_video ? frames : frames * (kSampleRate / kFrameRate);
        stream.header.suggested_buffer = stream.is_video ? frame_bytes : kSoundBytes;
        body = join({body, list(tag("strl"), join({chunk(tag("strh"), stream.header.body()),
                                                   chunk(tag("strf"), stream.format)}))});
    }
    return list(tag("hdrl"), body);
}

// Not to be compressed or predicted by anything on the way; which bytes they are does not matter.
void fill(uint8_t *to, size_t count, uint64_t &state) {
    for (size_t at = 0; at + sizeof state <= count; at += sizeof state) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        memcpy(to + at, &state, sizeof state);
    }
}

}  // namespace

LargeAvi make_large_avi(uint32_t frame_bytes, bool with_sound, uint64_t total) {
    std::vector<AviStream> streams{video_stream(tag("MJPG"), 1, kFrameRate)};
    if (with_sound) streams.push_back(pcm_stream(kSampleRate, kSampleBytes));
    const uint32_t sizes[] = {frame_bytes, kSoundBytes};
    const uint64_t turn = frame_bytes + (with_sound ? kSoundBytes : 0);
    const auto turns = static_cast<uint32_t>(total / turn);

    LargeAvi avi;
    std::vector<uint8_t> &bytes = avi.bytes;
    bytes.reserve(turns * (turn + 2 * (8 + 16)) + 4096);
    append(bytes, join({le32(tag("RIFF")), le32(0), le32(tag("AVI "))}));
    append(bytes, header_list(streams, frame_bytes, turns));
    append(bytes, join({le32(tag("LIST")), le32(0), le32(tag("movi"))}));
    const uint64_t movi = bytes.size() - 4;

    uint64_t random = 0x9E3779B97F4A7C15;
    const uint32_t ids[] = {tag("00dc"), tag("01wb")};
    for (uint32_t i = 0; i < turns; ++i) {
        for (uint32_t stream = 0; stream < streams.size(); ++stream) {
            append(bytes, join({le32(ids[stream]), le32(sizes[stream])}));
            avi.chunks.push_back({stream + 1, bytes.size(), sizes[stream]});
            bytes.resize(bytes.size() + sizes[stream]);
            fill(&bytes[bytes.size() - sizes[stream]], sizes[stream], random);
        }
    }
    put_le32(bytes, movi - 4, bytes.size() - movi);

    append(bytes, join({le32(tag("idx1")), le32(static_cast<uint32_t>(avi.chunks.size()) * 16)}));
    for (const MediaChunk &c : avi.chunks)
        append(bytes, join({le32(ids[c.track - 1]), le32(kKeyFrame),
                            le32(static_cast<uint32_t>(c.position - 8 - movi)), le32(c.size)}));
    put_le32(bytes, 4, bytes.size() - 8);
    return avi;
}

}  // namespace quorv::bench
