// Which files a command over many works on; see the header.

#include "FileList.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "Failure.h"

namespace quorv::tool {

namespace {

namespace fs = std::filesystem;

// How deep folders may lie in one another; who goes deeper would run out of names before.
constexpr int kDeepestFolder = 1000;

// The names in a folder, in order. False when it cannot be listed.
bool names_of(const std::string &folder, std::vector<std::string> &names) {
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error))
        names.push_back(entry->path().filename().native());
    std::sort(names.begin(), names.end());
    return !error;
}

void add_folder(const std::string &folder, int depth, std::vector<ListedFile> &files) {
    std::vector<std::string> names;
    if (!names_of(folder, names) || depth > kDeepestFolder) files.push_back({folder, true});
    const std::string start = folder.ends_with('/') ? folder : folder + '/';
    for (const std::string &name : names) {
        const std::string path = start + name;
        std::error_code error;
        // A link to a folder may lead back.
        if (fs::symlink_status(path, error).type() == fs::file_type::directory) {
            add_folder(path, depth + 1, files);
        } else if (fs::is_regular_file(path, error) || error) {
            files.push_back({path, false});
        }
    }
}

}  // namespace

std::vector<ListedFile> list_files(const std::vector<std::string> &paths) {
    std::vector<ListedFile> files;
    for (const std::string &path : paths) {
        std::error_code error;
        if (path != "-" && fs::is_directory(path, error)) {
            add_folder(path, 0, files);
        } else {
            files.push_back({path, true});
        }
    }
    return files;
}

std::vector<std::string> read_names(const std::string &path, bool zero_separated) {
    std::ifstream file;
    if (path != "-") file.open(path, std::ios::binary);
    if (!file) throw io_failure(errno);
    std::istream &in = path == "-" ? std::cin : file;
    std::vector<std::string> names;
    for (std::string name; std::getline(in, name, zero_separated ? '\0' : '\n');) {
        if (!name.empty()) names.push_back(name);
    }
    if (in.bad()) throw io_failure(EIO);
    return names;
}

}  // namespace quorv::tool
