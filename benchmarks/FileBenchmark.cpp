// Reading every frame of a 1 GB file on disk, warm in the page cache: CPU seconds, user and system, of
// whole processes. The splitter is measured against a plain read of the file in blocks of 64 KB and against
// GStreamer's demuxer.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>

#include "support/ChildProcess.h"
#include "support/FileStream.h"
#include "support/LargeAsf.h"
#include "support/LargeAvi.h"
#include "support/OpenFile.h"

namespace {

using namespace quorv::bench;

constexpr size_t kPlainBlock = 65536;
constexpr size_t kTurns = 15;

int read_plainly(const std::string &path) {
    const int file = open(path.c_str(), O_RDONLY);
    std::vector<uint8_t> block(kPlainBlock);
    ssize_t got = file < 0 ? -1 : 1;
    while (got > 0)
        got = read(file, block.data(), block.size());
    close(file);
    return got == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

bool is_asf(const std::string &path) {
    return path.ends_with(".asf");
}

int read_frames(const std::string &path, bool buffered) {
    FileStream stream(path, buffered);
    std::vector<uint8_t> frame(size_t{256} << 10);
    const quorv::test::SplitterApi &api =
        is_asf(path) ? quorv::test::kAsfSplitter : quorv::test::kAviSplitter;
    return OpenFile(stream.record(), api).read_all(ReadOrder::InTime, frame) > 0 ? EXIT_SUCCESS
                                                                                 : EXIT_FAILURE;
}

std::vector<std::string> peer_command(const std::string &path, Sound sound) {
    // No queues: one thread does all the work, and none is spent on handing over.
    std::vector<std::string> words{"gst-launch-1.0",   "-q", "filesrc",
                                   "location=" + path, "!",  is_asf(path) ? "asfdemux" : "avidemux",
                                   "name=demux"};
    for (int i = 0; i < (sound == Sound::None ? 1 : 2); ++i)
        words.insert(words.end(), {"demux.", "!", "fakesink", "async=false", "sync=false"});
    return words;
}

struct Contender {
    std::vector<std::string> command;
    std::vector<double> seconds = {};  // of each turn
};

using Times = std::vector<double>;  // of the contenders in one turn

// The median over all turns of what `value` makes of their times.
double median(const std::vector<Contender> &contenders, const std::function<double(const Times &)> &value) {
    std::vector<double> values;
    for (size_t turn = 0; turn < kTurns; ++turn) {
        Times times;
        for (const Contender &contender : contenders)
            times.push_back(contender.seconds[turn]);
        values.push_back(value(times));
    }
    const auto middle = values.begin() + kTurns / 2;
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// The contenders take turns, and only times of the same turn are compared: they met the same machine.
void measure(std::vector<Contender> &contenders) {
    for (size_t turn = 0; turn < kTurns; ++turn) {
        for (Contender &contender : contenders) {
            const ChildUsage usage = run_child(contender.command);
            if (usage.disk_blocks_in != 0) {
                std::cerr << contender.command[0] << ": the file did not stay in the page cache\n";
                exit(EXIT_FAILURE);
            }
            contender.seconds.push_back(usage.cpu_seconds);
        }
    }
}

void write_file(const std::string &path, const LargeFile &large) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char *>(large.bytes.data()),
               static_cast<std::streamsize>(large.bytes.size()));
    if (!file.flush()) {
        std::cerr << path << ": cannot be written\n";
        exit(EXIT_FAILURE);
    }
}

// `make` makes a file of so many bytes.
void measure_file(const std::string &self, const std::filesystem::path &folder, const std::string &format,
                  uint32_t frame_kilobytes, Sound sound, const std::function<LargeFile(uint64_t)> &make) {
    const std::string extension = sound == Sound::Wma || format != "AVI" ? ".asf" : ".avi";
    const std::string large = folder / ("large" + extension), tiny = folder / ("tiny" + extension);
    write_file(large, make(kGigabyte));
    write_file(tiny, make(uint64_t{4} * 1024 * frame_kilobytes));
    // What is not written to the disk yet must not be written during the measurement.
    sync();
    read_plainly(large);

    enum Who : size_t { Plain, Buffered, Pread, Peer, PeerStart };
    std::vector<Contender> contenders;
    for (const char *role : {"plain", "buffered", "pread"})
        contenders.push_back({{self, "--role", role, large}});
    contenders.push_back({peer_command(large, sound)});
    contenders.push_back({peer_command(tiny, sound)});
    measure(contenders);

    printf("| %s | %u KB | %s |", format.c_str(), frame_kilobytes, tracks_text(sound));
    for (const Who which : {Plain, Buffered, Pread, Peer})
        printf(" %.3f |", median(contenders, [which](const Times &t) { return t[which]; }));
    for (const Who which : {Buffered, Pread})
        printf(" %.2f |", median(contenders, [which](const Times &t) { return t[which] / t[Plain]; }));
    printf(" %.1f |", median(contenders, [](const Times &t) { return t[Peer] / t[Buffered]; }));
    printf(" %.1f |\n",
           median(contenders, [](const Times &t) { return (t[Peer] - t[PeerStart]) / t[Buffered]; }));
    fflush(stdout);
}

}  // namespace

int main(int argc, char **argv) {
    CLI::App app("CPU time of reading 1 GB files from disk");
    std::vector<uint32_t> sizes{4, 64, 256};
    std::string role, path;
    app.add_option("--sizes", sizes, "video frames of the AVI files, in kilobytes of 1024")
        ->check(CLI::Range(1, 256));
    app.add_option("--role", role, "be one of the measured processes, for this file")
        ->check(CLI::IsMember({"plain", "pread", "buffered"}));
    app.add_option("folder", path, "where the files are made; they stay there")->required();
    CLI11_PARSE(app, argc, argv);
    if (!role.empty()) return role == "plain" ? read_plainly(path) : read_frames(path, role == "buffered");

    puts(
        "| format | video frame | tracks | plain read, s | buffered, s | pread, s | peer, s | buffered / "
        "plain "
        "| pread / plain | peer / buffered | without its start |\n"
        "| --- | ---: | --- | ---: | ---: | ---: | ---: | ---: | ---: | ---: | ---: |");
    const std::string self = std::filesystem::canonical("/proc/self/exe");
    for (const uint32_t kilobytes : sizes) {
        for (const Sound sound : {Sound::None, Sound::Mp3, Sound::Pcm})
            measure_file(self, path, "AVI", kilobytes, sound,
                         [=](uint64_t total) { return make_large_avi(kilobytes << 10, sound, total); });
    }
    for (const AsfShape &shape : kAsfShapes) {
        for (const Sound sound : {Sound::None, Sound::Wma})
            measure_file(self, path, shape.name, shape.frame_kilobytes, sound,
                         [&shape, sound](uint64_t total) {
                             return make_large_asf(shape.packet_bytes, shape.frame_kilobytes << 10,
                                                   sound != Sound::None, total);
                         });
    }
    return 0;
}
