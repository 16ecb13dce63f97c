// The chunks of an AVI file, found without its index; see the header.

#include "AviChunkWalk.h"

#include <algorithm>
#include <array>

#include "ByteWindow.h"

namespace quorv::tool {

namespace {

constexpr uint32_t kMaxChunkBytes = 0x7FFFFFFF;  // what indexes of OpenDML have room for
constexpr uint32_t kMaxPalette = 1028;
constexpr uint32_t kMaxInformation = 1000000;
constexpr uint64_t kIndexEntryBytes = 16;
constexpr uint32_t kMaxFlags = 0x1FF;

constexpr uint16_t letters(char first, char second) {
    return static_cast<uint16_t>(static_cast<uint8_t>(first) | static_cast<uint8_t>(second) << 8);
}

struct TypeName {
    uint16_t letters;
    AviChunkType type;
};
constexpr TypeName kTypeNames[] = {
    {letters('d', 'c'), AviChunkType::Compressed}, {letters('d', 'b'), AviChunkType::Bitmap},
    {letters('w', 'b'), AviChunkType::Sound},      {letters('t', 'x'), AviChunkType::Text},
    {letters('p', 'c'), AviChunkType::Palette},
};

bool is_filling(uint32_t tag, const uint8_t *name) {
    return tag == riff_tag("JUNK") || (name[0] == 'R' && name[1] == 'E' && name[2] == 'S' && name[3] >= '1');
}

// Whether a chunk's name can begin with this byte.
constexpr std::array<bool, 256> kFirstBytes = [] {
    std::array<bool, 256> first = {};
    for (const char c : {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'L', 'R', 'J', 'i'})
        first[static_cast<uint8_t>(c)] = true;
    return first;
}();

class ChunkWalk {
public:
    ChunkWalk(FileSource &file, const AviHeaders &headers, const std::function<void(uint64_t)> &progress)
        : window_(file),
          size_(file.size()),
          streams_(headers.streams.size()),
          progress_(progress),
          position_(headers.media.begin),
          end_(checked_end(headers.media.end)) {}

    AviChunkMap run();

private:
    enum class Step { Byte, List, Whole, OldIndex, Index, Media };

    void walk_media();
    bool find_media();
    Step classify(const uint8_t *header) const;
    Step classify_list(uint32_t size);
    bool is_entry_of_index(const uint8_t *header);
    bool is_name_at(uint64_t position);
    bool is_segment();
    void skip_byte();
    void close_gap();
    uint64_t checked_end(uint64_t stated);
    bool enter(uint32_t tag, uint32_t size);
    bool step_over(uint32_t tag, uint32_t size, const uint8_t *name);
    void note_old_index(uint32_t size);

    ByteWindow window_;
    const uint64_t size_;
    const size_t streams_;
    const std::function<void(uint64_t)> &progress_;
    uint64_t position_, end_;  // of the media data
    std::optional<uint64_t> gap_;
    bool after_odd_ = false;  // a pad byte may follow
    AviChunkMap map_;
};

// What the header of a chunk says; lists and the like are looked at closer.
ChunkWalk::Step ChunkWalk::classify(const uint8_t *header) const {
    const uint32_t tag = load_le32(header), size = load_le32(header + 4);
    if (tag == riff_tag("LIST") || tag == riff_tag("RIFF")) return Step::List;
    const bool fits = end_ - position_ - kChunkHeaderBytes >= size;
    if (tag == riff_tag("idx1")) return Step::OldIndex;
    if (!fits || size > kMaxChunkBytes) return Step::Byte;
    if (is_filling(tag, header)) return Step::Whole;
    if (is_index_name(header)) return Step::Index;
    const std::optional<AviChunk> chunk = chunk_of_name(header, kMaxStreams);
    if (!chunk || (!chunk->is_frame() && size > kMaxPalette)) return Step::Byte;
    // Of streams without a header nothing can be made.
    return chunk->stream < streams_ ? Step::Media : Step::Whole;
}

// Lists in the media data are entered, but for those of something else.
ChunkWalk::Step ChunkWalk::classify_list(uint32_t size) {
    const std::span<const uint8_t> header = window_.view(position_, kListHeaderBytes);
    if (header.empty()) return Step::Byte;
    if (is_segment()) return Step::List;
    const uint32_t type = load_le32(header.data() + 8);
    if (load_le32(header.data()) == riff_tag("RIFF")) return Step::Byte;
    if (type == riff_tag("rec ") || type == riff_tag("movi")) return Step::List;
    return end_ - position_ - kChunkHeaderBytes >= size ? Step::Whole : Step::Byte;
}

bool ChunkWalk::is_segment() {
    const std::span<const uint8_t> header = window_.view(position_, kListHeaderBytes);
    return !header.empty() && load_le32(header.data()) == riff_tag("RIFF") &&
           load_le32(header.data() + 8) == riff_tag("AVIX");
}

// An index whose own header is damaged looks like very small chunks, with flags for sizes.
bool ChunkWalk::is_entry_of_index(const uint8_t *header) {
    const uint32_t flags = load_le32(header + 4);
    const bool is_real = kChunkHeaderBytes + padded(flags) == kIndexEntryBytes;
    if (flags > kMaxFlags || is_real) return false;
    if (is_name_at(position_ + kChunkHeaderBytes)) return false;
    // Three names at the distance of entries, one of them here, and none between them.
    const auto begins_row = [this](uint64_t first) {
        const uint64_t second = first + kIndexEntryBytes, third = second + kIndexEntryBytes;
        return is_name_at(first) && is_name_at(second) && is_name_at(third) &&
               !is_name_at(first + kChunkHeaderBytes) && !is_name_at(second + kChunkHeaderBytes);
    };
    return begins_row(position_) || begins_row(position_ - kIndexEntryBytes) ||
           begins_row(position_ - 2 * kIndexEntryBytes);
}

bool ChunkWalk::is_name_at(uint64_t position) {
    const std::span<const uint8_t> name = window_.view(position, 4);
    return !name.empty() && chunk_of_name(name.data(), streams_);
}

void ChunkWalk::skip_byte() {
    if (!gap_) gap_ = position_;
    const std::span<const uint8_t> near = window_.rest(++position_);
    position_ += static_cast<uint64_t>(
        std::find_if(near.begin(), near.end(), [](uint8_t byte) { return kFirstBytes[byte]; }) -
        near.begin());
    position_ = std::min(position_, end_);
}

void ChunkWalk::close_gap() {
    const uint64_t begin = gap_.value_or(position_) + (after_odd_ ? 1 : 0);
    if (begin < position_) map_.gaps.push_back({begin, position_});
    gap_.reset();
}

void ChunkWalk::walk_media() {
    while (position_ < end_ && end_ - position_ >= kChunkHeaderBytes) {
        const std::span<const uint8_t> header = window_.view(position_, kChunkHeaderBytes);
        if (header.empty()) break;
        std::array<uint8_t, kChunkHeaderBytes> bytes = {};
        std::copy(header.begin(), header.end(), bytes.begin());
        const uint32_t size = load_le32(&bytes[4]);
        Step step = classify(bytes.data());
        if (step == Step::List) step = classify_list(size);
        if (step == Step::Media && is_entry_of_index(bytes.data())) step = Step::Byte;
        if (step == Step::Byte) {
            skip_byte();
            continue;
        }
        close_gap();
        // What follows these is found by the outer walk.
        if (step == Step::OldIndex || (step == Step::List && is_segment())) return;
        if (step == Step::Index)
            map_.indexes.push_back({position_ + kChunkHeaderBytes, position_ + kChunkHeaderBytes + size});
        if (step == Step::Media) {
            AviChunk chunk = *chunk_of_name(bytes.data(), streams_);
            chunk.position = position_;
            chunk.size = size;
            map_.chunks.push_back(chunk);
        }
        position_ += step == Step::List ? kListHeaderBytes : uint64_t{kChunkHeaderBytes} + size;
        after_odd_ = step != Step::List && (size & 1) != 0;
        progress_(position_);
    }
    position_ = end_;
    close_gap();
    after_odd_ = false;
}

// Between the outermost chunks. True when further media data begins at the position.
bool ChunkWalk::find_media() {
    position_ = padded(position_);
    for (bool in_step = true; position_ < size_ && size_ - position_ >= kListHeaderBytes;) {
        const std::span<const uint8_t> header = window_.view(position_, kListHeaderBytes);
        const uint32_t tag = load_le32(header.data()), size = load_le32(header.data() + 4);
        const std::array<uint8_t, 4> name = {header[0], header[1], header[2], header[3]};
        if (enter(tag, size)) return true;
        if (is_segment()) {
            position_ += kListHeaderBytes;
        } else if (tag == riff_tag("idx1")) {
            note_old_index(size);
        } else if (in_step && chunk_of_name(name.data(), streams_) && size_ - position_ - 8 >= size) {
            end_ = size_;  // the list's own size is wrong
            return true;
        } else if (!in_step || !step_over(tag, size, name.data())) {
            end_ = size_;
            skip_byte();
            gap_.reset();
            in_step = false;
            continue;
        }
        in_step = true;
    }
    return false;
}

// A list whose stated end lies amid something else is taken to go on to the end of the file.
uint64_t ChunkWalk::checked_end(uint64_t stated) {
    const uint64_t end = padded(stated);
    const std::span<const uint8_t> behind = end < size_ ? window_.view(end, 4) : std::span<const uint8_t>();
    if (behind.empty()) return std::min(stated, size_);
    const uint32_t tag = load_le32(behind.data());
    const bool is_known = tag == 0 || tag == riff_tag("idx1") || tag == riff_tag("LIST") ||
                          tag == riff_tag("RIFF") || is_filling(tag, behind.data()) ||
                          is_index_name(behind.data()) || chunk_of_name(behind.data(), streams_);
    return is_known ? stated : size_;
}

bool ChunkWalk::enter(uint32_t tag, uint32_t size) {
    if (tag != riff_tag("LIST") ||
        load_le32(window_.view(position_, kListHeaderBytes).data() + 8) != riff_tag("movi"))
        return false;
    const uint64_t left = size_ - position_ - kChunkHeaderBytes;
    end_ = size < 4 || left < size ? size_ : checked_end(position_ + kChunkHeaderBytes + size);
    position_ += kListHeaderBytes;
    return true;
}

// Chunks of other kinds, as far as they are whole. False for what looks like none.
bool ChunkWalk::step_over(uint32_t tag, uint32_t size, const uint8_t *name) {
    const bool has_name = std::all_of(name, name + 4, [](uint8_t c) { return c >= ' ' && c <= '~'; });
    if (!has_name || size_ - position_ - kChunkHeaderBytes < size) return false;
    const uint64_t behind = position_ + kChunkHeaderBytes + padded(size);
    const std::span<const uint8_t> header = window_.view(position_, kListHeaderBytes);
    if (tag == riff_tag("LIST") && load_le32(header.data() + 8) == riff_tag("INFO") && size < kMaxInformation)
        map_.information.push_back({position_, behind});
    if (is_index_name(name)) map_.indexes.push_back({position_ + kChunkHeaderBytes, behind});
    position_ = behind;
    return true;
}

void ChunkWalk::note_old_index(uint32_t size) {
    const uint64_t begin = position_ + kChunkHeaderBytes, left = size_ - begin;
    if (!map_.old_index) map_.old_index = {begin, begin + std::min<uint64_t>(size, left)};
    position_ = begin + std::min(padded(size), left);
}

AviChunkMap ChunkWalk::run() {
    do {
        walk_media();
    } while (find_media());
    return std::move(map_);
}

}  // namespace

uint16_t type_letters(AviChunkType type) {
    return std::find_if(std::begin(kTypeNames), std::end(kTypeNames),
                        [type](const TypeName &name) { return name.type == type; })
        ->letters;
}

std::optional<AviChunk> chunk_of_name(const uint8_t *name, size_t streams) {
    const size_t stream = chunk_stream(name);
    if (stream >= std::min(streams, kMaxStreams)) return std::nullopt;
    const auto *const found =
        std::find_if(std::begin(kTypeNames), std::end(kTypeNames),
                     [name](const TypeName &type) { return type.letters == load_le16(name + 2); });
    if (found == std::end(kTypeNames)) return std::nullopt;
    AviChunk chunk;
    chunk.stream = static_cast<uint8_t>(stream);
    chunk.type = found->type;
    return chunk;
}

AviChunkMap walk_avi_chunks(FileSource &file, const AviHeaders &headers,
                            const std::function<void(uint64_t)> &progress) {
    return ChunkWalk(file, headers, progress).run();
}

}  // namespace quorv::tool
