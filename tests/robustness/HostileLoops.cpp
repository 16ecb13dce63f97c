// The walk through the interface and the loops around it; see the header.

#include "robustness/HostileLoops.h"

#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <string>

#include "support/FailingAllocator.h"

namespace quorv::test {
namespace {

constexpr size_t kMostFrames = 20000;

void expect_documented(uint32_t code) {
    EXPECT_TRUE(is_documented(code)) << "code " << code;
}

// A failed read leaves nothing in the record but the size that a larger buffer must have.
void expect_cleared(const Frame &frame) {
    if (frame.code == SPLITER_OK) return;
    SplitterFrameInfo clear = {};
    if (frame.code == SPLITER_ERR_BUFFER_TOO_SMALL) clear.size = frame.info.size;
    EXPECT_EQ(memcmp(&frame.info, &clear, sizeof clear), 0) << "code " << frame.code;
}

bool same_but_keys(const Frame &a, const Frame &b) {
    return a.data == b.data && a.info.time_stamp == b.info.time_stamp && a.info.duration == b.info.duration;
}

// Where a frame's duration is the time to the next one, the last frame before the cut has none.
bool same_in_cut_file(const Frame &cut, const Frame &whole, bool last) {
    return cut.data == whole.data && cut.info.time_stamp == whole.info.time_stamp &&
           (last || cut.info.duration == whole.info.duration);
}

void query_track(const SplitterApi &api, SplitterHandle handle, uint32_t track) {
    uint8_t record[64];
    expect_documented(api.get_track_info(handle, track, record, sizeof record));
    SplitterTrackData data = {track, nullptr, 0};
    uint32_t size = sizeof data;
    const uint32_t code = api.get_config(handle, SPLITER_CFG_CODEC_DATA, &data, &size);
    expect_documented(code);
    if (code == SPLITER_OK && data.data != nullptr) {
        volatile uint8_t sum = 0;  // every byte of it can be read
        for (uint32_t i = 0; i < data.length; ++i)
            sum = sum ^ static_cast<const uint8_t *>(data.data)[i];
    }
    SplitterTrackValue value = {track, 0};
    size = sizeof value;
    expect_documented(api.get_config(handle, SPLITER_CFG_NEXT_KEYFRAME_TIME, &value, &size));
    api.is_seekable(handle, track);  // a truth value or a code: any number
}

using Tracks = std::vector<SplitterTrackEntry>;

// All tracks in turn, frame by frame.
std::vector<FrameRun> read_in_turn(SplitterFile &file, const Tracks &tracks, size_t limit) {
    std::vector<FrameRun> runs(tracks.size());
    for (size_t n = 0; n < limit; ++n) {
        bool any = false;
        for (size_t i = 0; i < tracks.size(); ++i) {
            if (runs[i].end_code != SPLITER_OK) continue;
            Frame frame = file.read(tracks[i].track, 512);
            expect_documented(frame.code);
            expect_cleared(frame);
            runs[i].end_code = frame.code;
            any |= frame.code == SPLITER_OK;
            if (frame.code == SPLITER_OK) runs[i].frames.push_back(std::move(frame));
        }
        if (!any) break;
    }
    return runs;
}

void seek_about(SplitterFile &file, uint32_t track) {
    for (const uint32_t time : {1u, 70u, 250u, 0xFFFFFFFEu, UINT32_MAX, 0u}) {
        for (const uint32_t mode : {SPLITER_SEEK_BACKWARD, SPLITER_SEEK_FORWARD}) {
            expect_documented(file.seek(track, time, mode));
            const Frame frame = file.read(track, 512);
            expect_documented(frame.code);
            expect_cleared(frame);
        }
    }
}

void use_file(const SplitterApi &api, SplitterFile &file, WalkResult &result) {
    const Tracks tracks = file.tracks();
    result.tracks = tracks.size();
    for (uint32_t track = 0; track <= tracks.size() + 1; ++track)
        query_track(api, file.handle(), track);
    result.runs = read_in_turn(file, tracks, kMostFrames);
    for (const SplitterTrackEntry &entry : tracks) {
        seek_about(file, entry.track);
        query_track(api, file.handle(), entry.track);
    }
    expect_documented(file.reset());
    read_in_turn(file, tracks, 2);
}

// What may be asked of a source for a file of that size before it must be taken for a hang.
uint64_t sane_calls(const ByteStore &file, uint64_t unbroken_calls) {
    return 20 * unbroken_calls + 100 * std::min<uint64_t>(file.size(), 1 << 20) + 10000;
}

// A walk through a broken file or source, which leaves nothing behind; *calls gets the number of callbacks.
WalkResult broken_walk(const SplitterApi &api, const ByteStore &file, uint32_t kind, const Faults &faults,
                       uint64_t *calls = nullptr) {
    TestSource source(file, kind, faults);
    FailingAllocator heap;
    WalkResult result = walk_file(api, source);
    EXPECT_EQ(heap.live_blocks(), 0u);
    if (calls != nullptr) *calls = source.calls();
    return result;
}

}  // namespace

WalkResult walk_file(const SplitterApi &api, TestSource &source) {
    WalkResult result;
    const SplitterStreamSource record = source.record();
    SplitterHandle handle = nullptr;
    if (source.kind() != SPLITER_SOURCE_LOCAL) {
        SplitterHttpParam param = {};
        const uint32_t code = api.get_http_param(&record, &param, &handle);
        expect_documented(code);
        EXPECT_EQ(handle == nullptr, code != SPLITER_OK);
    }
    const bool came_in = handle != nullptr;
    result.open_code = api.open(&record, 1, &handle);
    expect_documented(result.open_code);
    EXPECT_EQ(handle == nullptr, !came_in && result.open_code != SPLITER_OK);
    if (handle != nullptr) {
        SplitterFile file(api, handle);
        use_file(api, file, result);
        uint32_t code = file.close();
        expect_documented(code);
        if (code != SPLITER_OK) {
            source.faults.at = 0;
            code = file.close();
        }
        EXPECT_EQ(code, 0u);
    }
    EXPECT_TRUE(!source.is_open() || source.failed_closes != 0);
    return result;
}

void expect_defined_with_failing_callbacks(const SplitterApi &api, const ByteStore &file, uint32_t kind) {
    uint64_t calls = 0;
    broken_walk(api, file, kind, {}, &calls);
    const uint64_t limit = sane_calls(file, calls);
    for (const FaultKind fault : {FaultKind::Fail, FaultKind::EmptyRead}) {
        for (const bool for_good : {false, true}) {
            calls = UINT64_MAX;
            for (uint64_t at = 1; at <= calls; ++at) {
                SCOPED_TRACE("callback " + std::to_string(at) + (for_good ? " and all later ones" : ""));
                broken_walk(api, file, kind,
                            {.at = at, .for_good = for_good, .kind = fault, .call_limit = limit}, &calls);
                ASSERT_FALSE(testing::Test::HasFailure());
            }
        }
    }
}

void expect_defined_with_odd_sources(const SplitterApi &api, const ByteStore &file, uint32_t kind) {
    TestSource whole(file, kind);
    const WalkResult expected = walk_file(api, whole);
    const uint64_t limit = sane_calls(file, whole.calls() + whole.bytes_read);
    for (const uint32_t longest_read : {UINT32_MAX, 1u, 3u, 7u, 100u, 0u}) {
        for (const SizeAnswer size :
             {SizeAnswer::Known, SizeAnswer::Zero, SizeAnswer::Negative, SizeAnswer::Fails}) {
            for (const bool end_is_success : {false, true}) {
                SCOPED_TRACE("reads of at most " + std::to_string(longest_read) + ", size answer " +
                             std::to_string(static_cast<int>(size)));
                const WalkResult result = broken_walk(api, file, kind,
                                                      {.longest_read = longest_read,
                                                       .size = size,
                                                       .end_is_success = end_is_success,
                                                       .call_limit = limit});
                if (longest_read != 0 && size == SizeAnswer::Known) {
                    ASSERT_EQ(result.open_code, expected.open_code);
                    ASSERT_TRUE(result.runs == expected.runs);
                }
                ASSERT_FALSE(testing::Test::HasFailure());
            }
        }
    }
}

void expect_same_frames_after_transient_failures(const SplitterApi &api, const ByteStore &file, uint32_t kind,
                                                 bool keys) {
    TestSource whole(file, kind);
    SplitterFile unbroken(api, whole.record());
    ASSERT_EQ(unbroken.open_code, 0u);
    const Tracks tracks = unbroken.tracks();
    const std::vector<FrameRun> expected = read_in_turn(unbroken, tracks, kMostFrames);
    for (uint64_t at = 1;; ++at) {
        SCOPED_TRACE("callback " + std::to_string(at) + " behind Open");
        TestSource source(file, kind);
        SplitterFile broken(api, source.record());
        source.faults.at = source.calls() + at;
        for (size_t n = 0, ended = 0; ended < tracks.size(); ++n) {
            ended = 0;
            for (size_t i = 0; i < tracks.size(); ++i) {
                Frame frame = broken.read(tracks[i].track, 512);
                if (frame.code == kSourceFailed) frame = broken.read(tracks[i].track, 512);
                const std::vector<Frame> &right = expected[i].frames;
                if (n >= right.size()) {
                    ASSERT_EQ(frame.code, expected[i].end_code);
                    ++ended;
                    continue;
                }
                ASSERT_EQ(frame.code, 0u) << "track " << i + 1 << ", frame " << n;
                ASSERT_TRUE(keys ? frame == right[n] : same_but_keys(frame, right[n]))
                    << "track " << i + 1 << ", frame " << n;
            }
        }
        const bool was_hit = source.calls() >= source.faults.at;
        source.faults.at = 0;
        if (!was_hit) break;
    }
}

void expect_defined_without_memory(const SplitterApi &api, const ByteStore &file, uint32_t kind) {
    for (const FailureSpan span : {FailureSpan::Once, FailureSpan::ForGood}) {
        for (uint64_t at = 1;; ++at) {
            SCOPED_TRACE("allocation " + std::to_string(at) +
                         (span == FailureSpan::ForGood ? " and all later ones" : ""));
            TestSource source(file, kind);
            FailingAllocator heap(at, span);
            const WalkResult result = walk_file(api, source);
            ASSERT_EQ(heap.live_blocks(), 0u);
            ASSERT_TRUE(result.open_code == SPLITER_OK || result.open_code == SPLITER_ERR_NO_MEMORY);
            ASSERT_FALSE(testing::Test::HasFailure());
            if (!heap.has_failed()) break;
        }
    }
}

void expect_defined_when_truncated(const SplitterApi &api, const ByteStore &file, uint32_t kind) {
    TestSource whole(file, kind);
    const WalkResult expected = walk_file(api, whole);
    const uint64_t limit = sane_calls(file, whole.calls());
    for (uint64_t size = 0; size < file.size(); size += size < 65536 ? 1 : 997) {
        SCOPED_TRACE("cut at " + std::to_string(size));
        const WalkResult result = broken_walk(api, PrefixStore(file, size), kind,
                                              {.end_is_success = size % 2 != 0, .call_limit = limit});
        ASSERT_FALSE(testing::Test::HasFailure());
        for (size_t i = 0; i < result.runs.size(); ++i) {
            const std::vector<Frame> &frames = result.runs[i].frames;
            if (frames.empty()) continue;
            ASSERT_LT(i, expected.runs.size());
            ASSERT_LE(frames.size(), expected.runs[i].frames.size()) << "track " << i + 1;
            for (size_t n = 0; n < frames.size(); ++n) {
                ASSERT_TRUE(same_in_cut_file(frames[n], expected.runs[i].frames[n], n + 1 == frames.size()))
                    << "track " << i + 1 << ", frame " << n;
            }
        }
    }
}

}  // namespace quorv::test
