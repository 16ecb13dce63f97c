// Reads all packets of a file in memory once, in the order of time, and prints how many, for whoever counts
// instructions meanwhile: through the reader of any format, or through a splitter by the loop that a program
// would write itself.
//
// usage: media_read_once reader|avi|asf FILE     or: media_read_once path FILE, to read it from the disk

#include <quorv/quorv.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

#include "support/MemoryStream.h"
#include "support/SplitterFile.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kFirstRoom = 1 << 15;

// The names, open_with_ and read_with_, are what callgrind is told to count.
[[gnu::noinline]] QuorvReader *open_with_reader(const Bytes &file) {
    QuorvReader *reader = nullptr;
    return quorv_open_memory(file.data(), file.size(), &reader) == QUORV_OK ? reader : nullptr;
}

[[gnu::noinline]] uint64_t read_with_reader(QuorvReader *reader) {
    uint64_t count = 0;
    const QuorvPacket *packet = nullptr;
    while (quorv_read(reader, &packet) == QUORV_OK)
        ++count;
    quorv_close(reader);
    return count;
}

QuorvReader *open_path(const char *path) {
    QuorvReader *reader = nullptr;
    return quorv_open_path(path, &reader) == QUORV_OK ? reader : nullptr;
}

struct Next {
    uint32_t track;
    bool there;
    uint32_t room;
    std::unique_ptr<uint8_t[]> buffer;
    SplitterFrameInfo frame;
};

void give_room(Next *next, uint32_t room) {
    next->buffer = std::make_unique_for_overwrite<uint8_t[]>(room);
    next->room = room;
}

inline void read_next(const quorv::test::SplitterApi &api, SplitterHandle handle, Next *next) {
    for (;;) {
        const uint32_t code =
            api.read_frame(handle, next->track, next->buffer.get(), next->room, &next->frame);
        next->there = code == SPLITER_OK;
        if (code != SPLITER_ERR_BUFFER_TOO_SMALL || next->frame.size <= next->room) return;
        give_room(next, next->frame.size + next->frame.size / 4);
    }
}

[[gnu::noinline]] SplitterHandle open_with_splitter(const quorv::test::SplitterApi &api,
                                                    const SplitterStreamSource &source) {
    SplitterHandle handle = nullptr;
    return api.open(&source, 1, &handle) == SPLITER_OK ? handle : nullptr;
}

[[gnu::noinline]] uint64_t read_with_splitter(const quorv::test::SplitterApi &api, SplitterHandle handle) {
    uint64_t count = 0;
    SplitterTrackList list = {};
    api.enum_track(handle, &list);
    std::vector<Next> tracks(list.count);
    for (uint32_t i = 0; i < list.count; ++i) {
        tracks[i].track = list.entries[i].track;
        give_room(&tracks[i], kFirstRoom);
        read_next(api, handle, &tracks[i]);
    }
    for (;; ++count) {
        Next *earliest = nullptr;
        for (Next &next : tracks) {
            if (!next.there) continue;
            if (earliest == nullptr || next.frame.time_stamp < earliest->frame.time_stamp) earliest = &next;
        }
        if (earliest == nullptr) break;
        read_next(api, handle, earliest);
    }
    api.close(handle);
    return count;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) return 2;
    if (strcmp(argv[1], "path") == 0) {
        printf("%llu\n", static_cast<unsigned long long>(read_with_reader(open_path(argv[2]))));
        return 0;
    }
    std::ifstream stream(argv[2], std::ios::binary);
    const Bytes file{std::istreambuf_iterator<char>(stream), {}};
    uint64_t count = 0;
    if (strcmp(argv[1], "reader") == 0) {
        count = read_with_reader(open_with_reader(file));
    } else {
        quorv::bench::MemoryStream source(file);
        const bool asf = strcmp(argv[1], "asf") == 0;
        const quorv::test::SplitterApi &api = asf ? quorv::test::kAsfSplitter : quorv::test::kAviSplitter;
        count = read_with_splitter(api, open_with_splitter(api, source.record()));
    }
    printf("%llu\n", static_cast<unsigned long long>(count));
    return 0;
}
