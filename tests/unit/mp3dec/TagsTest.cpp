// Tags before, between and behind the frames, with frames of another stream in them that must not be heard.

#include <gtest/gtest.h>
#include <quorv/platform/stream.h>

#include "support/Mp3Streams.h"
#include "support/RiffPieces.h"

namespace quorv::test {
namespace {

// So many bytes that end with frames.
Bytes bytes_with_frames(size_t size) {
    Bytes bytes(size);
    const Bytes frames = noise_stream(4, {48000, 2, 8});
    std::copy(frames.begin(), frames.end(), bytes.end() - 5 - static_cast<ptrdiff_t>(frames.size()));
    return bytes;
}

Bytes id3v2(size_t size) {
    return join({first_of(id3v2_tag(size), 10), bytes_with_frames(size)});
}

// Four frames of 24 bytes.
Bytes id3v1() {
    Bytes tag = join({text("TAG"), Bytes(125)});
    for (size_t at = 10; at < 4 * 24; at += 24)
        std::copy_n(Bytes{0xFF, 0xF3, 0x14, 0xC4}.begin(), 4, tag.begin() + static_cast<ptrdiff_t>(at));
    return tag;
}

Bytes ape(size_t size, uint32_t version = 2000) {
    const Bytes start =
        join({text("APETAGEX"), le32(version), le32(static_cast<uint32_t>(size) + 32), le32(1)});
    return join(
        {start, le32(0xA0000000), Bytes(8), bytes_with_frames(size), start, le32(0x80000000), Bytes(8)});
}

// Only what a tag begins with, and the claim that so many bytes follow.
Bytes claim(size_t size) {
    return first_of(id3v2_tag(size), 10);
}

uint32_t count_frames(Bytes stream) {
    const std::shared_ptr<MStreamRecord> handle(
        MStreamOpenFromMemoryBlock(stream.data(), static_cast<uint32_t>(stream.size())), MStreamClose);
    QuMp3Info info = {};
    return QU_MP3_info_get(handle.get(), &info, 0) == 0 ? info.frame_count : 0;
}

struct Case {
    const char *name;
    Bytes tag;
    size_t frame = 9;  // in front of which it stands
};

TEST(Mp3Tags, AreSteppedOverWholeAndOnlyWhereTheyAreTags) {
    const size_t all = 116;
    const Case cases[] = {
        {"two at the start", join({id3v2(5000), id3v2(40000)}), 0},
        {"of every kind at the start", join({id3v2(5000), ape(3000), id3v1()}), 0},
        {"ID3v2", id3v2(5000)},
        {"ID3v2, the longest that is kept", id3v2((16 << 10) - 8 - 10)},
        {"ID3v2, too long to be kept", id3v2(50000)},
        {"ID3v2 with a footer",
         join({text("ID3"), Bytes{4, 0, 0x10, 0, 0, 39, 8}, id3v2(4990), text("3DI"), Bytes(7)})},
        {"ID3v1", id3v1()},
        {"APE", ape(3000)},
        {"APE, too long to be kept", ape(30000, 1000)},
        {"several", join({ape(3000), id3v1(), id3v2(5000)})},
        {"two behind the last frame", join({ape(3000), id3v1()}), all},
        {"ID3v2 behind the last frame", id3v2(3000), all},
        {"a claim that ends within a frame", claim(700)},
        {"a claim that ends behind the stream", claim(5000), all - 6},
        {"a long claim", claim(1 << 20)},
        {"a long claim behind a body", join({claim(50000), Bytes(5000)})},
        {"the mark of an ID3v1 alone", text("TAG")},
        {"a version that there is none", join({text("ID3"), Bytes{255, 0, 0, 0, 0, 3, 33}})},
        {"a size byte that there is none", join({text("ID3"), Bytes{3, 0, 0, 0, 0, 0x83, 33}})},
        {"an APE version that there is none", first_of(ape(3000 - 64 - 10, 3000), 32)},
        {"an APE footer", join({Bytes(2), first_of(ape(3000), 20), le32(0x80000000), Bytes(8)})},
    };
    const Bytes clean = real_mp3_stream(), pcm = decode(clean);
    const std::vector<size_t> starts = frame_starts(clean);
    ASSERT_EQ(starts.size(), all + 1);
    for (const auto &[name, tag, frame] : cases) {
        SCOPED_TRACE(name);
        Bytes stream = clean;
        stream.insert(stream.begin() + static_cast<ptrdiff_t>(starts[frame]), tag.begin(), tag.end());
        for (const Calls &calls :
             {Calls{}, Calls{[] { return 1; }}, Calls{[] { return 700; }}, random_calls(1, 9000, 5000)})
            EXPECT_TRUE(decode(stream, calls) == pcm);
        EXPECT_EQ(count_frames(stream), count_frames(clean));
    }
}

}  // namespace
}  // namespace quorv::test
