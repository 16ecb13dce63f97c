// A progress bar on standard error, for a person who waits.
#ifndef QUORV_TOOLS_QUORV_PROGRESS_H
#define QUORV_TOOLS_QUORV_PROGRESS_H

#include <chrono>
#include <cstdint>

namespace quorv::tool {

class Progress {
public:
    // Draws only when standard error is a terminal and wanted is true.
    explicit Progress(bool wanted = true);
    // Removes the bar. So does an interrupt.
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    // A total of 0 is not known: nothing is drawn.
    void update(uint64_t done, uint64_t total);
    // Removes the bar until the next update, for output to the same terminal.
    void hide();
    bool is_enabled() const { return enabled_; }

private:
    using Clock = std::chrono::steady_clock;

    bool enabled_;
    bool drawn_ = false;
    Clock::time_point start_, next_;
};

}  // namespace quorv::tool

#endif
