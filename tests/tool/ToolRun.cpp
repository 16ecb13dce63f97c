// Runs the real executable as a shell would; see the header.

#include "tool/ToolRun.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace quorv::test {
namespace {

void require(bool done, const char *what) {
    if (!done) throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

struct Ends {
    int read_end = -1, write_end = -1;
};

Ends make_pipe() {
    int ends[2];
    require(pipe2(ends, O_CLOEXEC) == 0, "pipe");
    return {ends[0], ends[1]};
}

// A terminal whose other side is the read end.
Ends make_terminal() {
    const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    require(master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0, "terminal");
    const int terminal = open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
    require(terminal >= 0, "terminal");
    return {master, terminal};
}

void feed(int end, const Bytes &bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t put = write(end, bytes.data() + done, bytes.size() - done);
        if (put <= 0) break;  // the tool has seen enough
        done += static_cast<size_t>(put);
    }
    close(end);
}

// Collects both streams until they end; neither can fill up while the other is waited for.
void collect(int out_end, size_t out_limit, int err_end, ToolRun &run) {
    pollfd ends[] = {{out_end, POLLIN, 0}, {err_end, POLLIN, 0}};
    std::string *const texts[] = {&run.out, &run.err};
    while (ends[0].fd >= 0 || ends[1].fd >= 0) {
        require(poll(ends, 2, -1) > 0, "poll");
        for (size_t i = 0; i < 2; ++i) {
            if (ends[i].fd < 0 || ends[i].revents == 0) continue;
            char block[65536];
            // A terminal ends with an error.
            const ssize_t got = read(ends[i].fd, block, sizeof block);
            if (got > 0) texts[i]->append(block, static_cast<size_t>(got));
            if (got <= 0 || (i == 0 && run.out.size() >= out_limit)) close(std::exchange(ends[i].fd, -1));
        }
    }
}

pid_t spawn(const std::vector<std::string> &command, const posix_spawn_file_actions_t &actions) {
    std::vector<char *> arguments;
    for (const std::string &argument : command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);
    // As in a shell: this process ignores closed pipes, the tool has to do so itself.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    pid_t process = 0;
    errno = posix_spawnp(&process, arguments[0], &actions, &attributes, arguments.data(), environ);
    require(errno == 0, "start of the program");
    posix_spawnattr_destroy(&attributes);
    return process;
}

}  // namespace

ToolRun run_program(const std::vector<std::string> &command, const Streams &streams) {
    signal(SIGPIPE, SIG_IGN);
    const Ends out = streams.terminal_output ? make_terminal() : make_pipe();
    const Ends err = make_pipe();
    const Ends in = streams.piped_input != nullptr ? make_pipe() : Ends{};

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (streams.piped_input != nullptr) {
        posix_spawn_file_actions_adddup2(&actions, in.read_end, STDIN_FILENO);
    } else {
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, streams.input_path.c_str(), O_RDONLY, 0);
    }
    if (streams.close_output) {
        posix_spawn_file_actions_addclose(&actions, STDOUT_FILENO);
    } else if (!streams.output_path.empty()) {
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, streams.output_path.c_str(),
                                         O_WRONLY | O_APPEND | O_CREAT, 0644);
    } else {
        posix_spawn_file_actions_adddup2(&actions, out.write_end, STDOUT_FILENO);
    }
    posix_spawn_file_actions_adddup2(&actions, err.write_end, STDERR_FILENO);
    const pid_t process = spawn(command, actions);
    posix_spawn_file_actions_destroy(&actions);

    close(out.write_end);
    close(err.write_end);
    std::thread feeder;
    if (streams.piped_input != nullptr) {
        close(in.read_end);
        feeder = std::thread(feed, in.write_end, std::cref(*streams.piped_input));
    }
    ToolRun run;
    collect(out.read_end, streams.read_at_most, err.read_end, run);
    if (feeder.joinable()) feeder.join();
    int status = 0;
    require(waitpid(process, &status, 0) == process, "waitpid");
    run.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return run;
}

ToolRun run_tool(const std::vector<std::string> &arguments, const Streams &streams) {
    std::vector<std::string> command = {QUORV_TOOL};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return run_program(command, streams);
}

std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

}  // namespace quorv::test
