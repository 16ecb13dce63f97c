// Reading what an encoder says about a whole stream; see the header.

#include "media/XingHeader.h"

#include <string.h>

#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/Mp3SideInfo.h"

namespace quorv {

namespace {

constexpr uint32_t kHasFrames = 1, kHasBytes = 2, kHasPlaces = 4, kHasQuality = 8;
constexpr size_t kHeaderBytes = 4, kCheckBytes = 2;

// Big-endian fields one after another; what lies beyond the end reads as zero.
class Fields {
public:
    Fields(const uint8_t *bytes, size_t size) : bytes_(bytes), size_(size) {}

    bool has(size_t count) const { return size_ >= count; }
    uint32_t take(uint32_t bytes) {
        uint32_t value = 0;
        for (; bytes > 0; --bytes) {
            value = value << 8 | (size_ > 0 ? *bytes_ : 0);
            skip(1);
        }
        return value;
    }
    void copy(void *to, size_t count) {
        memcpy(to, bytes_, count);
        skip(count);
    }
    void skip(size_t count) {
        count = count < size_ ? count : size_;
        bytes_ += count;
        size_ -= count;
    }

private:
    const uint8_t *bytes_;
    size_t size_;
};

// The encoder's name and what follows it. Headers by others end in front of it, with zeros up to the frame's
// end.
void read_encoder(Fields fields, XingHeader *result) {
    constexpr size_t kNameBytes = sizeof(result->encoder) - 1, kToDelay = 12;
    if (!fields.has(kNameBytes + kToDelay + 3)) return;
    fields.copy(result->encoder, kNameBytes);
    for (const char *c = result->encoder; *c != 0; ++c) {
        if (*c < ' ' || *c > '~') result->encoder[0] = 0;
    }
    if (result->encoder[0] == 0) return;
    result->method = fields.take(1) & 0xF;
    result->lowpass = fields.take(1) * 100;
    fields.skip(kToDelay - 2);
    const uint32_t both = fields.take(3);
    result->delay = both >> 12;
    result->padding = both & 0xFFF;
}

void read_xing(Fields fields, XingHeader *result) {
    const uint32_t flags = fields.take(4);
    if ((flags & kHasFrames) != 0) result->frames = fields.take(4);
    if ((flags & kHasBytes) != 0) result->bytes = fields.take(4);
    if ((flags & kHasPlaces) != 0 && fields.has(sizeof(result->places))) {
        fields.copy(result->places, sizeof(result->places));
        result->has_places = true;
    }
    if ((flags & kHasQuality) != 0) result->quality = fields.take(4);
    read_encoder(fields, result);
}

void read_vbri(Fields fields, XingHeader *result) {
    constexpr size_t kToBytes = 6;
    fields.skip(kToBytes);
    result->bytes = fields.take(4);
    result->frames = fields.take(4);
}

}  // namespace

bool xing_read(const Mp3FrameHeader &header, const uint8_t *frame, size_t size, XingHeader *result) {
    constexpr size_t kVbriOffset = 36, kNameBytes = 4;
    *result = {};
    result->frames = result->bytes = -1;
    if (header.layer != 3) return false;
    // Some encoders leave no room for a check word although the frame has one.
    const size_t side_info = kHeaderBytes + mp3_side_info_size(header);
    const size_t offsets[] = {side_info, side_info + kCheckBytes, kVbriOffset};
    for (const size_t offset : offsets) {
        if (size < offset || size - offset < kNameBytes) continue;
        const uint8_t *name = frame + offset;
        const Fields fields(name + kNameBytes, size - offset - kNameBytes);
        result->is_constant_rate = memcmp(name, "Info", kNameBytes) == 0;
        if (result->is_constant_rate || memcmp(name, "Xing", kNameBytes) == 0) {
            read_xing(fields, result);
            return true;
        }
        if (offset == kVbriOffset && memcmp(name, "VBRI", kNameBytes) == 0) {
            read_vbri(fields, result);
            return true;
        }
    }
    return false;
}

XingTrim xing_trim(const XingHeader &xing, const Mp3FrameHeader &header) {
    constexpr XingTrim kNothing = {0, 0, -1};
    if (xing.frames <= 0 || xing.encoder[0] == 0 || (xing.delay == 0 && xing.padding == 0)) return kNothing;
    const int64_t samples = xing.frames * mp3_samples_per_frame(header);
    const uint32_t front = xing.delay + kMp3DecoderDelay;
    // The last samples of the sound are still inside the decoder when it was padded with less than its delay.
    const uint32_t back = xing.padding > kMp3DecoderDelay ? xing.padding - kMp3DecoderDelay : 0;
    if (samples < int64_t{front} + back) return kNothing;
    return {front, back, samples - front - back};
}

}  // namespace quorv
