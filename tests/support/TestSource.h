// A caller's stream over a byte store: counts every callback, checks how it is called, and misbehaves the
// way it is told to.
#ifndef QUORV_TESTS_SUPPORT_TESTSOURCE_H
#define QUORV_TESTS_SUPPORT_TESTSOURCE_H

#include <stdio.h>

#include "support/ByteStores.h"
#include "support/StreamTable.h"

namespace quorv::test {

// The source's own result codes, which no splitter function uses itself.
inline constexpr uint32_t kSourceFailed = 0x5E1F0001;
inline constexpr uint32_t kSourceAtEnd = 0x5E1F0002;
inline constexpr uint32_t kNotArrived = SPLITER_ERR_DATA_PENDING;

enum class SizeAnswer { Known, Zero, Negative, Huge, Fails };
enum class FaultKind {
    Fail,      // the callback returns kSourceFailed and leaves garbage in its outputs
    EmptyRead  // a read reports success and delivers nothing; other callbacks work
};
// How the position that is told moves in reads that lie.
enum class LiarTells { WhatItClaims, NoMovement, MoreEachTime };

// What a source does wrong. The default does everything right.
struct Faults {
    uint64_t at = 0;        // number, from 1, of the callback that goes wrong; 0: none
    bool for_good = false;  // every later one goes wrong, too
    FaultKind kind = FaultKind::Fail;
    uint32_t longest_read = UINT32_MAX;  // a read delivers at most this many bytes, as a success
    SizeAnswer size = SizeAnswer::Known;
    bool end_is_success = false;      // a read at the end gives 0 bytes and success, not kSourceAtEnd
    uint64_t arrived = UINT64_MAX;    // bytes that have arrived; reading further gives kNotArrived
    uint64_t cut = UINT64_MAX;        // the source has no more bytes than these
    uint64_t lies_from = UINT64_MAX;  // what reads claim to deliver from there on they do not write
    LiarTells liar_tells = LiarTells::WhatItClaims;
    uint64_t call_limit = UINT64_MAX;  // more callbacks than this are a hang: the process aborts
};

class TestSource {
public:
    explicit TestSource(const ByteStore &store, uint32_t kind = SPLITER_SOURCE_LOCAL, Faults wrong = {})
        : faults(wrong), store_(store), kind_(kind) {}
    TestSource(const TestSource &) = delete;
    TestSource &operator=(const TestSource &) = delete;

    // The record to hand to Open. This object must outlive the handle.
    SplitterStreamSource record() { return stream_table(*this, kind_); }

    uint32_t open(SplitterStream *stream, uint32_t mode) {
        access_modes.push_back(mode);
        if (fails()) return kSourceFailed;
        *stream = kFirstStream + readers_.size();
        readers_.push_back(0);
        return 0;
    }
    uint32_t close(SplitterStream stream) {
        int64_t &at = position_of(stream);
        ++others;
        if (fails()) {
            ++failed_closes;
            return kSourceFailed;
        }
        at = kClosed;
        return 0;
    }
    uint32_t read(SplitterStream stream, void *buffer, uint32_t *count) {
        int64_t &at = position_of(stream);
        ++reads;
        if (fails()) {
            if (*count > 0) memset(buffer, 0xA5, 1);
            *count = UINT32_MAX;
            return kSourceFailed;
        }
        const uint64_t position = static_cast<uint64_t>(at);
        if (lies(at + int64_t{*count} - 1)) return read_lying(at, static_cast<uint8_t *>(buffer), *count);
        const uint64_t left = position < length() ? length() - position : 0;
        const uint64_t take = goes_wrong() ? 0 : std::min<uint64_t>({*count, left, faults.longest_read});
        const bool at_end = *count > 0 && left == 0 && !faults.end_is_success;
        *count = 0;
        if (at_end) return kSourceAtEnd;
        if (position >= faults.arrived || faults.arrived - position < take) return kNotArrived;
        store_.copy(position, buffer, static_cast<size_t>(take));
        at += static_cast<int64_t>(take);
        bytes_read += take;
        *count = static_cast<uint32_t>(take);
        return 0;
    }
    uint32_t seek(SplitterStream stream, uint16_t origin, int64_t offset) {
        int64_t &at = position_of(stream);
        ++seeks;
        if (fails()) return kSourceFailed;
        if (origin != 0 && origin != 2) misuse("seek with an origin that the interface does not have");
        int64_t target = 0;
        if (__builtin_add_overflow(origin == 2 ? at : 0, offset, &target) || target < 0) return kSourceFailed;
        at = target;
        return 0;
    }
    uint32_t tell(SplitterStream stream, int64_t *position) {
        int64_t &at = position_of(stream);
        ++others;
        if (lies(at) && faults.liar_tells == LiarTells::MoreEachTime) at += 1000;
        *position = fails() ? INT64_MIN : at;
        return fails() ? kSourceFailed : 0;
    }
    uint32_t size(SplitterStream stream, int64_t *result) {
        position_of(stream);
        ++others;
        const bool failed = fails() || faults.size == SizeAnswer::Fails;
        const int64_t answers[] = {static_cast<int64_t>(length()), 0, -1, INT64_MAX / 4, INT64_MAX};
        *result = answers[static_cast<int>(failed ? SizeAnswer::Fails : faults.size)];
        return failed ? kSourceFailed : 0;
    }

    uint64_t calls() const { return access_modes.size() + reads + seeks + others; }
    bool is_open() const {
        return std::any_of(readers_.begin(), readers_.end(), [](int64_t at) { return at != kClosed; });
    }

    Faults faults;  // may be changed at any time
    uint64_t reads = 0, seeks = 0, others = 0;
    uint64_t failed_closes = 0;
    uint64_t bytes_read = 0;
    std::vector<uint32_t> access_modes;  // of each open

private:
    static constexpr SplitterStream kFirstStream = 0x5EED0001;
    static constexpr int64_t kClosed = -1;

    [[noreturn]] static void misuse(const char *what) {
        fprintf(stderr, "TestSource: %s\n", what);
        abort();
    }
    bool goes_wrong() const {
        if (calls() > faults.call_limit) misuse("more callbacks than any sane reader makes: a hang");
        return faults.at != 0 && (calls() == faults.at || (faults.for_good && calls() > faults.at));
    }
    bool lies(int64_t at) const { return at >= 0 && static_cast<uint64_t>(at) >= faults.lies_from; }
    bool fails() const { return goes_wrong() && faults.kind == FaultKind::Fail; }
    int64_t &position_of(SplitterStream stream) {
        const size_t reader = stream - kFirstStream;
        if (reader >= readers_.size() || readers_[reader] == kClosed)
            misuse("a callback was called with a stream that is not open");
        return readers_[reader];
    }
    uint32_t read_lying(int64_t &at, uint8_t *buffer, uint32_t count) {
        const uint64_t position = static_cast<uint64_t>(at);
        const uint64_t honest_end = std::min(faults.lies_from, length());
        const uint64_t honest = position < honest_end ? honest_end - position : 0;
        store_.copy(position, buffer, static_cast<size_t>(honest));
        at += static_cast<int64_t>(faults.liar_tells == LiarTells::NoMovement ? honest : count);
        return 0;
    }
    uint64_t length() const { return store_.size() < faults.cut ? store_.size() : faults.cut; }

    const ByteStore &store_;
    const uint32_t kind_;
    std::vector<int64_t> readers_;  // the position of each, kClosed for one that is not open any more
};

}  // namespace quorv::test

#endif
