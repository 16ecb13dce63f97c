// Finding and delivering chunks: what is stepped over, what resynchronises, how chunks are cut into pieces,
// and where a track ends.

#include "support/ExpectFrames.h"

namespace quorv::test {
namespace {

// Sample sizes of 2 to 31 give pieces of 1024 samples, larger ones pieces of one sample. Each track continues
// inside its own chunk, also after a buffer too small.
TEST(AviPackets, PiecesOfManyTracksAlternate) {
    std::vector<AviStream> streams;
    for (const uint32_t sample_size : {1u, 2u, 4u, 31u, 32u, 4608u})
        streams.push_back(pcm_stream(8000, sample_size));
    AviBuilder builder(streams);
    for (size_t i = 0; i < 12; ++i) {
        const size_t sample_size = streams[i % 6].header.sample_size;
        builder.frame(static_cast<uint32_t>(i % 6), sample_size * (i > 5 ? 3 : sample_size > 31 ? 5 : 5000));
    }
    OpenedAvi avi(builder);
    for (size_t i = 0; i < 8; ++i) {
        for (uint32_t stream = 0; stream < 6; ++stream) {
            if (i < avi.builder.truth(stream).size())
                avi.expect_frames(stream, {.from = i, .count = 1, .refused = true});
        }
    }
}

// Whatever stands between two chunks, the second is found, with its time stamp.
TEST(AviPackets, WhatIsSteppedOver) {
    const Bytes other(30, 0x91), hidden = chunk(tag("00dc"), other);
    const std::pair<const char *, Bytes> cases[] = {
        {"padding of any value", {0x30}},
        {"garbage", payload(5, 5, 999)},
        {"garbage at the limit", Bytes(131072, 0x80)},
        {"junk", chunk(tag("JUNK"), hidden)},
        {"index chunk", chunk(tag("ix00"), hidden)},
        {"index chunk of the other spelling", chunk(tag("00ix"), hidden)},
        {"legacy index within", chunk(tag("idx1"), hidden)},
        {"RES1", chunk(tag("RES1"), hidden)},
        {"nested lists", list(tag("rec "), list(tag("abcd"), chunk(tag("01wb"), other)))},
        {"text of its own stream", chunk(tag("01tx"), other)},
        {"unknown type of the stream", chunk(tag("00zz"), {})},
        {"stream that is not declared", chunk(tag("07dc"), Bytes(200000, 0x33))},
        {"undeclared stream that holds a chunk of ours", chunk(tag("55wb"), hidden)},
        {"chunk beyond the media data", join({text("00dc"), le32(0x7FFFFFFF)})},
        {"chunk of 4 GB", join({text("01wb"), le32(UINT32_MAX)})},
        {"a form that is no segment", text("RIFF")},
        {"capital letters", chunk(tag("00DC"), {})},
        {"letters beyond ASCII", join({text("00"), Bytes{0xFE, 0xFE}, le32(4), other})},
    };
    for (const auto &[name, between] : cases) {
        SCOPED_TRACE(name);
        for (const IndexKind index : {IndexKind::None, IndexKind::Legacy}) {
            AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()}, index);
            builder.frame(0, size_t{51}).raw(between).frame(0, size_t{52}).frame(0, size_t{53});
            OpenedAvi(builder).expect_frames(0);
        }
    }
}

// The frames behind a chunk that is lost keep the times that the index has for them.
TEST(AviPackets, TimesBehindLostChunks) {
    const std::pair<IndexKind, uint32_t> cases[] = {{IndexKind::OpenDmlDirect, SPLITER_SOURCE_LOCAL},
                                                    {IndexKind::Legacy, SPLITER_SOURCE_PROGRESSIVE}};
    for (const auto &[index, kind] : cases) {
        AviBuilder builder({video_stream(tag("MJPG")), pcm_stream(), mp3_stream()}, index);
        for (size_t i = 0; i < 12; ++i)
            builder.frame(0, i == 5 ? 0 : 40 + i, i % 4 == 0).frame(1, size_t{6000}).frame(2, 30 + i);
        MemoryStore bytes = builder.build();
        for (uint32_t stream = 0; stream < 3; ++stream) {
            std::vector<TruthFrame> truth = builder.truth(stream);
            const uint64_t lost = truth[4].position;
            bytes.patch(lost, Bytes(8, 0x80));
            std::erase_if(truth, [lost](const TruthFrame &frame) { return frame.position == lost; });
            TestSource source(bytes, kind);
            SplitterFile file(kAviSplitter, source.record());
            expect_frames(file, stream + 1, truth);
        }
    }
}

// Chunks of other tracks cost nothing of the resynchronisation limit.
TEST(AviPackets, TooMuchGarbageEndsTheTrackUntilItIsSought) {
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()});
    builder.frame(0, size_t{51});
    for (int i = 0; i < 30000; ++i)
        builder.frame(1, size_t{4});
    builder.frame(0, size_t{52}).raw(Bytes(131072 + 1, 0x80)).frame(0, size_t{53});
    OpenedAvi avi(builder);
    avi.expect_frames(0, {.count = 2});
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(avi.file.read(1).code, kEnd);
    EXPECT_EQ(avi.file.seek(1, 80, SPLITER_SEEK_FORWARD), 0u);
    avi.expect_frames(0, {.from = 2});
}

// More entries than the chunk holds, or than fit behind the first: no byte from elsewhere gets in.
TEST(AviPackets, PaletteChangesThatLie) {
    for (const Bytes &body : {Bytes{250, 100, 0, 0, 9, 9, 9, 9}, Bytes{0, 0, 0, 0}, Bytes{0, 1}, Bytes{},
                              Bytes{5}, join({Bytes{250, 20, 0, 0}, Bytes(80, 9)})}) {
        AviBuilder builder({video_stream(tag("MRLE"))}, IndexKind::None);
        builder.frame(0, size_t{20}).raw(chunk(tag("00pc"), body)).frame(0, size_t{21});
        OpenedAvi avi(builder);
        const FrameRun run = avi.file.read_all(1);
        ASSERT_EQ(run.frames.size(), 2u);
        const Bytes &data = run.frames[1].data, &frame = avi.builder.truth(0)[1].data;
        ASSERT_TRUE(data.size() == frame.size() || data.size() == frame.size() + 1024);
        EXPECT_EQ(Bytes(data.begin(), data.begin() + 21), frame);
        EXPECT_TRUE(std::all_of(data.begin() + 21, data.end(), [](uint8_t b) { return b == 0 || b == 9; }));
    }
}

}  // namespace
}  // namespace quorv::test
