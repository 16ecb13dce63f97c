// Reading every frame of a file on disk, warm in the page cache, in CPU time, user and system: through the
// plainest callbacks that a program can write, and by GStreamer's demuxer, as multiples of reading the file
// in blocks of 64 KB.

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <CLI/CLI.hpp>
#include <cmath>
#include <ctime>
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
// No frame of these files is larger.
constexpr size_t kFrameRoom = size_t{1} << 20;

[[noreturn]] void fail(const std::string &path, const char *what) {
    std::cerr << path << ": " << what << "\n";
    exit(EXIT_FAILURE);
}

void read_plainly(const std::string &path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    std::vector<uint8_t> block(kPlainBlock);
    ssize_t got = file < 0 ? -1 : 1;
    while (got > 0)
        got = read(file, block.data(), block.size());
    close(file);
    if (got < 0) fail(path, "cannot be read");
}

bool is_asf(const std::string &path) {
    return path.ends_with(".asf");
}

template <typename Stream>
uint64_t read_frames(const std::string &path) {
    Stream stream(path);
    std::vector<uint8_t> frame(kFrameRoom);
    OpenFile file(stream.record(), is_asf(path) ? quorv::test::kAsfSplitter : quorv::test::kAviSplitter);
    return file.read_all(ReadOrder::InTime, frame);
}

std::vector<std::string> peer_command(const std::string &path, uint32_t tracks) {
    // No queues: one thread does all the work, and none is spent on handing over.
    std::vector<std::string> words{"gst-launch-1.0",   "-q", "filesrc",
                                   "location=" + path, "!",  is_asf(path) ? "asfdemux" : "avidemux",
                                   "name=demux"};
    for (uint32_t i = 0; i < tracks; ++i)
        words.insert(words.end(), {"demux.", "!", "fakesink", "async=false", "sync=false"});
    return words;
}

// CPU seconds of this process.
double cpu_seconds() {
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// Of this process; a program that it runs may have to read itself from the disk.
long disk_blocks() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_inblock;
}

enum Who : size_t { Plain, Pread, Stdio, Peer, PeerStart, Everyone };
using Times = std::array<double, Everyone>;  // CPU seconds
using Contenders = std::array<std::function<double()>, Everyone>;

// The least time of each, which other programs on the machine have disturbed least. The contenders take
// turns, so that they meet the same machine. A turn in which the disk was read does not count.
Times measure(const Contenders &contenders, uint32_t turns) {
    Times least;
    least.fill(HUGE_VAL);
    for (uint32_t turn = 0, tries = 0; turn < turns; ++tries) {
        if (tries == 10 * turns) fail("the file", "does not stay in the page cache");
        const long blocks_before = disk_blocks();
        Times times;
        for (size_t who = 0; who < Everyone; ++who)
            times[who] = contenders[who]();
        if (disk_blocks() != blocks_before) continue;
        ++turn;
        for (size_t who = 0; who < Everyone; ++who)
            least[who] = std::min(least[who], times[who]);
    }
    return least;
}

void write_file(const std::string &path, const LargeFile &large) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char *>(large.bytes.data()),
               static_cast<std::streamsize>(large.bytes.size()));
    if (!file.flush()) fail(path, "cannot be written");
}

class FileMeter {
public:
    FileMeter(const std::filesystem::path &folder, uint32_t turns, const std::string &only)
        : folder_(folder), turns_(turns), only_(only) {
        write_file(tiny(".avi"), make_large_avi(4096, Sound::Mp3, 1 << 16));
        write_file(tiny(".asf"), make_large_asf(3200, 4096, true, 1 << 16));
        puts(
            "| file | MB | frames | plain read, s | pread | stdio | GStreamer | without its start |\n"
            "| --- | ---: | ---: | ---: | ---: | ---: | ---: | ---: |");
    }

    bool is_wanted(const std::string &name) const { return name.find(only_) != std::string::npos; }

    // A file of one or two tracks.
    void measure_file(const std::string &name, const std::string &path, uint32_t tracks) {
        // What is not written to the disk yet must not be written during the measurement.
        sync();
        read_plainly(path);
        const uint64_t frames = read_frames<PreadStream>(path);
        if (frames != read_frames<StdioStream>(path)) fail(path, "has fewer frames the other way");
        const auto timed = [&path](auto read) {
            return [&path, read] {
                const double before = cpu_seconds();
                read(path);
                return cpu_seconds() - before;
            };
        };
        const auto peer = [tracks](const std::string &of) {
            return [command = peer_command(of, tracks)] { return run_child(command); };
        };
        const Times times =
            measure({timed(read_plainly), timed(read_frames<PreadStream>), timed(read_frames<StdioStream>),
                     peer(path), peer(tiny(is_asf(path) ? ".asf" : ".avi"))},
                    turns_);

        const double plain = times[Plain];
        printf("| %s | %.0f | %llu | %.4f | %.2f | %.2f | %.2f | %.2f |\n", name.c_str(),
               static_cast<double>(std::filesystem::file_size(path)) / 1e6,
               static_cast<unsigned long long>(frames), plain, times[Pread] / plain, times[Stdio] / plain,
               times[Peer] / plain, (times[Peer] - times[PeerStart]) / plain);
        fflush(stdout);
    }

    void measure_made(const std::string &name, const char *extension, Sound sound,
                      const std::function<LargeFile()> &make) {
        if (!is_wanted(name)) return;
        const std::string path = folder_ / (std::string("large") + extension);
        write_file(path, make());
        measure_file(name, path, sound == Sound::None ? 1 : 2);
    }

private:
    // A file of a few frames: reading it is all but the start of the process.
    std::string tiny(const char *extension) const { return folder_ / (std::string("tiny") + extension); }

    const std::filesystem::path folder_;
    const uint32_t turns_;
    const std::string only_;
};

void measure_asf(FileMeter *meter, const AsfShape &shape, Sound sound) {
    meter->measure_made(file_text(shape.name, shape.frame_kilobytes, sound), ".asf", sound, [&] {
        return make_large_asf(shape.packet_bytes, shape.frame_kilobytes << 10, sound != Sound::None,
                              shape.total);
    });
}

}  // namespace

int main(int argc, char **argv) {
    CLI::App app("CPU time of reading files from disk");
    uint32_t turns = 15;
    std::vector<std::string> files;
    std::string folder, only;
    app.add_option("--turns", turns, "how often each file is read by each")->check(CLI::Range(1, 1000));
    app.add_option("--only", only, "measure only the files whose name holds this");
    app.add_option("folder", folder, "where files are made; they stay there")->required();
    app.add_option("file", files, "AVI files with video and sound, to be measured first")
        ->check(CLI::ExistingFile);
    CLI11_PARSE(app, argc, argv);

    FileMeter meter(folder, turns, only);
    for (const std::string &path : files) {
        const std::string name = std::filesystem::path(path).stem();
        if (meter.is_wanted(name)) meter.measure_file(name, path, 2);
    }
    measure_asf(&meter, kUsualAsf, Sound::Wma);
    for (const uint32_t kilobytes : {4u, 64u, 256u}) {
        for (const Sound sound : {Sound::None, Sound::Mp3, Sound::Pcm})
            meter.measure_made(file_text("AVI", kilobytes, sound), ".avi", sound,
                               [=] { return make_large_avi(kilobytes << 10, sound, kGigabyte); });
    }
    for (const AsfShape &shape : kAsfShapes) {
        for (const Sound sound : {Sound::None, Sound::Wma})
            measure_asf(&meter, shape, sound);
    }
    return 0;
}
