// What an archive held when it was checked: the digests of each file and of its tracks, in a file of lines.
#ifndef QUORV_TOOLS_QUORV_MANIFEST_H
#define QUORV_TOOLS_QUORV_MANIFEST_H

#include <map>
#include <string>
#include <vector>

#include "Finding.h"

namespace quorv::tool {

struct ManifestFile {
    std::string md5;  // of all its bytes
    std::map<uint32_t, std::string>
        tracks;           // digests of frames by the track's number, those without any left out
    bool is_met = false;  // among the files that were checked
};

// The line that a file's result takes.
std::string manifest_line(const CheckResult &result);
// What stands in front of all lines.
std::string manifest_head();

class Manifest {
public:
    // Throws Failure.
    explicit Manifest(const std::string &path);
    // Whether a file begins as one.
    static bool is_manifest(const std::string &path);

    // Adds findings where the file differs from what it was.
    void compare(CheckResult &result);
    // Files inside of these folders that were not met.
    std::vector<std::string> missing(const std::vector<std::string> &folders) const;

private:
    void compare_tracks(const ManifestFile &known, CheckResult &result) const;
    bool find_moved(CheckResult &result);

    std::map<std::string, ManifestFile> files_;
    std::multimap<std::string, std::string> by_track_;  // names of files by the digest of a track
};

}  // namespace quorv::tool

#endif
