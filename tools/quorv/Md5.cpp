// MD5 digests; see the header.

#include "Md5.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace quorv::tool {

namespace {

constexpr size_t kMd5Block = 64;

// 2^32 times the sines of 1 to 64.
constexpr uint32_t kSines[64] = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391};
constexpr int kShifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

// One digest's state in each lane.
template <size_t kLanes>
using State = std::array<std::array<uint32_t, kLanes>, 4>;
template <size_t kLanes>
using Blocks = std::array<const uint8_t *, kLanes>;

uint32_t load(const uint8_t *bytes) {
    uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    return std::endian::native == std::endian::little ? word : __builtin_bswap32(word);
}

// The functions F, G, H and I of the four rounds.
template <int kRound>
uint32_t mix(uint32_t b, uint32_t c, uint32_t d) {
    if constexpr (kRound == 0) return d ^ (b & (c ^ d));
    if constexpr (kRound == 1) return c ^ (d & (b ^ c));
    if constexpr (kRound == 2) return b ^ c ^ d;
    return c ^ (b | ~d);
}

template <int kStep, size_t kLanes>
[[gnu::always_inline]] inline void step(State<kLanes> &state, const Blocks<kLanes> &blocks) {
    constexpr int kRound = kStep / 16;
    constexpr int kFactors[] = {1, 5, 3, 7}, kOffsets[] = {0, 1, 5, 0};
    constexpr size_t kWord = (kFactors[kRound] * kStep + kOffsets[kRound]) % 16;
    constexpr size_t a = (64 - kStep) % 4, b = (65 - kStep) % 4, c = (66 - kStep) % 4, d = (67 - kStep) % 4;
    for (size_t lane = 0; lane < kLanes; ++lane) {
        const uint32_t sum = state[a][lane] + mix<kRound>(state[b][lane], state[c][lane], state[d][lane]) +
                             kSines[kStep] + load(blocks[lane] + 4 * kWord);
        state[a][lane] = state[b][lane] + std::rotl(sum, kShifts[kRound][kStep % 4]);
    }
}

template <size_t kLanes, int... kSteps>
[[gnu::always_inline]] inline void all_steps(State<kLanes> &state, const Blocks<kLanes> &blocks,
                                             std::integer_sequence<int, kSteps...>) {
    (step<kSteps, kLanes>(state, blocks), ...);
}

template <size_t kLanes>
void digest(State<kLanes> &state, Blocks<kLanes> blocks, size_t count) {
    for (; count > 0; --count) {
        State<kLanes> next = state;
        all_steps<kLanes>(next, blocks, std::make_integer_sequence<int, 64>());
        for (size_t i = 0; i < state.size(); ++i) {
            for (size_t lane = 0; lane < kLanes; ++lane)
                state[i][lane] += next[i][lane];
        }
        for (const uint8_t *&block : blocks)
            block += kMd5Block;
    }
}

void digest_one(std::array<uint32_t, 4> &state, const uint8_t *blocks, size_t count) {
    State<1> lane;
    for (size_t i = 0; i < state.size(); ++i)
        lane[i] = {state[i]};
    digest<1>(lane, {blocks}, count);
    for (size_t i = 0; i < state.size(); ++i)
        state[i] = lane[i][0];
}

}  // namespace

// Completes the block that waits; what is left begins a block.
std::span<const uint8_t> Md5::fill_block(std::span<const uint8_t> bytes) {
    const size_t waiting = length_ % kBlockBytes;
    if (waiting == 0) return bytes;
    const size_t count = std::min(bytes.size(), kBlockBytes - waiting);
    std::copy_n(bytes.begin(), count, block_.begin() + static_cast<std::ptrdiff_t>(waiting));
    length_ += count;
    if (waiting + count == kBlockBytes) digest_one(state_, block_.data(), 1);
    return bytes.subspan(count);
}

// Digests whole blocks and keeps the rest; no other block waits.
void Md5::keep(std::span<const uint8_t> bytes) {
    const size_t blocks = bytes.size() / kBlockBytes;
    digest_one(state_, bytes.data(), blocks);
    const std::span<const uint8_t> rest = bytes.subspan(blocks * kBlockBytes);
    std::copy(rest.begin(), rest.end(), block_.begin());
    length_ += bytes.size();
}

void Md5::add(std::span<const uint8_t> bytes) {
    bytes = fill_block(bytes);
    if (!bytes.empty()) keep(bytes);
}

void Md5::add_both(Md5 &first, std::span<const uint8_t> to_first, Md5 &second,
                   std::span<const uint8_t> to_second) {
    to_first = first.fill_block(to_first);
    to_second = second.fill_block(to_second);
    const size_t blocks = std::min(to_first.size(), to_second.size()) / kBlockBytes;
    if (blocks > 0) {
        State<2> lanes;
        for (size_t i = 0; i < lanes.size(); ++i)
            lanes[i] = {first.state_[i], second.state_[i]};
        digest<2>(lanes, {to_first.data(), to_second.data()}, blocks);
        for (size_t i = 0; i < lanes.size(); ++i) {
            first.state_[i] = lanes[i][0];
            second.state_[i] = lanes[i][1];
        }
        first.length_ += blocks * kBlockBytes;
        second.length_ += blocks * kBlockBytes;
    }
    first.add(to_first.subspan(blocks * kBlockBytes));
    second.add(to_second.subspan(blocks * kBlockBytes));
}

std::string Md5::text() {
    const uint64_t bits = length_ * 8;
    const size_t waiting = length_ % kBlockBytes, zeros = (waiting < 56 ? 56 : 120) - waiting - 1;
    std::array<uint8_t, 2 *kBlockBytes> end = {0x80};
    for (size_t i = 0; i < sizeof(bits); ++i)
        end[1 + zeros + i] = static_cast<uint8_t>(bits >> 8 * i);
    add(std::span(end).first(1 + zeros + sizeof(bits)));
    std::string text;
    for (const uint32_t word : state_)
        text += fmt::format("{:08x}", __builtin_bswap32(word));
    return text;
}

std::string md5_of(std::span<const uint8_t> bytes) {
    Md5 digest;
    digest.add(bytes);
    return digest.text();
}

}  // namespace quorv::tool
