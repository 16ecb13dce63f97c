// A folder of a test's own; see the header.

#include "support/TestFolder.h"

#include <fstream>
#include <stdexcept>

namespace quorv::test {

TestFolder::TestFolder(const std::filesystem::path &parent) {
    const bool given = std::filesystem::is_directory(parent);
    std::string name =
        ((given ? parent : std::filesystem::temp_directory_path()) / "quorv-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder " + name);
    folder_ = name;
}

TestFolder::~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string TestFolder::put(const std::string &name, const Bytes &bytes) const {
    std::ofstream file(path(name), std::ios::binary);
    file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw std::runtime_error("cannot write " + path(name));
    return path(name);
}

Bytes TestFolder::get(const std::string &name) const {
    return bytes_of_file(path(name));
}

std::vector<std::string> TestFolder::names() const {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(folder_))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string real_sample() {
    return QUORV_SAMPLES "/h264-mp3.avi";
}

Bytes bytes_of_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace quorv::test
