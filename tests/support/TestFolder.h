// A folder of a test's own, gone with it.
#ifndef QUORV_TESTS_SUPPORT_TESTFOLDER_H
#define QUORV_TESTS_SUPPORT_TESTFOLDER_H

#include <filesystem>
#include <string>

#include "support/ByteStores.h"

namespace quorv::test {

class TestFolder {
public:
    // In this folder, or where there is none, in that for temporary files.
    explicit TestFolder(const std::filesystem::path &parent = {});
    ~TestFolder();
    TestFolder(const TestFolder &) = delete;
    TestFolder &operator=(const TestFolder &) = delete;

    std::string path(const std::string &name) const { return (folder_ / name).string(); }
    // Writes a file and returns its path.
    std::string put(const std::string &name, const Bytes &bytes) const;
    std::string put_text(const std::string &name, const std::string &text) const {
        return put(name, {text.begin(), text.end()});
    }
    Bytes get(const std::string &name) const;
    std::string get_text(const std::string &name) const {
        const Bytes bytes = get(name);
        return {bytes.begin(), bytes.end()};
    }
    // What the folder holds, hidden files as well, sorted.
    std::vector<std::string> names() const;

private:
    std::filesystem::path folder_;
};

// The file that is committed beside the tests: H.264 and MP3, written by a real muxer.
std::string real_sample();
Bytes bytes_of_file(const std::string &path);

}  // namespace quorv::test

#endif
