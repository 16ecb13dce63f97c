// What other programs say.
#ifndef QUORV_TESTS_SUPPORT_COMMANDOUTPUT_H
#define QUORV_TESTS_SUPPORT_COMMANDOUTPUT_H

#include <gtest/gtest.h>
#include <stdio.h>

#include <string>

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

}  // namespace quorv::test

#endif
