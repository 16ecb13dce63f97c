// Reading every frame of a 1 GB file in memory against memcpy of the same bytes: from the same places, in the
// same order and portions, into the same frame buffer.

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/BestTimes.h"
#include "support/LargeAsf.h"
#include "support/LargeAvi.h"
#include "support/MemoryStream.h"
#include "support/OpenFile.h"

namespace {

using namespace quorv::bench;

constexpr int kRepetitions = 15;

struct Portion {
    uint64_t position;
    uint32_t size;
};

// The portions in which the frames are delivered. Each is compared with the file on the way.
std::vector<Portion> read_portions(const LargeFile &file, const quorv::test::SplitterApi &api,
                                   std::vector<uint8_t> &buffer) {
    struct Cursor {
        size_t chunk = 0;
        uint32_t offset = 0;
    };
    std::vector<Portion> portions;
    std::vector<Cursor> cursors(3);
    uint64_t left = 0;
    for (const MediaChunk &chunk : file.chunks)
        left += chunk.size;
    MemoryStream stream(file.bytes);
    OpenFile open(stream.record(), api);
    open.read_all(ReadOrder::InTime, buffer, [&](uint32_t track, const uint8_t *data, uint32_t size) {
        Cursor &at = cursors[track];
        while (size != 0) {
            while (at.chunk < file.chunks.size() &&
                   (file.chunks[at.chunk].track != track || at.offset == file.chunks[at.chunk].size))
                at = {at.chunk + 1, 0};
            const MediaChunk &chunk = file.chunks.at(at.chunk);
            const Portion portion = {chunk.position + at.offset, std::min(size, chunk.size - at.offset)};
            if (memcmp(data, &file.bytes[portion.position], portion.size) != 0) {
                fprintf(stderr, "a frame of track %u differs from the file\n", track);
                exit(EXIT_FAILURE);
            }
            at.offset += portion.size;
            left -= portion.size;
            data += portion.size;
            size -= portion.size;
            portions.push_back(portion);
        }
    });
    if (left != 0) {
        fprintf(stderr, "%llu bytes were not delivered\n", static_cast<unsigned long long>(left));
        exit(EXIT_FAILURE);
    }
    return portions;
}

void measure(const char *format, const LargeFile &file, const quorv::test::SplitterApi &api,
             uint32_t frame_kilobytes, Sound sound) {
    std::vector<uint8_t> buffer(size_t{frame_kilobytes << 10});
    buffer.resize(std::max<size_t>(buffer.size(), 8192));
    const std::vector<Portion> portions = read_portions(file, api, buffer);

    const auto repeat = [](benchmark::internal::Benchmark *b) {
        b->Iterations(1)->Repetitions(kRepetitions);
    };
    repeat(benchmark::RegisterBenchmark("memcpy", [&](benchmark::State &state) {
        for (auto _ : state) {
            for (const Portion &portion : portions) {
                memcpy(buffer.data(), &file.bytes[portion.position], portion.size);
                benchmark::ClobberMemory();
            }
        }
    }));
    // Opening and closing are part of it, and so is all reading of the index.
    repeat(benchmark::RegisterBenchmark("frames", [&](benchmark::State &state) {
        MemoryStream stream(file.bytes);
        for (auto _ : state)
            benchmark::DoNotOptimize(OpenFile(stream.record(), api).read_all(ReadOrder::InTime, buffer));
    }));
    BestTimes times;
    times.run();
    const double copy = times.seconds("memcpy"), frames = times.seconds("frames");
    printf("| %s | %u KB | %s | %zu | %.3f | %.3f | %.2f | %.0f |\n", format, frame_kilobytes,
           tracks_text(sound), portions.size(), copy, frames, frames / copy,
           (frames - copy) / static_cast<double>(portions.size()) * 1e9);
    fflush(stdout);
}

}  // namespace

int main(int argc, char **argv) {
    initialize(argc, argv);
    puts(
        "| format | video frame | tracks | portions | memcpy, s | reading, s | reading / memcpy | ns a "
        "portion more |");
    puts("| --- | ---: | --- | ---: | ---: | ---: | ---: | ---: |");
    for (const uint32_t frame_kilobytes : {4u, 64u, 256u}) {
        for (const Sound sound : {Sound::None, Sound::Mp3, Sound::Pcm})
            measure("AVI", make_large_avi(frame_kilobytes << 10, sound, kGigabyte), quorv::test::kAviSplitter,
                    frame_kilobytes, sound);
    }
    for (const AsfShape &shape : kAsfShapes) {
        for (const Sound sound : {Sound::None, Sound::Wma})
            measure(shape.name,
                    make_large_asf(shape.packet_bytes, shape.frame_kilobytes << 10, sound != Sound::None,
                                   kGigabyte),
                    quorv::test::kAsfSplitter, shape.frame_kilobytes, sound);
    }
    return 0;
}
