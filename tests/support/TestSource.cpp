// The callbacks of the test stream; see the header.

#include "support/TestSource.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

namespace quorv::test {
namespace {

constexpr SplitterStream kFirstStream = 0x5EED0001;
constexpr int64_t kClosed = -1;

[[noreturn]] void misuse(const char *what) {
    fprintf(stderr, "TestSource: %s\n", what);
    abort();
}

}  // namespace

bool TestSource::goes_wrong() const {
    if (calls() > faults.call_limit) misuse("more callbacks than any sane reader makes: a hang");
    return faults.at != 0 && (calls() == faults.at || (faults.for_good && calls() > faults.at));
}

bool TestSource::is_open() const {
    return std::any_of(readers_.begin(), readers_.end(), [](int64_t at) { return at != kClosed; });
}

int64_t &TestSource::position_of(SplitterStream stream) {
    const size_t reader = stream - kFirstStream;
    if (reader >= readers_.size() || readers_[reader] == kClosed) {
        misuse("a callback was called with a stream that is not open");
    }
    return readers_[reader];
}

uint32_t TestSource::read(int64_t &at, void *buffer, uint32_t *count) {
    ++reads;
    const bool wrong = goes_wrong();
    if (wrong && faults.kind == FaultKind::Fail) {
        if (*count > 0) memset(buffer, 0xA5, 1);
        *count = UINT32_MAX;
        return faults.code;
    }
    const uint64_t position = static_cast<uint64_t>(at);
    const uint64_t length = store_.size();
    const uint64_t left = position < length ? length - position : 0;
    uint64_t take = std::min<uint64_t>({*count, left, faults.longest_read});
    if (wrong) take = 0;
    if (*count > 0 && left == 0 && !faults.end_is_success) {
        *count = 0;
        return kSourceAtEnd;
    }
    if (position >= faults.arrived || faults.arrived - position < take) {
        *count = 0;
        return kNotArrived;
    }
    store_.copy(position, buffer, static_cast<size_t>(take));
    at += static_cast<int64_t>(take);
    bytes_read += take;
    *count = static_cast<uint32_t>(take);
    return 0;
}

uint32_t TestSource::seek(int64_t &at, uint16_t origin, int64_t offset) {
    ++seeks;
    if (goes_wrong() && faults.kind == FaultKind::Fail) return faults.code;
    if (origin != 0 && origin != 2) misuse("seek with an origin that the interface does not have");
    int64_t target = 0;
    if (__builtin_add_overflow(origin == 2 ? at : 0, offset, &target) || target < 0) {
        return kSourceFailed;
    }
    at = target;
    return 0;
}

SplitterStreamSource TestSource::record() {
    SplitterStreamSource r = {};
    r.user_context = this;
    r.source_kind = kind_;
    r.open = [](void *user, SplitterStream *stream, uint32_t mode) -> uint32_t {
        TestSource &s = self(user);
        ++s.opens;
        s.access_modes.push_back(mode);
        if (s.goes_wrong() && s.faults.kind == FaultKind::Fail) return s.faults.code;
        *stream = kFirstStream + s.readers_.size();
        s.readers_.push_back(0);
        return 0;
    };
    r.close = [](void *user, SplitterStream stream) -> uint32_t {
        TestSource &s = self(user);
        ++s.closes;
        int64_t &at = s.position_of(stream);
        if (s.goes_wrong() && s.faults.kind == FaultKind::Fail) {
            ++s.failed_closes;
            return s.faults.code;
        }
        at = kClosed;
        return 0;
    };
    r.read = [](void *user, SplitterStream stream, void *buffer, uint32_t *count) -> uint32_t {
        return self(user).read(self(user).position_of(stream), buffer, count);
    };
    r.seek = [](void *user, SplitterStream stream, uint16_t origin, int64_t offset) -> uint32_t {
        return self(user).seek(self(user).position_of(stream), origin, offset);
    };
    r.tell = [](void *user, SplitterStream stream, int64_t *position) -> uint32_t {
        TestSource &s = self(user);
        const int64_t at = s.position_of(stream);
        ++s.tells;
        *position = INT64_MIN;
        if (s.goes_wrong() && s.faults.kind == FaultKind::Fail) return s.faults.code;
        *position = at;
        return 0;
    };
    r.size = [](void *user, SplitterStream stream, int64_t *length) -> uint32_t {
        TestSource &s = self(user);
        s.position_of(stream);
        ++s.sizes;
        *length = INT64_MAX;
        if (s.goes_wrong() && s.faults.kind == FaultKind::Fail) return s.faults.code;
        switch (s.faults.size) {
            case SizeAnswer::Known:
                *length = static_cast<int64_t>(s.store_.size());
                return 0;
            case SizeAnswer::Zero:
                *length = 0;
                return 0;
            case SizeAnswer::Negative:
                *length = -1;
                return 0;
            case SizeAnswer::Fails:
                return s.faults.code;
        }
        return s.faults.code;
    };
    return r;
}

}  // namespace quorv::test
