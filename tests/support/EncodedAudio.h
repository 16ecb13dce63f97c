// MPEG audio by real encoders, lame and twolame, from generated sound.
#ifndef QUORV_TESTS_SUPPORT_ENCODEDAUDIO_H
#define QUORV_TESTS_SUPPORT_ENCODEDAUDIO_H

#include <cmath>
#include <numbers>

#include "support/Mp3Streams.h"
#include "support/TestFolder.h"

namespace quorv::test {

enum class Signal { Music, Quiet, Square, Impulses };

struct Encoding {
    std::string encoder;  // its command line, without the files
    uint32_t rate = 44100, channels = 2;
    Signal signal = Signal::Music;
    uint32_t seconds = 2;
};

// One sample, in parts of full scale, of sounds that keep every part of an encoder busy.
inline double sound(Signal signal, double t, uint32_t i, uint32_t channel, double noise) {
    const auto tone = [t](double hertz) { return std::sin(2 * std::numbers::pi * hertz * t); };
    if (signal == Signal::Square) return tone(channel == 0 ? 440 : 441) > 0 ? 1 : -1;
    if (signal == Signal::Impulses) return i % 3001 == 1000 * channel ? 1 : 0;
    const double sweep = tone(220 + 300 * std::fmod(t, 7)), drum = i / 5000 % 2 * tone(1000.5 + channel);
    const double value = 0.3 * sweep + 0.2 * drum + 0.3 * noise * (1 + tone(3 + channel));
    return signal == Signal::Quiet ? value * 0.001 : value;
}

// The stream; empty when the encoder fails.
inline Bytes encode(const Encoding &encoding) {
    const auto &[encoder, rate, channels, signal, seconds] = encoding;
    Random random{11};
    Bytes pcm;
    for (uint32_t i = 0; i < seconds * rate; ++i) {
        const double noise = random() / 4294967296.0 - 0.5;
        for (uint32_t channel = 0; channel < channels; ++channel) {
            const double value = sound(signal, 1.0 * i / rate, i, channel, noise);
            const auto sample = static_cast<int16_t>(std::lround(value * 32767));
            pcm.insert(pcm.end(), {static_cast<uint8_t>(sample), static_cast<uint8_t>(sample >> 8)});
        }
    }
    const TestFolder folder;
    const std::string hertz = std::to_string(rate), kilohertz = std::to_string(rate / 1000.0);
    const std::string input = encoder[0] == 'l' ? " -r -s " + kilohertz + " --resample " + kilohertz
                                                : " -r -s " + hertz + " -N " + std::to_string(channels);
    const std::string command = encoder + input + (channels == 1 ? " -m m " : " ") + folder.put("in", pcm) +
                                " " + folder.path("out") + " >/dev/null 2>&1";
    return system(command.c_str()) == 0 ? folder.get("out") : Bytes{};
}

}  // namespace quorv::test

#endif
