// The bytes that a decoder works on; see the header.

#include "mp3dec/Mp3Feed.h"

#include <string.h>

#include <algorithm>
#include <utility>

#include "mp3dec/Mp3InputBuffer.h"

namespace quorv {

namespace {

constexpr uint64_t kGrowth = 4;

// Makes an empty copy with room for as much as so many bytes grow to.
bool allocate(uint64_t bytes, Mp3Feed *feed) {
    feed->capacity = static_cast<uint32_t>(std::min<uint64_t>(kGrowth * bytes, UINT32_MAX - kMp3EndPadding));
    feed->copy = make_array<uint8_t>(uint64_t{feed->capacity} + kMp3EndPadding);
    return feed->copy != nullptr;
}

void append(Mp3Feed *feed, const void *bytes, uint32_t count) {
    if (count == 0) return;
    memcpy(feed->copy.get() + feed->held, bytes, count);
    feed->held += count;
    feed->unconsumed += count;
}

void pad_end(Mp3Feed *feed) {
    // Once an end: a caller may ask again and again.
    if (feed->padded) return;
    constexpr uint8_t kZeros[kMp3EndPadding] = {};
    append(feed, kZeros, kMp3EndPadding);
    feed->padded = true;
}

// The stream goes on after all; what is left of the padding would tear its bytes apart.
void remove_padding(Mp3Feed *feed) {
    const uint32_t count = feed->padded ? std::min(kMp3EndPadding, feed->unconsumed) : 0;
    feed->held -= count;
    feed->unconsumed -= count;
    feed->padded = false;
}

// Appends what fits of the piece's rest.
void append_piece(Mp3Feed *feed, QuMp3Buffer *input) {
    const uint32_t count = std::min(input->length - input->result, feed->capacity - feed->held);
    append(feed, static_cast<const uint8_t *>(input->data) + input->result, count);
    input->result += count;
}

bool make_copy(Mp3Feed *feed, QuMp3Buffer *input, const uint8_t *position) {
    const auto *data = static_cast<const uint8_t *>(input->data);
    const uint32_t rest = input->length - static_cast<uint32_t>(position - data);
    if (rest > 0 && !allocate(rest, feed)) return false;
    append(feed, position, rest);
    input->result = input->length;
    return true;
}

bool grow_copy(Mp3Feed *feed, QuMp3Buffer *input) {
    Mp3Feed grown{};
    if (!allocate(uint64_t{feed->held} + (input->length - input->result), &grown)) return false;
    append(&grown, feed->copy.get(), feed->held);
    grown.unconsumed = feed->unconsumed;
    *feed = std::move(grown);
    append_piece(feed, input);
    return true;
}

}  // namespace

Mp3InputBytes feed_take(Mp3Feed *feed, QuMp3Buffer *input) {
    uint8_t *copy = feed->copy.get();
    if (copy == nullptr) return {static_cast<const uint8_t *>(input->data), input->length, nullptr};
    memmove(copy, copy + (feed->held - feed->unconsumed), feed->unconsumed);
    feed->held = feed->unconsumed;
    if (input->length == 0) {
        pad_end(feed);
    } else {
        remove_padding(feed);
        append_piece(feed, input);
    }
    const uint8_t *end = copy + feed->held;
    return {copy, feed->held, feed->padded ? end - std::min(kMp3EndPadding, feed->held) : nullptr};
}

void feed_consume(Mp3Feed *feed, QuMp3Buffer *input, const uint8_t *position) {
    if (feed->copy == nullptr)
        input->result = static_cast<uint32_t>(position - static_cast<const uint8_t *>(input->data));
    else
        feed->unconsumed = feed->held - static_cast<uint32_t>(position - feed->copy.get());
}

bool feed_extend(Mp3Feed *feed, QuMp3Buffer *input, const uint8_t *position, uint32_t wanted_room) {
    if (feed->copy == nullptr) return make_copy(feed, input, position);
    feed_consume(feed, input, position);
    const bool can_take_more = feed->unconsumed < feed->held || feed->held < feed->capacity;
    if (can_take_more || input->length == 0) return true;
    if (feed->capacity < wanted_room && grow_copy(feed, input)) return true;
    input->result = 0;
    return false;
}

}  // namespace quorv
