// Finds the chunks of one track in the media data; see the header.

#include "aviparser/AviChunkSearch.h"

#include <string.h>

#include <algorithm>

#include "aviparser/AviRiff.h"
#include "aviparser/AviSegments.h"

namespace quorv {

namespace {

constexpr uint32_t kListHeaderBytes = 12, kListTypeBytes = 4;
constexpr uint32_t kResyncLimit = 0x20000;
// After this many single bytes without a chunk the search reads ahead: one of them may be just a pad byte.
constexpr uint32_t kReadAheadAfter = 2, kReadAheadBytes = 1024;
// A palette change of 256 entries has 4 + 1024 bytes.
constexpr uint32_t kPaletteChunkLimit = 1029;
constexpr uint32_t kNoStream = 100;

constexpr uint32_t type_code(char first, char second) {
    return static_cast<uint32_t>(first) << 8 | static_cast<uint32_t>(second);
}

uint32_t stream_number(const uint8_t *digits) {
    const uint32_t tens = digits[0] - uint32_t{'0'}, ones = digits[1] - uint32_t{'0'};
    return tens <= 9 && ones <= 9 ? 10 * tens + ones : kNoStream;
}

bool is_media_type(uint32_t type) {
    return type == type_code('d', 'c') || type == type_code('d', 'b') || type == type_code('w', 'b') ||
           type == type_code('t', 'x');
}

bool is_letter(uint8_t byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

bool is_riff(const uint8_t *id) {
    return memcmp(id, "RIFF", 4) == 0;
}

// Chunks that belong to no track's media.
bool is_other_chunk(const uint8_t *id) {
    return memcmp(id, "JUNK", 4) == 0 || memcmp(id, "idx1", 4) == 0 ||
           (memcmp(id, "RES", 3) == 0 && id[3] >= '1') ||
           (memcmp(id, "ix", 2) == 0 && stream_number(id + 2) != kNoStream);
}

}  // namespace

AviChunkSearch::AviChunkSearch(AviContext *context, AviTrack *track, int64_t start, uint32_t *chunks_left)
    : context_(*context), track_(*track), chunks_left_(chunks_left), position_(start) {}

// What may be a chunk's header. Code::EndOfStream where the source ends.
Code AviChunkSearch::view_header(const uint8_t **header) {
    if (chunks_left_ != nullptr && bytes_in_a_row_ == 0) {
        if (*chunks_left_ == 0) return Code::EndOfStream;
        --*chunks_left_;
    }
    // Chunks begin at even positions, so an odd one is that of a pad byte, with a header behind it.
    uint32_t wanted = kAviChunkHeaderBytes + static_cast<uint32_t>(position_ & 1);
    if (bytes_in_a_row_ >= kReadAheadAfter) wanted = kReadAheadBytes;
    wanted = static_cast<uint32_t>(std::min<int64_t>(wanted, context_.media.end - position_));
    const Code code = context_.source.view(position_, kAviChunkHeaderBytes, wanted, header);
    return code == Code::Ok && *header == nullptr ? Code::EndOfStream : code;
}

AviChunkSearch::Step AviChunkSearch::classify(const uint8_t *header) const {
    // Perhaps the header of a further segment; its size reaches beyond the media data.
    if (is_riff(header)) return Step::ListHeader;
    const uint32_t size = load_le32(header + 4);
    if (context_.media.end - position_ - kAviChunkHeaderBytes < size) return Step::Byte;
    // The chunks of a list are read one by one.
    if (memcmp(header, "LIST", 4) == 0) return Step::ListHeader;
    if (is_other_chunk(header)) return Step::Chunk;

    const uint32_t stream = stream_number(header);
    const uint32_t type = type_code(static_cast<char>(header[2]), static_cast<char>(header[3]));
    const bool palette = type == type_code('p', 'c');
    if (stream == kNoStream) return Step::Byte;
    if (type == type_code('i', 'x')) return Step::Chunk;
    // Streams without a header in this file: only what is surely a chunk is passed over whole.
    if (stream >= context_.track_count) return is_media_type(type) || palette ? Step::Chunk : Step::Byte;
    if (stream != track_.stream_number) {
        return is_letter(header[2]) && is_letter(header[3]) ? Step::Chunk : Step::Byte;
    }
    if (palette && size < kPaletteChunkLimit) return Step::Palette;
    return is_media_type(type) ? Step::Accept : Step::Byte;
}

void AviChunkSearch::skip_byte() {
    const bool pad = bytes_in_a_row_ == 0 && (position_ & 1) != 0;
    if (!pad) ++lost_bytes_;
    ++bytes_in_a_row_;
    ++position_;
}

// Bytes were stepped over up to there, the first of them perhaps a pad byte.
void AviChunkSearch::note_passed(int64_t end) {
    if (!context_.detailed || bytes_in_a_row_ == 0) return;
    const int64_t run = chunks_end();
    // The media data begins with its list type.
    const int64_t begin = std::max(run + (run & 1), context_.media.start + kListTypeBytes);
    track_.damage.passed.add(begin, end);
}

void AviChunkSearch::jump(int64_t position) {
    note_passed(position_);
    bytes_in_a_row_ = 0;
    position_ = position;
}

// At the end of the media data. Code::Ok when it has moved on, to the end of a further segment.
Code AviChunkSearch::enter_next_segment() {
    Found extended = Found::No;
    const Code code = avi_extend_media(&context_, &extended);
    // Behind the end of a source of unknown size every read may fail.
    if (code != Code::Ok && context_.media.size_known()) return code;
    if (extended == Found::Yes) return Code::Ok;
    reached_end_ = true;
    return Code::EndOfStream;
}

// Looks closer at what seems to be the header of a further segment.
Code AviChunkSearch::check_riff(const uint8_t *header, Step *step) {
    if (!is_riff(header)) return Code::Ok;
    Found segment = Found::No;
    const Code code = avi_is_segment(&context_, position_, &segment);
    if (code != Code::Ok && context_.media.size_known()) return code;
    if (segment == Found::No) *step = Step::Byte;
    return Code::Ok;
}

// Tells what lies at the position.
Code AviChunkSearch::look(Header *header) {
    const uint8_t *bytes = nullptr;
    const Code code = view_header(&bytes);
    if (code != Code::Ok) return code;
    *header = {classify(bytes), load_le32(bytes + 4), position_ + kAviChunkHeaderBytes};
    return check_riff(bytes, &header->step);
}

Code AviChunkSearch::next(AviChunk *chunk) {
    const Code code = find_next(chunk);
    if (code == Code::EndOfStream) note_passed(reached_end_ ? context_.media.end : position_);
    return code;
}

Code AviChunkSearch::find_next(AviChunk *chunk) {
    while (lost_bytes_ <= kResyncLimit) {
        const bool at_end = context_.media.end - position_ < kAviChunkHeaderBytes;
        Header header = {};
        Code code = at_end ? enter_next_segment() : look(&header);
        if (code != Code::Ok) return code;
        if (at_end) continue;
        const int64_t data_end = header.data_position + header.size;
        switch (header.step) {
            case Step::Byte:
                skip_byte();
                break;
            case Step::ListHeader:
                jump(header.data_position + (kListHeaderBytes - kAviChunkHeaderBytes));
                break;
            case Step::Palette:
                code = read_palette(header.data_position, header.size);
                if (code != Code::Ok) return code;
                jump(data_end);
                break;
            case Step::Chunk:
                context_.window.keep_chunk(position_, data_end - position_);
                jump(data_end);
                break;
            case Step::Accept:
                *chunk = {header.data_position, header.size};
                jump(data_end);
                return Code::Ok;
        }
    }
    return Code::EndOfStream;
}

// First index, count (0 for 256), two bytes of flags, then four bytes an entry.
Code AviChunkSearch::read_palette(int64_t position, uint32_t size) {
    uint8_t bytes[kPaletteChunkLimit];
    uint32_t delivered = 0;
    const Code code = context_.source.read_at(position, bytes, size, &delivered);
    if (code != Code::Ok || delivered < 4) return code;
    const uint32_t first = bytes[0] * 4u;
    const uint32_t stated = (bytes[1] == 0 ? 256u : bytes[1]) * 4;
    const uint32_t length = std::min({stated, delivered - 4, kAviPaletteBytes - first});
    memcpy(track_.palette.entries + first, bytes + 4, length);
    track_.palette.changed = true;
    return Code::Ok;
}

}  // namespace quorv
