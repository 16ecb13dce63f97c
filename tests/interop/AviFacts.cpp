// Reads headers and index; see the header. For well-formed files with stream numbers below ten.

#include "interop/AviFacts.h"

#include <algorithm>
#include <string_view>

namespace quorv::test {
namespace {

constexpr uint32_t kKeyFrameFlag = 0x10;

uint32_t le32_at(const Bytes &file, size_t at) {
    return file[at] | uint32_t{file[at + 1]} << 8 | uint32_t{file[at + 2]} << 16 |
           uint32_t{file[at + 3]} << 24;
}

std::string_view tag_at(const Bytes &file, size_t at) {
    return {reinterpret_cast<const char *>(file.data()) + at, 4};
}

StreamFacts read_stream_header(const Bytes &file, size_t body) {
    StreamFacts facts;
    facts.scale = le32_at(file, body + 20);
    facts.rate = le32_at(file, body + 24);
    facts.sample_size = tag_at(file, body) == "vids" ? 0 : le32_at(file, body + 44);
    return facts;
}

// How many reads deliver a chunk of that size.
size_t pieces_of(const StreamFacts &stream, uint32_t size) {
    if (stream.sample_size < 2) return 1;
    const uint64_t piece = stream.sample_size > 31 ? stream.sample_size : uint64_t{stream.sample_size} * 1024;
    return static_cast<size_t>((size + piece - 1) / piece);
}

void read_index(const Bytes &file, size_t body, size_t size, std::vector<StreamFacts> &streams) {
    struct Clock {
        uint64_t units = 0;
        size_t pieces = 0;
    };
    std::vector<Clock> clocks(streams.size());
    for (size_t entry = body; entry < body + size; entry += 16) {
        const auto number = static_cast<size_t>(file[entry + 1] - '0');
        const uint32_t length = le32_at(file, entry + 12);
        StreamFacts &stream = streams.at(number);
        Clock &clock = clocks[number];
        // The splitter's rule for what the index leaves unsaid: avimux flags no audio chunk at all.
        const bool key = (le32_at(file, entry + 4) & kKeyFrameFlag) != 0 || number == 1 ||
                         (stream.sample_size == 0 && stream.chunks.empty());
        stream.chunks.push_back({clock.units, clock.pieces, key});
        clock.units += stream.sample_size == 0 ? 1 : length;
        clock.pieces += pieces_of(stream, length);
    }
}

}  // namespace

std::vector<StreamFacts> avi_facts(const Bytes &file) {
    std::vector<StreamFacts> streams;
    for (size_t at = 12; at + 8 <= file.size();) {
        const std::string_view id = tag_at(file, at);
        const uint32_t size = le32_at(file, at + 4);
        if (id == "strh") streams.push_back(read_stream_header(file, at + 8));
        if (id == "idx1") read_index(file, at + 8, size, streams);
        const bool enter = id == "LIST" && tag_at(file, at + 8) != "movi";
        at += enter ? 12 : 8 + size + size % 2;
    }
    return streams;
}

}  // namespace quorv::test
