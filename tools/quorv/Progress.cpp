// A progress bar on standard error; see the header.

#include "Progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace quorv::tool {

namespace {

using namespace std::chrono_literals;

constexpr size_t kBarWidth = 40;
// Short work is over before a bar would be read.
constexpr auto kFirstDraw = 300ms;
constexpr auto kRedraw = 100ms;

}  // namespace

Progress::Progress(bool wanted)
    : enabled_(wanted && isatty(STDERR_FILENO) == 1), next_(std::chrono::steady_clock::now() + kFirstDraw) {}

Progress::~Progress() {
    hide();
}

void Progress::hide() {
    if (drawn_) std::fputs("\r\033[K", stderr);
    drawn_ = false;
}

void Progress::update(uint64_t done, uint64_t total) {
    if (!enabled_) return;
    const auto now = std::chrono::steady_clock::now();
    if (now < next_) return;
    next_ = now + kRedraw;
    draw(std::min(done, total), std::max<uint64_t>(total, 1));
}

void Progress::draw(uint64_t done, uint64_t total) {
    const double part = static_cast<double>(done) / static_cast<double>(total);
    const auto filled = static_cast<size_t>(part * kBarWidth);
    const std::string bar =
        fmt::format("\r[{:.<{}}] {:3} %", std::string(filled, '#'), kBarWidth, static_cast<int>(part * 100));
    std::fputs(bar.c_str(), stderr);  // nothing is lost where it cannot be drawn
    drawn_ = true;
}

}  // namespace quorv::tool
