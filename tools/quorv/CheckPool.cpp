// Checks many files, several at a time; see the header.

#include "CheckPool.h"

#include <algorithm>
#include <chrono>

#include "FileCheck.h"

namespace quorv::tool {

namespace {

using namespace std::chrono_literals;

constexpr auto kBetweenCalls = 100ms;

// Thrown to end a check that nobody waits for.
struct Stopped : std::exception {};

}  // namespace

CheckPool::CheckPool(const std::vector<ListedFile> &files, uint32_t at_a_time, bool digests)
    : files_(files), digests_(digests), results_(files.size()) {
    const size_t count = std::min<size_t>(at_a_time, files.size());
    for (size_t i = 0; i < count; ++i)
        threads_.emplace_back([this] { work(); });
}

CheckPool::~CheckPool() {
    stop_ = true;
    for (std::thread &thread : threads_)
        thread.join();
}

void CheckPool::work() {
    try {
        for (size_t mine = taken_++; mine < files_.size() && !stop_; mine = taken_++) {
            CheckResult result = check(files_[mine].path);
            const std::lock_guard<std::mutex> lock(mutex_);
            results_[mine] = std::move(result);
            arrived_.notify_one();
        }
    } catch (const Stopped &) {
        // Nobody waits any more.
    }
}

CheckResult CheckPool::check(const std::string &path) {
    uint64_t counted = 0;
    return check_file(path, digests_, [&](uint64_t bytes) {
        if (stop_) throw Stopped();
        bytes_ += bytes - counted;
        counted = bytes;
    });
}

CheckResult CheckPool::next(const std::function<void(uint64_t)> &waiting) {
    std::unique_lock<std::mutex> lock(mutex_);
    std::optional<CheckResult> &mine = results_[given_++];
    while (!arrived_.wait_for(lock, kBetweenCalls, [&] { return mine.has_value(); }))
        waiting(bytes_);
    CheckResult result = std::move(*mine);
    mine.reset();
    return result;
}

}  // namespace quorv::tool
