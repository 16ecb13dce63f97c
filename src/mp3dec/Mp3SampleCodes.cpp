// The codes of subband samples in Layers I and II; see the header.

#include "mp3dec/Mp3SampleCodes.h"

#include <array>

#include "mp3dec/FixedPoint.h"
#include "mp3dec/tables/Layer12Tables.h"

namespace quorv {

namespace {

constexpr uint32_t kTriple = 3;  // samples whose codes Layer II joins in one number, for few levels

// Bits of the number that holds three codes; 0 when they are separate.
constexpr uint32_t triple_bits(uint32_t levels) {
    return levels == 3 ? 5 : levels == 5 ? 7 : levels == 9 ? 10 : 0;
}

constexpr uint32_t code_width(uint32_t levels) {
    return 32 - static_cast<uint32_t>(__builtin_clz(levels));
}

constexpr uint32_t kTripleBits = 5;  // of a numerator that are not 0, at its top

// The upper bits of the three numerators, the first one on top.
template <uint32_t levels>
constexpr auto make_triples() {
    std::array<uint16_t, 1u << triple_bits(levels)> triples{};
    for (uint32_t number = 0; number < triples.size(); ++number) {
        uint32_t rest = number, triple = 0;
        for (uint32_t i = 0; i < kTriple; ++i, rest /= levels) {
            const uint32_t numerator = 2 * (rest % levels) + 1 - levels;
            triple = triple << kTripleBits | numerator << (30 - code_width(levels)) >> (32 - kTripleBits);
        }
        triples[number] = static_cast<uint16_t>(triple << (16 - kTriple * kTripleBits));
    }
    return triples;
}

constexpr auto kTriplesOf3 = make_triples<3>();
constexpr auto kTriplesOf5 = make_triples<5>();
constexpr auto kTriplesOf9 = make_triples<9>();

// The window shows all codes of a group, or has to be moved to each.
template <uint32_t samples, bool at_once>
void read_separate(const Mp3BitWindow &bits, const Mp3CodeRun &run, uint32_t width, int32_t *to) {
    const int32_t mask = static_cast<int32_t>((1u << width) - 1) << (31 - width);
    const int32_t offset = (1 << (31 - width)) - (1 << 30);
    uint32_t position = run.position;
    for (uint32_t group = 0; group < kMp3CodeGroups; ++group, position += run.step) {
        Mp3BitWindow::Word word = bits.ahead(position);
#pragma GCC unroll 3
        for (uint32_t i = 0; i < samples; ++i, to += kMp3Subbands) {
            *to = (static_cast<int32_t>(word >> (Mp3BitWindow::kBits - 31)) & mask) + offset;
            if (i + 1 < samples) word = at_once ? word << width : bits.ahead(position + (i + 1) * width);
        }
    }
}

void read_triples(const Mp3BitWindow &bits, const Mp3CodeRun &run, const uint16_t *triples, uint32_t width,
                  int32_t *to) {
    uint32_t position = run.position;
    for (uint32_t group = 0; group < kMp3CodeGroups; ++group, position += run.step) {
        uint32_t triple = uint32_t{triples[Mp3BitWindow::first_bits(bits.ahead(position), width)]} << 16;
        for (uint32_t i = 0; i < kTriple; ++i, to += kMp3Subbands, triple <<= kTripleBits)
            *to = static_cast<int32_t>(triple & 0xF8000000);
    }
}

}  // namespace

uint32_t mp3_code_bits(uint32_t quantizer, uint32_t samples) {
    const uint32_t levels = kLayer2Levels[quantizer];
    const uint32_t joined = samples == kTriple ? triple_bits(levels) : 0;
    return joined != 0 ? joined : samples * code_width(levels);
}

void mp3_read_codes(const Mp3BitWindow &bits, const Mp3CodeRun &run, int32_t *to) {
    const uint32_t levels = kLayer2Levels[run.quantizer], width = code_width(levels);
    const uint32_t joined = run.samples == kTriple ? triple_bits(levels) : 0;
    if (joined != 0) {
        const uint16_t *triples = levels == 3   ? kTriplesOf3.data()
                                  : levels == 5 ? kTriplesOf5.data()
                                                : kTriplesOf9.data();
        read_triples(bits, run, triples, joined, to);
    } else if (run.samples == 1) {
        read_separate<1, true>(bits, run, width, to);
    } else if (kTriple * width <= Mp3BitWindow::kAhead) {
        read_separate<kTriple, true>(bits, run, width, to);
    } else {
        read_separate<kTriple, false>(bits, run, width, to);
    }
}

int32_t mp3_code_factor(uint32_t quantizer, uint32_t scale_factor) {
    return ((kLayer2Factor[quantizer][scale_factor % 3] >> scale_factor / 3) + 1) & ~1;
}

}  // namespace quorv
