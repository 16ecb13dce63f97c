// Running the peers and reading what they print; see the header.

#include "conformance/videoheader/Peers.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

namespace quorv::test {

TemporaryFile::TemporaryFile(const std::string &extension)
    : path_(testing::TempDir() + "quorv_" + std::to_string(getpid()) + extension) {}

TemporaryFile::~TemporaryFile() {
    remove(path_.c_str());
}

std::vector<uint8_t> TemporaryFile::read() const {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string run(const std::string &command) {
    std::string output;
    FILE *pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        ADD_FAILURE() << command << ": cannot be run";
        return output;
    }
    char block[4096];
    for (size_t count; (count = fread(block, 1, sizeof block, pipe)) > 0;)
        output.append(block, count);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

std::map<std::string, std::string> video_description(const std::string &path) {
    std::map<std::string, std::string> description;
    const auto all = nlohmann::json::parse(run("mediainfo --Output=JSON " + path), nullptr, false);
    if (!all.is_object()) {
        ADD_FAILURE() << path << ": not described";
        return description;
    }
    for (const auto &track : all.at("media").at("track"))
        if (track.at("@type") == "Video")
            for (const auto &[key, value] : track.items())
                if (value.is_string()) description.emplace(key, value.get<std::string>());
    return description;
}

uint32_t TraceElement::number() const {
    return value == "Yes" ? 1 : static_cast<uint32_t>(strtoul(value.c_str(), nullptr, 10));
}

std::vector<TraceElement> trace(const std::string &path) {
    // Fields read "0004   nal_unit_type:      9 (0x09) - (5 bits)"; lines without a value head a group.
    const std::regex line_format("([0-9A-F]+) +([A-Za-z0-9_]+): +([^ ].*)");
    std::vector<TraceElement> elements;
    std::istringstream lines(run("mediainfo --Details=9 --ParseSpeed=1 " + path));
    std::smatch match;
    for (std::string line; std::getline(lines, line);)
        if (std::regex_match(line, match, line_format))
            elements.push_back({std::stoul(match[1], nullptr, 16), match[2], match[3]});
    return elements;
}

}  // namespace quorv::test
