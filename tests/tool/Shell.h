// Runs the real executable from the shell, as a user does, and keeps what it said.
#ifndef QUORV_TESTS_TOOL_SHELL_H
#define QUORV_TESTS_TOOL_SHELL_H

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <sstream>

#include <nlohmann/json.hpp>

#include "support/SampleFiles.h"
#include "support/TestFolder.h"

namespace quorv::test {

using Json = nlohmann::json;

struct ToolRun {
    int exit_code;
    std::string out, err;
};

// What a line given to the shell is answered with.
struct Complaint {
    std::string line;
    int exit_code;
    std::string name, reason;
};

inline std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

// A shell in a folder of its own. Its lines find the tool as quorv and the real sample file as $SAMPLE;
// standard input is empty unless a line says otherwise.
class Shell : public TestFolder {
public:
    ToolRun run(const std::string &line) const {
        signal(SIGPIPE, SIG_DFL);  // as at a prompt; whoever started the tests may ignore it
        setenv("SAMPLE", real_sample().c_str(), 1);
        const TestFolder said;
        const std::string setting = "cd '" + path("") + "'; PATH='" QUORV_TOOL_FOLDER "':$PATH; ",
                          command = setting + "{ " + line + "\n} </dev/null >'" + said.path("out") + "' 2>'" +
                                    said.path("err") + "'";
        const int status = system(command.c_str());
        const Bytes out = said.get("out"), err = said.get("err");
        return {
            WIFEXITED(status) ? WEXITSTATUS(status) : -1, {out.begin(), out.end()}, {err.begin(), err.end()}};
    }
    // The objects that a run prints, one a line; it has to succeed in silence, or to tell of damage in one
    // line.
    std::vector<Json> json(const std::string &line, bool damaged = false) const {
        const ToolRun said = run(line);
        EXPECT_EQ(said.exit_code, damaged ? 1 : 0) << line;
        EXPECT_EQ(lines_of(said.err).size(), damaged ? 1u : 0u) << line << '\n' << said.err;
        std::vector<Json> objects;
        for (const std::string &object : lines_of(said.out))
            objects.push_back(Json::parse(object));
        return objects;
    }
    // The run has to say one line on standard error that holds both texts.
    ToolRun expect_complaint(const Complaint &expected) const {
        const ToolRun said = run(expected.line);
        SCOPED_TRACE(expected.line + '\n' + said.err);
        EXPECT_EQ(said.exit_code, expected.exit_code);
        EXPECT_TRUE(said.err.starts_with("quorv: "));
        EXPECT_EQ(lines_of(said.err).size(), 1u);
        EXPECT_NE(said.err.find(expected.name), std::string::npos);
        EXPECT_NE(said.err.find(expected.reason), std::string::npos);
        return said;
    }
    // Adds all sample files, the real one as well, and returns the names.
    std::vector<std::string> add_samples() const {
        put("real.avi", bytes_of_file(real_sample()));
        for (const SampleFile &sample : sample_files()) {
            // One has an index that is cut short, which is told.
            if (sample.name != "asf_live")
                put(sample.name + (sample.is_asf() ? ".asf" : ".avi"), sample.bytes.flatten());
        }
        return names();
    }
};

}  // namespace quorv::test

#endif
