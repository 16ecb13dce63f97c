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
    // Removes the bar.
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void update(uint64_t done, uint64_t total);
    // Removes the bar until the next update, for output to the same terminal.
    void hide();
    bool is_enabled() const { return enabled_; }

private:
    void draw(uint64_t done, uint64_t total);

    bool enabled_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point next_;
};

}  // namespace quorv::tool

#endif
