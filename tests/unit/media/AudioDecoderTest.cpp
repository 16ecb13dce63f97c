// The decoder of quorv.h: the samples of the decoder underneath, with their format and every skipped frame.

#include <gtest/gtest.h>

#include <filesystem>

#include "support/DecodedSound.h"
#include "support/FailingAllocator.h"
#include "support/Mp3Streams.h"
#include "support/TestFolder.h"

namespace quorv::test {
namespace {

using Format = DecodedSound::Format;

Bytes joined(const Bytes &a, const Bytes &b) {
    Bytes both = a;
    both.insert(both.end(), b.begin(), b.end());
    return both;
}

TEST(MediaDecoder, FormatsChangeWhereTheStreamDoes) {
    const Bytes stereo = noise_stream(5), mono = noise_stream(7, {.sample_rate = 32000, .channels = 1});
    const Bytes stream = joined(joined(stereo, mono), stereo);
    const std::vector<int16_t> expected = samples_of(decode(stream));
    const std::vector<Format> formats = {{0, 44100, 2}, {1920, 32000, 1}, {4608, 44100, 2}};
    for (const size_t piece : {SIZE_MAX, size_t{1}, size_t{999}}) {
        const MediaDecoderHolder decoder = open_decoder();
        for (int pass = 0; pass < 2; ++pass) {
            const DecodedSound sound = decode_sound(decoder.get(), stream, piece);
            EXPECT_EQ(sound.frames, 17u * 384);
            EXPECT_EQ(sound.samples, expected);
            EXPECT_EQ(sound.formats, std::vector<Format>(formats.begin() + pass, formats.end()));
            EXPECT_EQ(quorv_decoder_skipped(decoder.get())->total, 0u);
        }
        const MediaDecoderHolder measuring = open_decoder(nullptr, QUORV_DECODER_MEASURE);
        const DecodedSound sound = decode_sound(measuring.get(), stream, piece);
        EXPECT_EQ(sound.frames, 17u * 384);
        EXPECT_EQ(sound.formats, formats);
        EXPECT_TRUE(sound.samples.empty());
    }
}

TEST(MediaDecoder, ConformanceStreamsComeAsFromTheDecoderUnderneath) {
    const char *const folder = getenv("QUORV_VECTORS");
    if (folder == nullptr) GTEST_SKIP() << "QUORV_VECTORS is not set";
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".bit") continue;
        SCOPED_TRACE(entry.path());
        const Bytes stream = bytes_of_file(entry.path());
        const DecodedSound sound = decode_sound(open_decoder().get(), stream, 4000);
        EXPECT_TRUE(sound.samples == samples_of(decode(stream)));
        const MediaDecoderHolder measuring = open_decoder(nullptr, QUORV_DECODER_MEASURE);
        EXPECT_EQ(decode_sound(measuring.get(), stream, 4000).formats, sound.formats);
        if (entry.path().stem() != "l3-he_mode") continue;
        const std::vector<Format> formats = {{0, 44100, 1}, {11520, 44100, 2}, {126720, 44100, 1}};
        EXPECT_EQ(sound.formats, formats);
    }
}

TEST(MediaDecoder, CountsSkippedFramesByReason) {
    const Bytes music = real_mp3_stream();
    const std::vector<size_t> starts = frame_starts(music);
    const auto at = [&](size_t frame) { return music.begin() + static_cast<ptrdiff_t>(starts[frame]); };
    const auto changed = [&](size_t offset, uint8_t value) {
        Bytes bytes = music;
        bytes[starts[40] + offset] = value;
        return bytes;
    };
    const Bytes junk(50, 0x55);
    const struct {
        const char *name;
        Bytes stream;
        QuorvSkippedFrames skipped;
    } cases[] = {
        {"whole", music, {}},
        {"cut in front", Bytes(at(40), music.end()), {1, 0, 0, 1, 0, MP3_ERR_RESERVOIR, 0}},
        {"cut behind", Bytes(music.begin(), at(41) - 9), {1, 0, 0, 0, 0, MP3_ERR_NEED_INPUT, 1}},
        {"junk",
         joined(joined(Bytes(music.begin(), at(40)), junk), Bytes(at(40), music.end())),
         {1, 1, 0, 0, 0, MP3_ERR_SYNC, 0}},
        {"no check word", changed(1, 0xFA), {1, 0, 1, 0, 0, MP3_ERR_CRC, 0}},
        {"reserved rate", changed(2, 0xFF), {1, 0, 0, 0, 1, MP3_ERR_BITRATE, 0}},
    };
    for (const auto &[name, stream, expected] : cases) {
        SCOPED_TRACE(name);
        const MediaDecoderHolder decoder = open_decoder();
        decode_sound(decoder.get(), stream, 700);
        const QuorvSkippedFrames *const skipped = quorv_decoder_skipped(decoder.get());
        EXPECT_EQ(skipped->total, expected.total);
        EXPECT_EQ(skipped->lost_sync, expected.lost_sync);
        EXPECT_EQ(skipped->bad_check, expected.bad_check);
        EXPECT_EQ(skipped->no_reservoir, expected.no_reservoir);
        EXPECT_EQ(skipped->bad_data, expected.bad_data);
        EXPECT_EQ(skipped->last_code, expected.last_code);
        EXPECT_EQ(skipped->cut_off, expected.cut_off);
    }
}

TEST(MediaDecoder, MissingMemoryIsReportedAndNothingIsLost) {
    const Bytes stream = real_mp3_stream();
    const std::vector<int16_t> expected = samples_of(decode(stream));
    bool hit = true;
    for (uint64_t at = 1; hit; ++at) {
        FailingAllocator heap(at);
        QuorvDecoder *decoder = nullptr;
        if (quorv_decoder_open(nullptr, 0, &decoder) != QUORV_OK) {
            EXPECT_EQ(decoder, nullptr);
            ASSERT_EQ(quorv_decoder_open(nullptr, 0, &decoder), QUORV_OK);
        }
        const MediaDecoderHolder holder(decoder);
        DecodedSound sound;
        for (size_t done = 0, piece = 0; done < stream.size(); done += piece) {
            piece = std::min(done + 900, stream.size() - done);
            const QuorvSamples *samples = nullptr;
            const QuorvResult result = quorv_decode(decoder, stream.data() + done, piece, &samples);
            EXPECT_TRUE(result == QUORV_OK || result == QUORV_ERR_MEMORY);
            if (sound.take(samples))
                sound.decode(decoder, nullptr, 0);
            else if (result == QUORV_ERR_MEMORY)
                sound.decode(decoder, stream.data() + done, piece);
        }
        sound.finish(decoder);
        EXPECT_TRUE(sound.samples == expected);
        hit = heap.has_failed();
        EXPECT_TRUE(hit || at > 4);
    }
}

TEST(MediaDecoder, WrongUseHasItsCode) {
    QuorvDecoder *decoder = nullptr;
    const QuorvSamples *samples = nullptr;
    QuorvTrack track = {};
    track.framing = QUORV_FRAMING_PCM;
    EXPECT_EQ(quorv_decoder_open(nullptr, 0, nullptr), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_decoder_open(nullptr, 4, &decoder), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_decoder_open(&track, 0, &decoder), QUORV_ERR_UNSUPPORTED);
    EXPECT_EQ(quorv_decode(nullptr, "", 1, &samples), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_decoder_finish(nullptr, &samples), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_decoder_reset(nullptr, 0), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_decoder_skipped(nullptr), nullptr);
    quorv_decoder_close(nullptr);
    const MediaDecoderHolder open = open_decoder();
    EXPECT_EQ(quorv_decode(open.get(), nullptr, 1, &samples), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_decode(open.get(), "", 1, nullptr), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_decoder_finish(open.get(), nullptr), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_decoder_finish(open.get(), &samples), QUORV_OK);
    EXPECT_EQ(samples->frames, 0u);
}

}  // namespace
}  // namespace quorv::test
