// How often the caller's stream is called while the frames of interleaved files are read, and while the files
// are opened.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/AsfBuilder.h"
#include "support/AviBuilder.h"
#include "support/LargeAsf.h"
#include "support/MemoryStream.h"
#include "support/OpenFile.h"

namespace {

using namespace quorv::bench;
using namespace quorv::test;

constexpr uint32_t kTurns = 2000;
constexpr uint32_t kVideoBytes = 3000, kSoundBytes = 640;
// Half a PCM chunk and a piece as the splitter cuts it.
constexpr uint32_t kPcmBytes = 7680;

struct Sample {
    std::string name;
    Bytes bytes;
    const SplitterApi &api = kAviSplitter;
};

struct Layout {
    const char *name;
    uint32_t sound_tracks;
    uint32_t extra_bytes;  // up to so many in each chunk, so that sizes are odd and even
    bool rec_lists;
    IndexKind index;
};

Sample build(const Layout &layout) {
    std::vector<AviStream> streams{video_stream(tag("MJPG"))};
    streams.insert(streams.end(), layout.sound_tracks, mp3_stream(48000, 1920, 1920));
    AviBuilder builder(streams, layout.index);
    for (uint32_t turn = 0; turn < kTurns; ++turn) {
        if (layout.rec_lists) builder.begin_rec();
        builder.frame(0, kVideoBytes + turn % (layout.extra_bytes + 1));
        for (uint32_t track = 1; track <= layout.sound_tracks; ++track)
            builder.frame(track, kSoundBytes + turn * 7 % (layout.extra_bytes + 1));
        if (layout.rec_lists) builder.end_rec();
    }
    return {layout.name, builder.build().flatten()};
}

Sample build_pcm() {
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream(48000, 4)});
    for (uint32_t turn = 0; turn < kTurns; ++turn)
        builder.frame(0, kVideoBytes).frame(1, kPcmBytes);
    return {"a PCM chunk of two pieces a frame", builder.build().flatten()};
}

Sample build_asf(const AsfShape &shape) {
    AsfBuilder builder({asf_video(1), asf_audio(2)},
                       {.packet_size = shape.packet_bytes, .widths = {.padding = 2}});
    for (uint32_t turn = 0; turn < kTurns; ++turn)
        builder.frame(0, turn * 24, shape.frame_kilobytes << 10, turn % 50 == 0).frame(1, turn * 24, 960);
    return {file_text(shape.name, shape.frame_kilobytes, Sound::Wma), builder.build(), kAsfSplitter};
}

std::vector<Sample> all_samples(const std::vector<std::string> &paths) {
    std::vector<Sample> samples;
    for (const Layout &layout :
         {Layout{"video alone", 0, 0, false, IndexKind::Legacy},
          Layout{"a sound chunk a frame", 1, 0, false, IndexKind::Legacy},
          Layout{"the same, odd sizes", 1, 13, false, IndexKind::Legacy},
          Layout{"the same in \"rec \" lists", 1, 0, true, IndexKind::Legacy},
          Layout{"\"rec \" lists, odd sizes", 1, 13, true, IndexKind::Legacy},
          Layout{"a sound chunk a frame, OpenDML index", 1, 0, false, IndexKind::OpenDml},
          Layout{"a sound chunk a frame, no index", 1, 0, false, IndexKind::None},
          Layout{"two sound tracks", 2, 0, false, IndexKind::Legacy}})
        samples.push_back(build(layout));
    samples.push_back(build_pcm());
    for (const std::string &path : paths) {
        std::ifstream file(path, std::ios::binary);
        samples.push_back({std::filesystem::path(path).filename(),
                           Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>())});
    }
    samples.push_back(build_asf(kUsualAsf));
    for (const AsfShape &shape : kAsfShapes)
        samples.push_back(build_asf(shape));
    return samples;
}

void count_reading(const Sample &sample) {
    std::vector<uint8_t> buffer(1 << 20);
    printf("| %s |", sample.name.c_str());
    uint64_t frames = 0;
    CallCounts in_time;
    for (const ReadOrder order : {ReadOrder::TrackByTrack, ReadOrder::InTime, ReadOrder::Alternately}) {
        MemoryStream stream(sample.bytes);
        OpenFile file(stream.record(), sample.api);
        stream.counts = {};
        frames = file.read_all(order, buffer);
        printf(" %.2f |", static_cast<double>(stream.counts.all()) / static_cast<double>(frames));
        if (order == ReadOrder::InTime) in_time = stream.counts;
    }
    printf(" %llu |\n", static_cast<unsigned long long>(frames));
}

void count_opening(const Sample &sample) {
    MemoryStream stream(sample.bytes);
    OpenFile file(stream.record(), sample.api);
    const CallCounts &counts = stream.counts;
    printf("| %s | %llu | %llu | %llu | %llu | %llu |\n", sample.name.c_str(),
           static_cast<unsigned long long>(counts.all()), static_cast<unsigned long long>(counts.reads),
           static_cast<unsigned long long>(counts.seeks),
           static_cast<unsigned long long>(counts.tells + counts.sizes + counts.opens),
           static_cast<unsigned long long>(counts.bytes));
}

}  // namespace

int main(int argc, char **argv) {
    CLI::App app("Counts the callbacks that opening and reading files take");
    std::vector<std::string> paths;
    app.add_option("file", paths, "AVI files to count as well")->check(CLI::ExistingFile);
    CLI11_PARSE(app, argc, argv);

    const std::vector<Sample> samples = all_samples(paths);
    puts(
        "| file | track by track | in time order | alternately | frames |\n"
        "| --- | ---: | ---: | ---: | ---: |");
    for (const Sample &sample : samples)
        count_reading(sample);
    puts(
        "\n| file | callbacks to open it | reads | seeks | others | bytes read |\n"
        "| --- | ---: | ---: | ---: | ---: | ---: |");
    for (const Sample &sample : samples)
        count_opening(sample);
    return 0;
}
