// INFO lists; see the header.

#include "RiffInfo.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "Riff.h"

namespace quorv::tool {

namespace {

// A file of which each chunk is looked at has no more of them outside of its media.
constexpr int kMostChunks = 10000;
constexpr uint64_t kLongestInfo = 4096;

constexpr struct {
    std::string_view id, name;
} kNames[] = {
    {"INAM", "title"},       {"IART", "artist"},    {"IPRD", "album"},      {"ITRK", "tracknumber"},
    {"IPRT", "tracknumber"}, {"ICRD", "date"},      {"IDIT", "recorded"},   {"IGNR", "genre"},
    {"ICMT", "comment"},     {"ISBJ", "subject"},   {"IKEY", "keywords"},   {"ICOP", "copyright"},
    {"ISFT", "software"},    {"IENG", "engineer"},  {"ITCH", "technician"}, {"ISRC", "source"},
    {"IMED", "medium"},      {"ILNG", "language"},  {"IAS1", "language"},   {"ICMS", "commissioned by"},
    {"IARL", "archived at"}, {"ISMP", "time code"}, {"IWRI", "written by"}, {"ISTR", "starring"},
    {"IPRO", "produced by"},
};

struct Chunk {
    std::string id;
    uint64_t data, size;  // where its data begins, and how much of it the file has
    uint64_t next;
};

// Reads the header of the chunk at a place; false when none fits in front of the end.
bool read_chunk(FileSource &file, uint64_t at, uint64_t end, Chunk *chunk) {
    std::array<uint8_t, kChunkHeaderBytes> head = {};
    if (end < at || end - at < head.size() || file.read_at(at, head) < head.size()) return false;
    const uint64_t size = load_le32(&head[4]);
    chunk->id.assign(head.begin(), head.begin() + 4);
    chunk->data = at + head.size();
    chunk->size = std::min(size, end - chunk->data);
    chunk->next = chunk->data + padded(size);
    return true;
}

std::string bytes_at(FileSource &file, uint64_t at, uint64_t size) {
    std::vector<uint8_t> bytes(static_cast<size_t>(std::min(size, kLongestInfo)));
    bytes.resize(file.read_at(at, bytes));
    return {bytes.begin(), bytes.end()};
}

bool is_utf8(std::string_view text) {
    size_t following = 0;
    for (const char c : text) {
        const auto byte = static_cast<uint8_t>(c);
        const bool follows = (byte & 0xC0) == 0x80;
        if (follows != (following > 0)) return false;
        if (follows) {
            --following;
        } else if (byte >= 0x80) {
            following = byte >= 0xF0 ? 3 : byte >= 0xE0 ? 2 : 1;
            if (byte < 0xC2 || byte > 0xF4) return false;
        }
    }
    return following == 0;
}

// Up to the first zero, without blanks around it. No list says which letters it is written in: what is not
// UTF-8 is taken for Latin-1.
std::string readable(std::string text) {
    text.erase(std::min(text.find('\0'), text.size()));
    text.erase(text.find_last_not_of(" \r\n\t") + 1);
    if (is_utf8(text)) return text;
    std::string utf8;
    for (const char c : text) {
        const auto byte = static_cast<uint8_t>(c);
        if (byte >= 0x80) utf8 += static_cast<char>(0xC0 | byte >> 6);
        utf8 += static_cast<char>(byte < 0x80 ? byte : 0x80 | (byte & 0x3F));
    }
    return utf8;
}

class InfoWalk {
public:
    InfoWalk(FileSource &file, Tags *tags) : file_(file), tags_(tags) {}

    // The chunks of a list; lists in it are walked where they may hold what is looked for.
    void walk(uint64_t begin, uint64_t end, std::string_view list) {
        Chunk chunk;
        for (uint64_t at = begin; chunks_left_ > 0 && read_chunk(file_, at, end, &chunk); at = chunk.next) {
            --chunks_left_;
            if (chunk.id != "LIST") {
                take(chunk);
                continue;
            }
            const std::string type = bytes_at(file_, chunk.data, 4);
            const bool is_stream = type == "strl" && list == "hdrl";
            if (is_stream) ++stream_;
            if (is_stream || (list == "RIFF" && (type == "INFO" || type == "hdrl")))
                walk(chunk.data + 4, chunk.data + chunk.size, type);
        }
    }

private:
    void take(const Chunk &chunk) {
        if (chunk.id == "vprp" && stream_ != 0) take_properties(bytes_at(file_, chunk.data, chunk.size));
        for (const auto &known : kNames) {
            if (known.id == chunk.id)
                tags_->add(std::string(known.name), readable(bytes_at(file_, chunk.data, chunk.size)));
        }
    }

    // Of video: how it is to be shown, which the codec's own headers need not tell.
    void take_properties(const std::string &record) {
        constexpr size_t kAspectHeight = 20, kAspectWidth = 22, kFields = 32;
        TrackNote &note = tags_->note(stream_);
        note.aspect_width = field_le16(record, kAspectWidth);
        note.aspect_height = field_le16(record, kAspectHeight);
        note.fields = field_le32(record, kFields);
    }

    FileSource &file_;
    Tags *tags_;
    int chunks_left_ = kMostChunks;
    uint32_t stream_ = 0;  // in whose list it is, counted from 1; 0: in none so far
};

}  // namespace

void read_riff_info(FileSource &file, Tags *tags) {
    Chunk segment;
    if (!read_chunk(file, 0, file.size(), &segment)) return;
    // Writers that cannot go back leave the outermost size open.
    const uint64_t end = segment.size < kListHeaderBytes ? file.size() : segment.data + segment.size;
    InfoWalk(file, tags).walk(kListHeaderBytes, end, "RIFF");
}

}  // namespace quorv::tool
