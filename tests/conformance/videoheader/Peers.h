// Programs that make streams and programs that take them apart, to compare the parsers with.
#ifndef QUORV_TESTS_CONFORMANCE_VIDEOHEADER_PEERS_H
#define QUORV_TESTS_CONFORMANCE_VIDEOHEADER_PEERS_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace quorv::test {

// A file that is removed with its object.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string &extension);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    const std::string &path() const { return path_; }
    std::vector<uint8_t> read() const;

private:
    std::string path_;
};

// Runs a shell command and returns what it writes to its standard output; a test failure when it fails.
std::string run(const std::string &command);

// What mediainfo says about the first video track of a file.
std::map<std::string, std::string> video_description(const std::string &path);

// One syntax element as mediainfo met it: a byte offset, a name and the value's text.
struct TraceElement {
    size_t offset;
    std::string name;
    std::string value;

    uint32_t number() const;  // of a value such as "7 (0x07) - (5 bits)"; "Yes" is 1
};

// All syntax elements of a file in order.
std::vector<TraceElement> trace(const std::string &path);

}  // namespace quorv::test

#endif
