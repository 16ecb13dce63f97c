// Finds out of which format a file is; see the header.

#include "media/MediaFormats.h"

#include "mp3dec/Mp3Tag.h"

namespace quorv {

namespace {

constexpr const MediaFormat *kFormats[] = {&kAviFormat, &kAsfFormat, &kMpegAudioFormat};

constexpr size_t kHeadBytes = 8192;
// Of tags one behind the other, which no program writes.
constexpr int kMostTags = 16;

const MediaFormat *most_certain(const uint8_t *head, size_t size) {
    const MediaFormat *best = nullptr;
    uint32_t certainty = 0;
    for (const MediaFormat *format : kFormats) {
        const uint32_t own = format->recognise(head, size);
        if (own <= certainty) continue;
        certainty = own;
        best = format;
    }
    return best;
}

}  // namespace

Code find_media_format(MediaSource *source, const MediaFormat **format) {
    const Owned<uint8_t[]> head = make_array<uint8_t>(kHeadBytes);
    if (head == nullptr) return Code::NoMemory;
    *format = nullptr;
    uint64_t offset = 0;
    for (int tags = 0; *format == nullptr && tags <= kMostTags; ++tags) {
        size_t got = 0;
        const Code code = source->read_at(offset, head.get(), kHeadBytes, &got);
        if (code != Code::Ok) return code;
        const uint64_t tag = got >= kMp3TagHead ? mp3_tag_length(head.get()) : 0;
        if (tag == 0) *format = most_certain(head.get(), got);
        if (tag == 0) break;
        offset += tag;
    }
    // There may be more padding behind a tag than was looked at.
    if (*format == nullptr && offset > 0) *format = &kMpegAudioFormat;
    // Other containers do not begin with a tag.
    const bool found =
        *format != nullptr && (offset == 0 || (*format)->container == QUORV_CONTAINER_MPEG_AUDIO);
    return found ? Code::Ok : Code::NoParser;
}

}  // namespace quorv
