// Streams of real encoders: every sample is within one step of what mpg123 makes of the same stream, and with
// what the encoder added trimmed, there are as many as went into it.

#include <gtest/gtest.h>

#include <string_view>

#include "support/DecodedSound.h"
#include "support/EncodedAudio.h"

namespace quorv::test {
namespace {

std::vector<int16_t> decode_with_peer(const Bytes &stream, const std::string &options) {
    const TestFolder folder;
    const std::string command =
        "mpg123 -q -s -e s16 " + options + " " + folder.put("stream", stream) + " >" + folder.path("pcm");
    return system(command.c_str()) == 0 ? samples_of(folder.get("pcm")) : std::vector<int16_t>{};
}

void expect_alike(const std::vector<int16_t> &ours, const std::vector<int16_t> &theirs) {
    ASSERT_EQ(ours.size(), theirs.size());
    int largest = 0;
    for (size_t i = 0; i < ours.size(); ++i)
        largest = std::max(largest, std::abs(ours[i] - theirs[i]));
    EXPECT_LE(largest, 1);
}

void compare(const Encoding &encoding) {
    SCOPED_TRACE(encoding.encoder + " at " + std::to_string(encoding.rate));
    const Bytes stream = encode(encoding);
    const std::vector<int16_t> whole = samples_of(decode(stream)),
                               trimmed = decode_sound(open_decoder().get(), stream, 5000).samples;
    const size_t encoded = size_t{encoding.seconds} * encoding.rate * encoding.channels;
    ASSERT_GE(whole.size(), encoded);
    // Frames of the lowest rates have no room for the header that tells it.
    const std::string_view head(reinterpret_cast<const char *>(stream.data()), 160);
    const bool tells_padding = head.find("LAME") != head.npos;
    EXPECT_EQ(trimmed.size(), tells_padding ? encoded : whole.size());
    expect_alike(whole, decode_with_peer(stream, "--no-gapless --no-infoframe"));
    expect_alike(trimmed, decode_with_peer(stream, ""));
    const ReaderHolder reader = open_file(stream);
    const QuorvTrack *const track = quorv_track(reader.get(), 0);
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->sample_count * track->channels, trimmed.size());
    EXPECT_TRUE(decode_rest(reader.get(), open_decoder(track).get()).samples == trimmed);
}

TEST(Mp3Peer, EveryBitRateAndMode) {
    for (const int rate : {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320})
        compare({"lame --cbr -b " + std::to_string(rate)});
    for (const char *encoder :
         {"lame -V 0", "lame -V 9", "lame --abr 150", "lame -m s -b 128", "lame -m f -b 96",
          "lame -m d -b 160", "lame -p -b 128", "lame --nores -b 192", "lame --freeformat -b 500",
          "twolame -b 64", "twolame -b 192", "twolame -b 384", "twolame -m joint -b 96",
          "twolame -m dual -b 192", "twolame -p -b 160"})
        compare({encoder, 48000});
    for (const char *encoder :
         {"lame -b 64", "lame -V 4", "twolame -b 32", "twolame -b 56", "twolame -b 192"})
        compare({encoder, 32000, 1});
}

TEST(Mp3Peer, LowSampleRatesAndExtremeSignals) {
    for (const uint32_t rate : {24000u, 22050u, 16000u, 12000u, 11025u, 8000u}) {
        for (const char *encoder : {"lame -b 8", "lame -b 32", "lame -b 64", "lame -V 5", "twolame -b 64"}) {
            if (rate < 16000 && encoder[0] == 't') continue;
            compare({encoder, rate, 1});
            compare({encoder, rate, 2});
        }
    }
    for (const Signal signal : {Signal::Quiet, Signal::Square, Signal::Impulses}) {
        for (const char *encoder : {"lame -b 128", "lame -b 320", "lame -V 2", "twolame -b 192"})
            compare({encoder, 44100, 2, signal});
        compare({"lame -b 64", 22050, 1, signal});
    }
}

}  // namespace
}  // namespace quorv::test
