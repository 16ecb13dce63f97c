// Running of child processes; see the header.

#include "support/ChildProcess.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace quorv::bench {
namespace {

[[noreturn]] void fail(const char *what, const std::string &program) {
    fprintf(stderr, "%s: %s\n", program.c_str(), what);
    exit(EXIT_FAILURE);
}

double seconds(const timeval &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

}  // namespace

double run_child(const std::vector<std::string> &command) {
    std::vector<char *> arguments;
    for (const std::string &word : command)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);

    const pid_t child = fork();
    if (child < 0) fail("cannot fork", command[0]);
    if (child == 0) {
        const int nowhere = open("/dev/null", O_WRONLY);
        if (nowhere >= 0 && dup2(nowhere, STDOUT_FILENO) >= 0) execvp(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    rusage usage = {};
    if (wait4(child, &status, 0, &usage) != child) fail("cannot wait for it", command[0]);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        fail(WIFEXITED(status) && WEXITSTATUS(status) == 127 ? "cannot be run" : "failed", command[0]);
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace quorv::bench
