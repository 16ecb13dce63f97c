// Runs the real executable from the shell, as a user does, and keeps what it said.
#ifndef QUORV_TESTS_TOOL_SHELL_H
#define QUORV_TESTS_TOOL_SHELL_H

#include <gtest/gtest.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/AsfBuilder.h"
#include "support/SampleFiles.h"
#include "support/TestFolder.h"

namespace quorv::test {

using Json = nlohmann::json;

struct ToolRun {
    int exit_code = -1;
    std::string out, err;
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
        const TestFolder errors;
        setenv("SAMPLE", real_sample().c_str(), 1);
        const std::string setting = "cd '" + path("") + "'; PATH='" QUORV_TOOL_FOLDER "':$PATH; ";
        FILE *output =
            popen((setting + "{ " + line + "\n} </dev/null 2>'" + errors.path("err") + "'").c_str(), "r");
        ToolRun run;
        if (output == nullptr) return run;
        char block[65536];
        while (const size_t count = fread(block, 1, sizeof block, output))
            run.out.append(block, count);
        const int status = pclose(output);
        if (WIFEXITED(status)) run.exit_code = WEXITSTATUS(status);
        const Bytes err = errors.get("err");
        run.err.assign(err.begin(), err.end());
        return run;
    }
    // The objects that a run prints, one a line; it has to succeed in silence.
    std::vector<Json> json(const std::string &line) const {
        const ToolRun said = run(line);
        EXPECT_EQ(said.exit_code, 0) << line;
        EXPECT_EQ(said.err, "") << line;
        std::vector<Json> objects;
        for (const std::string &object : lines_of(said.out))
            objects.push_back(Json::parse(object));
        return objects;
    }
    // The run has to say one line on standard error that holds both texts.
    ToolRun expect_complaint(const std::string &line, int exit_code, const std::string &name,
                             const std::string &reason) const {
        const ToolRun said = run(line);
        SCOPED_TRACE(line + '\n' + said.err);
        EXPECT_EQ(said.exit_code, exit_code);
        EXPECT_EQ(lines_of(said.err).size(), 1u);
        EXPECT_TRUE(said.err.starts_with("quorv: "));
        EXPECT_NE(said.err.find(name), std::string::npos);
        EXPECT_NE(said.err.find(reason), std::string::npos);
        return said;
    }
    // Adds all sample files, the real one as well, and returns the names.
    std::vector<std::string> add_samples() const {
        put("real.avi", bytes_of_file(real_sample()));
        for (const SampleFile &sample : avi_sample_files())
            put(sample.name + ".avi", sample.bytes.flatten());
        for (const AsfSample &sample : asf_sample_files()) {
            if (sample.builder.index != AsfIndex::CutShort) put(sample.name + ".asf", sample.bytes);
        }
        return names();
    }
};

}  // namespace quorv::test

#endif
