// Reading every frame of a 1 GB AVI file on disk, warm in the page cache: CPU seconds, user and system, of
// whole processes. The splitter is measured against a plain read of the file in blocks of 64 KB and against
// GStreamer's avidemux.

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
#include "support/LargeAvi.h"
#include "support/OpenAvi.h"

namespace {

using namespace quorv::bench;

constexpr size_t kPlainBlock = 65536;
constexpr int kRepetitions = 15;

int read_plainly(const std::string &path) {
    const int file = open(path.c_str(), O_RDONLY);
    std::vector<uint8_t> block(kPlainBlock);
    ssize_t got = file < 0 ? -1 : 1;
    while (got > 0)
        got = read(file, block.data(), block.size());
    close(file);
    return got == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

int read_frames(const std::string &path, bool buffered) {
    FileStream stream(path, buffered);
    std::vector<uint8_t> frame(size_t{256} << 10);
    return OpenAvi(stream.record()).read_all(ReadOrder::InTime, frame) > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

std::vector<std::string> peer_command(const std::string &path, Sound sound) {
    // No queues: one thread does all the work, and none is spent on handing over.
    std::vector<std::string> words{"gst-launch-1.0", "-q",        "filesrc", "location=" + path, "!",
                                   "avidemux",       "name=demux"};
    for (int i = 0; i < (sound == Sound::None ? 1 : 2); ++i)
        words.insert(words.end(), {"demux.", "!", "fakesink", "async=false", "sync=false"});
    return words;
}

struct Contender {
    std::vector<std::string> command;
    double best = 1e9;
};

// The contenders take turns, so that a slow phase of the machine meets them all; the least time of each
// counts.
void measure(std::vector<Contender> &contenders) {
    for (int i = 0; i < kRepetitions; ++i) {
        for (Contender &contender : contenders) {
            const ChildUsage usage = run_child(contender.command);
            if (usage.disk_blocks_in == 0) contender.best = std::min(contender.best, usage.cpu_seconds);
        }
    }
    for (const Contender &contender : contenders) {
        if (contender.best < 1e9) continue;
        std::cerr << contender.command[0] << ": the file did not stay in the page cache\n";
        exit(EXIT_FAILURE);
    }
}

void write_avi(const std::string &path, uint32_t frame_kilobytes, Sound sound, uint64_t total) {
    const LargeAvi avi = make_large_avi(frame_kilobytes << 10, sound, total);
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char *>(avi.bytes.data()),
               static_cast<std::streamsize>(avi.bytes.size()));
    if (!file.flush()) {
        std::cerr << path << ": cannot be written\n";
        exit(EXIT_FAILURE);
    }
}

void measure_file(const std::string &self, const std::filesystem::path &folder, uint32_t frame_kilobytes,
                  Sound sound) {
    const std::string large = folder / "large.avi", tiny = folder / "tiny.avi";
    write_avi(large, frame_kilobytes, sound, kGigabyte);
    write_avi(tiny, frame_kilobytes, sound, uint64_t{4} * 1024 * frame_kilobytes);
    // What is not written to the disk yet must not be written during the measurement.
    sync();
    read_plainly(large);

    std::vector<Contender> contenders;
    for (const char *role : {"plain", "pread", "buffered"})
        contenders.push_back({{self, "--role", role, large}});
    contenders.push_back({peer_command(large, sound)});
    contenders.push_back({peer_command(tiny, sound)});
    measure(contenders);
    const double plain = contenders[0].best, pread = contenders[1].best, buffered = contenders[2].best;
    const double peer = contenders[3].best, peer_start = contenders[4].best;
    printf("| %u KB | %s | %.3f | %.3f | %.2f | %.3f | %.2f | %.3f | %.1f | %.1f |\n", frame_kilobytes,
           tracks_text(sound), plain, buffered, buffered / plain, pread, pread / plain, peer, peer / buffered,
           (peer - peer_start) / buffered);
    fflush(stdout);
}

}  // namespace

int main(int argc, char **argv) {
    CLI::App app("CPU time of reading 1 GB AVI files from disk");
    std::string folder = std::filesystem::temp_directory_path(), role, file;
    app.add_option("--folder", folder, "where there is room for the files")->check(CLI::ExistingDirectory);
    app.add_option("--role", role, "be one of the measured processes, for this file")
        ->check(CLI::IsMember({"plain", "pread", "buffered"}));
    app.add_option("file", file, "");
    CLI11_PARSE(app, argc, argv);
    if (!role.empty()) return role == "plain" ? read_plainly(file) : read_frames(file, role == "buffered");

    const std::filesystem::path work =
        std::filesystem::path(folder) / ("quorv-bench-" + std::to_string(getpid()));
    std::filesystem::create_directories(work);
    puts(
        "| video frame | tracks | plain read, s | buffered, s | / plain | pread, s | / plain | avidemux, s | "
        "avidemux / buffered | without its start |");
    puts("| ---: | --- | ---: | ---: | ---: | ---: | ---: | ---: | ---: | ---: |");
    for (const uint32_t frame_kilobytes : {4u, 64u, 256u}) {
        for (const Sound sound : {Sound::None, Sound::Mp3, Sound::Pcm})
            measure_file(std::filesystem::canonical("/proc/self/exe"), work, frame_kilobytes, sound);
    }
    std::filesystem::remove_all(work);
    return 0;
}
