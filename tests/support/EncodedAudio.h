// MPEG audio by real encoders, lame and twolame, from generated sound.
#ifndef QUORV_TESTS_SUPPORT_ENCODEDAUDIO_H
#define QUORV_TESTS_SUPPORT_ENCODEDAUDIO_H

#include <string>

#include "support/ByteStores.h"

namespace quorv::test {

enum class Signal { Music, Quiet, Square, Impulses };

struct Encoding {
    std::string encoder;  // its command line, without the files
    uint32_t rate = 44100, channels = 2;
    Signal signal = Signal::Music;
    uint32_t seconds = 2;
};

// The stream; empty when the encoder fails.
Bytes encode(const Encoding &encoding);

}  // namespace quorv::test

#endif
