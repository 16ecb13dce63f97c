// A caller's stream over a byte store: counts every callback, checks how it is called, and misbehaves the
// way it is told to.
#ifndef QUORV_TESTS_SUPPORT_TESTSOURCE_H
#define QUORV_TESTS_SUPPORT_TESTSOURCE_H

#include <quorv/splitter.h>

#include "support/ByteStores.h"

namespace quorv::test {

// The source's own result codes, which no splitter function uses itself.
inline constexpr uint32_t kSourceFailed = 0x5E1F0001;
inline constexpr uint32_t kSourceAtEnd = 0x5E1F0002;
inline constexpr uint32_t kNotArrived = SPLITER_ERR_DATA_PENDING;

enum class SizeAnswer { Known, Zero, Negative, Fails };
enum class FaultKind {
    Fail,      // the callback returns `code` and leaves garbage in its outputs
    EmptyRead  // a read reports success and delivers nothing; other callbacks work
};

// What a source does wrong. The default does everything right.
struct Faults {
    uint64_t at = 0;        // number, from 1, of the callback that goes wrong; 0: none
    bool for_good = false;  // every later one goes wrong, too
    FaultKind kind = FaultKind::Fail;
    uint32_t code = kSourceFailed;
    uint32_t longest_read = UINT32_MAX;  // a read delivers at most this many bytes, as a success
    SizeAnswer size = SizeAnswer::Known;
    bool end_is_success = false;       // a read at the end gives 0 bytes and success, not kSourceAtEnd
    uint64_t arrived = UINT64_MAX;     // bytes that have arrived; reading further gives kNotArrived
    uint64_t call_limit = UINT64_MAX;  // more callbacks than this are a hang: the process aborts
};

class TestSource {
public:
    explicit TestSource(const ByteStore &store, uint32_t kind = SPLITER_SOURCE_LOCAL, Faults wrong = {})
        : faults(wrong), store_(store), kind_(kind) {}
    TestSource(const TestSource &) = delete;
    TestSource &operator=(const TestSource &) = delete;

    // The record to hand to Open. This object must outlive the handle.
    SplitterStreamSource record();

    uint64_t calls() const { return opens + closes + reads + seeks + tells + sizes; }
    bool is_open() const;
    uint32_t kind() const { return kind_; }

    Faults faults;  // may be changed at any time
    uint64_t opens = 0, closes = 0, reads = 0, seeks = 0, tells = 0, sizes = 0;
    uint64_t failed_closes = 0;
    uint64_t bytes_read = 0;
    std::vector<uint32_t> access_modes;  // of each open

private:
    static TestSource &self(void *user_context) { return *static_cast<TestSource *>(user_context); }
    bool goes_wrong() const;
    int64_t &position_of(SplitterStream stream);
    uint32_t read(int64_t &at, void *buffer, uint32_t *count);
    uint32_t seek(int64_t &at, uint16_t origin, int64_t offset);

    const ByteStore &store_;
    const uint32_t kind_;
    std::vector<int64_t> readers_;  // the position of each, kClosed for one that is not open any more
};

}  // namespace quorv::test

#endif
