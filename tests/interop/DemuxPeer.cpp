// Runs the receiver and reads what it wrote; see the header.

#include "interop/DemuxPeer.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "support/TestFolder.h"

namespace quorv::test {
namespace {

constexpr int kNotInstalled = 77;

PeerTrack load_track(const std::filesystem::path &frames, const std::filesystem::path &bytes) {
    PeerTrack track;
    std::ifstream lines(frames);
    std::getline(lines, track.caps);
    const Bytes all = bytes_of_file(bytes);
    auto next = all.begin();
    PeerFrame frame;
    ptrdiff_t size = 0;
    while (lines >> frame.dts >> frame.pts >> frame.duration >> size >> frame.key) {
        if (size > all.end() - next) throw std::runtime_error("the receiver wrote fewer bytes than it lists");
        frame.data.assign(next, next + size);
        next += size;
        track.frames.push_back(frame);
    }
    return track;
}

}  // namespace

std::map<std::string, PeerTrack> demux_with_gstreamer(const std::string &element, const std::string &path,
                                                      std::string *why_not) {
    const std::string program = QUORV_DEMUX_FRAMES;
    if (program.empty()) {
        *why_not = "built without GStreamer's development files";
        return {};
    }
    const TestFolder folder;
    const std::string command = "'" + program + "' " + element + " '" + path + "' '" + folder.path("") + "'";
    const int status = system(command.c_str());
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNotInstalled) {
        *why_not = "GStreamer's " + element + " is not installed";
        return {};
    }
    if (status != 0) throw std::runtime_error("failed: " + command);
    std::map<std::string, PeerTrack> tracks;
    for (const auto &entry : std::filesystem::directory_iterator(folder.path(""))) {
        const std::filesystem::path &file = entry.path();
        if (file.extension() == ".frames")
            tracks[file.stem().string()] =
                load_track(file, std::filesystem::path(file).replace_extension(".bytes"));
    }
    return tracks;
}

int PeerTrack::caps_number(const std::string &field) const {
    const std::string pattern = " " + field + "=(int)";
    const size_t at = caps.find(pattern);
    return at == std::string::npos ? -1 : atoi(caps.c_str() + at + pattern.size());
}

FrameRate PeerTrack::frame_rate() const {
    const size_t at = caps.find(" framerate=(fraction)");
    FrameRate result;
    if (at != std::string::npos)
        sscanf(caps.c_str() + at, " framerate=(fraction)%u/%u", &result.rate, &result.scale);
    return result;
}

}  // namespace quorv::test
