// Checks many files, several at a time, and hands the results on in the order of the list.
#ifndef QUORV_TOOLS_QUORV_CHECKPOOL_H
#define QUORV_TOOLS_QUORV_CHECKPOOL_H

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "FileList.h"
#include "Finding.h"

namespace quorv::tool {

class CheckPool {
public:
    // Begins. The list must outlive the pool.
    CheckPool(const std::vector<ListedFile> &files, uint32_t at_a_time, bool digests);
    // Stops what is going on.
    ~CheckPool();
    CheckPool(const CheckPool &) = delete;
    CheckPool &operator=(const CheckPool &) = delete;

    // Waits for the next file's result. While it does, the function is called several times a second with the
    // bytes that have been read of all files.
    CheckResult next(const std::function<void(uint64_t)> &waiting);

private:
    void work();
    CheckResult check(const std::string &path);

    const std::vector<ListedFile> &files_;
    const bool digests_;
    std::atomic<size_t> taken_ = 0;  // how many have been begun
    size_t given_ = 0;               // how many results were handed on
    std::atomic<uint64_t> bytes_ = 0;
    std::atomic<bool> stop_ = false;
    std::mutex mutex_;  // of the results
    std::condition_variable arrived_;
    std::vector<std::optional<CheckResult>> results_;
    std::vector<std::thread> threads_;
};

}  // namespace quorv::tool

#endif
