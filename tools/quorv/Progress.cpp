// A progress bar on standard error; see the header.

#include "Progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "Interrupt.h"
#include "OutputStream.h"

namespace quorv::tool {

namespace {

using namespace std::chrono_literals;

constexpr size_t kLeastBar = 10, kMostBar = 60;
// Short work is over before a bar would be read.
constexpr auto kFirstDraw = 300ms;
constexpr auto kRedraw = 100ms;
// Before that, nobody can tell how long it takes.
constexpr auto kFirstEstimate = 1s;

bool can_redraw() {
    const char *terminal = std::getenv("TERM");
    return isatty(STDERR_FILENO) == 1 && (terminal == nullptr || std::string_view(terminal) != "dumb");
}

std::string left_text(double seconds) {
    const auto whole = std::llround(seconds);
    const auto minutes = whole / 60;
    return minutes < 60 ? fmt::format("{}:{:02} left", minutes, whole % 60)
                        : fmt::format("{}:{:02}:{:02} left", minutes / 60, minutes % 60, whole % 60);
}

// A bar of so many columns or fewer, a part of it filled; then the percentage and, when it is not negative,
// the time left. What has no room is left out.
std::string progress_line(double part, double seconds_left, size_t columns) {
    std::string text = fmt::format("{:3} %", static_cast<int>(part * 100));
    if (seconds_left >= 0) {
        const std::string more = fmt::format("{}  {}", text, left_text(seconds_left));
        if (more.size() < columns) text = more;
    }
    const size_t around = text.size() + 4;  // "[", "] ", and the column where a cursor can stand
    if (columns >= around + kLeastBar) {
        const size_t width = std::min(columns - around, kMostBar);
        const auto filled = static_cast<size_t>(part * static_cast<double>(width));
        text = fmt::format("[{:.<{}}] {}", std::string(filled, '#'), width, text);
    }
    text.resize(std::min(text.size(), std::max<size_t>(columns, 1) - 1));
    return text;
}

}  // namespace

Progress::Progress(bool wanted)
    : enabled_(wanted && can_redraw()), start_(Clock::now()), next_(start_ + kFirstDraw) {}

Progress::~Progress() {
    hide();
}

void Progress::hide() {
    if (!drawn_) return;
    std::fputs("\r\033[K", stderr);
    set_bar_shown(drawn_ = false);
}

void Progress::update(uint64_t done, uint64_t total) {
    if (!enabled_ || total == 0) return;
    const auto now = Clock::now();
    if (now < next_) return;
    next_ = now + kRedraw;
    const double part = static_cast<double>(std::min(done, total)) / static_cast<double>(total);
    const std::chrono::duration<double> passed = now - start_;
    const bool can_tell = now - start_ >= kFirstEstimate && part > 0;
    const double left = can_tell ? passed.count() * (1 - part) / part : -1;
    const size_t columns = terminal_columns(STDERR_FILENO);
    const std::string line = fmt::format("\r{}\033[K", progress_line(part, left, columns));
    set_bar_shown(drawn_ = true);
    std::fputs(line.c_str(), stderr);  // nothing is lost where it cannot be drawn
}

}  // namespace quorv::tool
