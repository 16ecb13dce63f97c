// A signal handler and what it knows; see the header.

#include "Interrupt.h"

#include <unistd.h>

#include <atomic>
#include <climits>
#include <csignal>
#include <cstring>

namespace quorv::tool {

namespace {

char unfinished[PATH_MAX];  // empty for none
volatile std::sig_atomic_t bar_shown;

extern "C" void put_right(int signal_number) {
    constexpr char kClearLine[] = "\r\033[K";
    if (unfinished[0] != '\0') unlink(unfinished);
    // Nothing is left to do when this fails.
    if (bar_shown != 0) [[maybe_unused]]
        const ssize_t put = ::write(STDERR_FILENO, kClearLine, std::strlen(kClearLine));
    std::signal(signal_number, SIG_DFL);
    std::raise(signal_number);
}

}  // namespace

void handle_interrupts() {
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
        if (std::signal(number, put_right) == SIG_IGN) std::signal(number, SIG_IGN);
    }
}

// The first character comes last and goes first, so that the handler never sees a part of a path.
bool set_unfinished_file(const std::string &path) {
    unfinished[0] = '\0';
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (path.size() >= sizeof(unfinished)) return false;
    if (path.empty()) return true;
    std::memcpy(unfinished + 1, path.c_str() + 1, path.size());
    std::atomic_signal_fence(std::memory_order_seq_cst);
    unfinished[0] = path[0];
    return true;
}

void set_bar_shown(bool shown) {
    bar_shown = shown ? 1 : 0;
}

}  // namespace quorv::tool
