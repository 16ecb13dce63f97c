// Runs the programs that make streams and take them apart, to compare the parsers with.
#ifndef QUORV_TESTS_CONFORMANCE_VIDEOHEADER_PEERS_H
#define QUORV_TESTS_CONFORMANCE_VIDEOHEADER_PEERS_H

#include <gtest/gtest.h>
#include <stdio.h>

#include <cstdint>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace quorv::test {

// Runs a shell command and returns what it prints; a test failure when it fails.
inline std::string run(const std::string &command) {
    std::string output;
    FILE *const pipe = popen(command.c_str(), "r");
    for (int c; pipe != nullptr && (c = getc(pipe)) != EOF;)
        output += static_cast<char>(c);
    EXPECT_TRUE(pipe != nullptr && pclose(pipe) == 0) << command;
    return output;
}

// One syntax element as mediainfo met it.
struct TraceElement {
    size_t offset;
    std::string name;
    uint32_t value;  // 1 for "Yes"
};

// All syntax elements of a file in order.
inline std::vector<TraceElement> trace(const std::string &path) {
    // "0004   nal_unit_type:      9 (0x09) - (5 bits)"; lines without a value head a group.
    const std::regex line_format("([0-9A-F]+) +([A-Za-z0-9_]+): +(Yes|No|[0-9]+).*");
    std::vector<TraceElement> elements;
    std::istringstream lines(run("mediainfo --Details=9 --ParseSpeed=1 " + path));
    std::smatch match;
    for (std::string line; std::getline(lines, line);) {
        if (!std::regex_match(line, match, line_format)) continue;
        const std::string value = match[3];
        const unsigned long number = value == "Yes" ? 1 : value == "No" ? 0 : std::stoul(value);
        elements.push_back({std::stoul(match[1], nullptr, 16), match[2], static_cast<uint32_t>(number)});
    }
    return elements;
}

}  // namespace quorv::test

#endif
