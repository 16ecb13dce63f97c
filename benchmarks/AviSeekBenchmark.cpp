// How the cost of seeking and of loading the index grows with the number of frames.

#include <cstdio>
#include <cstdlib>
#include <random>

#include <quorv/avi_splitter.h>
#include "support/AviBuilder.h"

#include "support/BestTimes.h"
#include "support/MemoryStream.h"
#include "support/OpenFile.h"

namespace {

using namespace quorv::bench;
using namespace quorv::test;

constexpr uint32_t kFrameMs = 40;
constexpr uint32_t kFramesPerKeyFrame = 12;

std::vector<uint8_t> build(uint32_t frames, IndexKind index) {
    AviBuilder builder({video_stream(tag("MJPG"))}, index);
    for (uint32_t i = 0; i < frames; ++i)
        builder.frame(0, 16, i % kFramesPerKeyFrame == 0);
    return builder.build().flatten();
}

uint32_t seek(SplitterHandle handle, uint32_t time) {
    if (AVI_SPLITER_Seek(handle, 1, &time, SPLITER_SEEK_BACKWARD) != SPLITER_OK) {
        fprintf(stderr, "a seek failed\n");
        exit(EXIT_FAILURE);
    }
    return time;
}

// Opening reads an OpenDML index whole and one block of a legacy one; the first seek reads the rest of that.
void load(const std::vector<uint8_t> &bytes, uint32_t last) {
    MemoryStream stream(bytes);
    OpenFile avi(stream.record());
    seek(avi.handle(), last);
}

void seek_anywhere(const std::vector<uint8_t> &bytes, uint32_t last, benchmark::State &state) {
    MemoryStream stream(bytes);
    OpenFile avi(stream.record());
    seek(avi.handle(), last);
    std::minstd_rand random(1);
    for (auto _ : state)
        seek(avi.handle(), static_cast<uint32_t>(random() % last));
}

void measure(uint32_t frames, IndexKind index, const char *name) {
    const std::vector<uint8_t> bytes = build(frames, index);
    const uint32_t last = (frames - 1) * kFrameMs;
    benchmark::RegisterBenchmark("load", [&](benchmark::State &state) {
        for (auto _ : state)
            load(bytes, last);
    });
    benchmark::RegisterBenchmark("seek", [&](benchmark::State &state) { seek_anywhere(bytes, last, state); });
    BestTimes times;
    times.run();
    printf("| %s | %u | %.2f | %.0f | %.0f |\n", name, frames, times.seconds("load") * 1e3,
           times.seconds("load") / frames * 1e9, times.seconds("seek") * 1e9);
}

}  // namespace

int main(int argc, char **argv) {
    initialize(argc, argv);
    printf("| index | entries | open and load whole, ms | ns an entry | ns a random seek |\n");
    printf("| --- | ---: | ---: | ---: | ---: |\n");
    for (const uint32_t frames : {10000u, 100000u, 1000000u}) {
        measure(frames, IndexKind::Legacy, "idx1");
        measure(frames, IndexKind::OpenDml, "OpenDML");
    }
}
