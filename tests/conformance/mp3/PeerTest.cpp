// Streams of real encoders: every sample is within one step of what libmpg123 makes of the same stream.

#include <gtest/gtest.h>
#include <mpg123.h>

#include <cmath>
#include <cstdlib>
#include <numbers>

#include "support/Mp3Streams.h"
#include "support/TestFolder.h"

namespace quorv::test {
namespace {

enum class Signal { Music, Quiet, Square, Impulses };

// Two seconds, the channels related as in music; amplitudes in parts of full scale.
Bytes make_signal(Signal signal, double rate, int channels) {
    Random random{11};
    Bytes pcm;
    for (int i = 0; i < 2 * rate; ++i) {
        const double t = i / rate, noise = random() / 4294967296.0 - 0.5;
        const auto tone = [t](double hertz) { return std::sin(2 * std::numbers::pi * hertz * t); };
        for (int channel = 0; channel < channels; ++channel) {
            double value = 0;
            if (signal == Signal::Square) value = tone(channel == 0 ? 440 : 441) > 0 ? 1 : -1;
            if (signal == Signal::Impulses) value = i % 3001 == 1000 * channel ? 1 : 0;
            if (signal == Signal::Music || signal == Signal::Quiet)
                value = 0.3 * tone(220 + 300 * t) + 0.2 * tone(1000.5 + channel) * (i / 5000 % 2) +
                        0.3 * noise * (1 + tone(3 + channel));
            if (signal == Signal::Quiet) value *= 0.001;
            const auto sample = static_cast<int16_t>(std::lround(value * 32767));
            pcm.insert(pcm.end(), {static_cast<uint8_t>(sample), static_cast<uint8_t>(sample >> 8)});
        }
    }
    return pcm;
}

std::vector<int16_t> decode_with_peer(const Bytes &stream) {
    mpg123_handle *const peer = mpg123_new(nullptr, nullptr);
    mpg123_param(peer, MPG123_REMOVE_FLAGS, MPG123_GAPLESS, 0);
    mpg123_param(peer, MPG123_ADD_FLAGS, MPG123_QUIET | MPG123_IGNORE_INFOFRAME, 0);
    mpg123_open_feed(peer);
    mpg123_feed(peer, stream.data(), stream.size());
    std::vector<int16_t> samples;
    for (int code = MPG123_OK; code == MPG123_OK || code == MPG123_NEW_FORMAT;) {
        int16_t block[8192];
        size_t bytes = 0;
        code = mpg123_read(peer, block, sizeof block, &bytes);
        samples.insert(samples.end(), block, block + bytes / 2);
    }
    mpg123_delete(peer);
    return samples;
}

struct Stream {
    const char *encoder;  // its command line without the files
    int rate, channels;
    Signal signal = Signal::Music;
};

void compare(const Stream &stream) {
    const TestFolder folder;
    folder.put("in", make_signal(stream.signal, stream.rate, stream.channels));
    const std::string line = stream.encoder;
    const std::string hertz = std::to_string(stream.rate), kilohertz = std::to_string(stream.rate / 1000.0);
    const std::string input = line[0] == 'l' ? " -r -s " + kilohertz + " --resample " + kilohertz
                                             : " -r -s " + hertz + " -N " + std::to_string(stream.channels);
    const std::string command = line + input + (stream.channels == 1 ? " -m m " : " ") + folder.path("in") +
                                " " + folder.path("out") + " 2>/dev/null";
    SCOPED_TRACE(command);
    ASSERT_EQ(system(command.c_str()), 0);
    const Bytes bytes = folder.get("out");
    const std::vector<int16_t> ours = samples_of(decode(bytes)), theirs = decode_with_peer(bytes);
    ASSERT_EQ(ours.size(), theirs.size());
    ASSERT_GE(ours.size(), static_cast<size_t>(2 * stream.rate * stream.channels));
    int largest = 0;
    for (size_t i = 0; i < ours.size(); ++i)
        largest = std::max(largest, std::abs(ours[i] - theirs[i]));
    EXPECT_LE(largest, 1);
}

TEST(Mp3Peer, EveryBitRateAndMode) {
    for (const int rate : {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320})
        compare({("lame --cbr -b " + std::to_string(rate)).c_str(), 44100, 2});
    for (const char *options :
         {"lame -V 0", "lame -V 9", "lame --abr 150", "lame -m s -b 128", "lame -m f -b 96",
          "lame -m d -b 160", "lame -p -b 128", "lame --nores -b 192", "lame --freeformat -b 500"})
        compare({options, 48000, 2});
    compare({"lame -b 64", 44100, 1});
    compare({"lame -V 4", 32000, 1});
}

TEST(Mp3Peer, EveryLowSampleRate) {
    for (const int rate : {24000, 22050, 16000, 12000, 11025, 8000}) {
        for (const char *options : {"lame -b 8", "lame -b 32", "lame -b 64", "lame -V 5"}) {
            compare({options, rate, 1});
            compare({options, rate, 2});
        }
    }
}

TEST(Mp3Peer, ExtremeSignals) {
    for (const Signal signal : {Signal::Quiet, Signal::Square, Signal::Impulses}) {
        for (const char *options : {"lame -b 128", "lame -b 320", "lame -V 2"})
            compare({options, 44100, 2, signal});
        compare({"lame -b 64", 22050, 1, signal});
        compare({"twolame -b 192", 44100, 2, signal});
    }
}

TEST(Mp3Peer, LayerII) {
    for (const char *options :
         {"twolame -b 64", "twolame -b 128", "twolame -b 192", "twolame -b 256", "twolame -b 384",
          "twolame -m joint -b 96", "twolame -m dual -b 192", "twolame -p -b 160"})
        compare({options, 48000, 2});
    for (const char *options : {"twolame -b 32", "twolame -b 56", "twolame -b 192"})
        compare({options, 44100, 1});
    for (const int rate : {24000, 22050, 16000})
        compare({"twolame -b 64", rate, 2});
}

}  // namespace
}  // namespace quorv::test
