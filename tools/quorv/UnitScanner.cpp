// Cuts an elementary video stream into units; see the header.

#include "UnitScanner.h"

#include <quorv/video_header.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace quorv::tool {

namespace {

constexpr size_t kPrefixBytes = 3;
// More than the longest header that the library reads: a parameter set with its longest list of offsets.
constexpr size_t kUnitHeadBytes = 4096;

}  // namespace

UnitScanner::UnitScanner(std::function<void(const Unit &)> handler) : handler_(std::move(handler)) {}

void UnitScanner::feed(std::span<const uint8_t> piece) {
    if (piece.empty()) return;
    // A start code may begin in the last two bytes of the piece before.
    const size_t kept = std::min(window_.size(), kPrefixBytes - 1);
    window_offset_ += window_.size() - kept;
    window_.erase(window_.begin(), window_.end() - static_cast<std::ptrdiff_t>(kept));
    window_.insert(window_.end(), piece.begin(), piece.end());

    starts_.resize(window_.size() / kPrefixBytes + 1);
    starts_.resize(ZEV_H264_GetNALHdr(window_.data(), static_cast<uint32_t>(window_.size()), starts_.data(),
                                      static_cast<uint32_t>(starts_.size())));
    for (const uint32_t start : starts_) {
        end_unit(window_offset_ + start);
        begin_unit(window_offset_ + start);
    }
    collect_head();
}

void UnitScanner::finish() {
    end_unit(window_offset_ + window_.size());
    window_.clear();
    window_offset_ = 0;
}

void UnitScanner::begin_unit(uint64_t offset) {
    in_unit_ = true;
    unit_offset_ = offset;
    head_.clear();
}

void UnitScanner::end_unit(uint64_t offset) {
    if (!in_unit_) return;
    collect_head();
    in_unit_ = false;
    const uint64_t size = offset - unit_offset_;
    handler_({unit_offset_, size,
              std::span(head_).first(static_cast<size_t>(std::min<uint64_t>(head_.size(), size)))});
}

// Adds what the window has of the unit's first bytes, and perhaps bytes behind its end.
void UnitScanner::collect_head() {
    if (!in_unit_ || head_.size() >= kUnitHeadBytes) return;
    const uint64_t from = unit_offset_ + head_.size() - window_offset_;
    const uint64_t count = std::min<uint64_t>(kUnitHeadBytes - head_.size(), window_.size() - from);
    const auto first = window_.begin() + static_cast<std::ptrdiff_t>(from);
    head_.insert(head_.end(), first, first + static_cast<std::ptrdiff_t>(count));
}

}  // namespace quorv::tool
