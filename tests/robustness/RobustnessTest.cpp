// Small files of every kind, by the builders and by real encoders and muxers, broken in every place, one
// after the other: the source, the heap and the file itself. Each time the whole public interface is walked
// through. Whatever happens: documented codes only, cleared records, nothing left allocated or open.

#include "interop/RealSamples.h"
#include "support/FailingAllocator.h"
#include "support/SampleFiles.h"

namespace quorv::test {
namespace {

constexpr size_t kMostFrames = 20000;

// What a walk through a file found, as far as two walks can be compared.
struct Walk {
    uint32_t open_code = 0;
    std::vector<FrameRun> runs;  // of each track, from the start
    uint64_t calls = 0;          // of callbacks
    bool lacked_memory = false;
};

uint32_t documented(uint32_t code) {
    EXPECT_TRUE(is_documented(code)) << "code " << code;
    return code;
}

// A failed read leaves nothing in the record but the size that a larger buffer must have.
Frame read(SplitterFile &file, uint32_t track) {
    Frame frame = file.read(track, 512);
    SplitterFrameInfo clear = {};
    if (frame.code == SPLITER_ERR_BUFFER_TOO_SMALL) clear.size = frame.info.size;
    EXPECT_TRUE(documented(frame.code) == SPLITER_OK || memcmp(&frame.info, &clear, sizeof clear) == 0);
    return frame;
}

void query_track(const SplitterApi &api, SplitterHandle handle, uint32_t track) {
    uint8_t record[64];
    documented(api.get_track_info(handle, track, record, sizeof record));
    SplitterTrackData data = {track, nullptr, 0};
    uint32_t size = sizeof data;
    if (documented(api.get_config(handle, SPLITER_CFG_CODEC_DATA, &data, &size)) == SPLITER_OK) {
        volatile uint8_t sum = 0;  // every byte of it can be read
        for (uint32_t i = 0; i < data.length; ++i)
            sum = sum ^ static_cast<const uint8_t *>(data.data)[i];
    }
    SplitterTrackValue value = {track, 0};
    size = sizeof value;
    documented(api.get_config(handle, SPLITER_CFG_NEXT_KEYFRAME_TIME, &value, &size));
    api.is_seekable(handle, track);  // a truth value or a code: any number
}

using Tracks = std::vector<SplitterTrackEntry>;

// All tracks in turn, frame by frame.
std::vector<FrameRun> read_in_turn(SplitterFile &file, const Tracks &tracks, size_t limit) {
    std::vector<FrameRun> runs(tracks.size());
    bool any = true;
    for (size_t n = 0; n < limit && any; ++n) {
        any = false;
        for (size_t i = 0; i < tracks.size(); ++i) {
            if (runs[i].end_code != SPLITER_OK) continue;
            Frame frame = read(file, tracks[i].track);
            runs[i].end_code = frame.code;
            if (frame.code != SPLITER_OK) continue;
            runs[i].frames.push_back(std::move(frame));
            any = true;
        }
    }
    return runs;
}

std::vector<FrameRun> use_file(const SplitterApi &api, SplitterFile &file) {
    const Tracks tracks = file.tracks();
    for (uint32_t track = 0; track <= tracks.size() + 1; ++track)
        query_track(api, file.handle(), track);
    std::vector<FrameRun> runs = read_in_turn(file, tracks, kMostFrames);
    for (const SplitterTrackEntry &entry : tracks) {
        for (const uint32_t time : {1u, 70u, 250u, 0xFFFFFFFEu, UINT32_MAX, 0u}) {
            for (const uint32_t mode : {SPLITER_SEEK_BACKWARD, SPLITER_SEEK_FORWARD}) {
                documented(file.seek(entry.track, time, mode));
                read(file, entry.track);
            }
        }
        query_track(api, file.handle(), entry.track);
    }
    documented(file.reset());
    read_in_turn(file, tracks, 2);
    return runs;
}

// Opens the file and calls every function on every track. The faults stay in force until it is closed.
Walk walk_file(const SplitterApi &api, const ByteStore &file, uint32_t kind, const Faults &faults = {},
               uint64_t failing_allocation = 0, FailureSpan span = FailureSpan::Once) {
    Walk result;
    TestSource source(file, kind, faults);
    FailingAllocator heap(failing_allocation, span);
    const SplitterStreamSource record = source.record();
    SplitterHandle handle = nullptr;
    if (kind != SPLITER_SOURCE_LOCAL) {
        SplitterHttpParam param = {};
        const uint32_t code = documented(api.get_http_param(&record, &param, &handle));
        EXPECT_EQ(handle == nullptr, code != SPLITER_OK);
    }
    const bool came_in = handle != nullptr;
    result.open_code = documented(api.open(&record, 1, &handle));
    EXPECT_EQ(handle == nullptr, !came_in && result.open_code != SPLITER_OK);
    if (handle != nullptr) {
        SplitterFile opened(api, handle);
        result.runs = use_file(api, opened);
        if (documented(opened.close()) != SPLITER_OK) {
            source.faults.at = 0;
            EXPECT_EQ(opened.close(), 0u);
        }
    }
    EXPECT_TRUE(!source.is_open() || source.failed_closes != 0);
    EXPECT_EQ(heap.live_blocks(), 0u);
    result.calls = source.calls();
    result.lacked_memory = heap.has_failed();
    return result;
}

// The file's name and kind of source, and where it comes from: a builder, or else samples/make-samples.sh.
struct Target {
    std::string name;
    uint32_t kind;
    const SampleFile *sample;
};

void PrintTo(const Target &target, std::ostream *out) {
    *out << target.name;
}

// The loops' work grows with the square of a file's size; two real ones are too big, and one is like the
// committed one.
std::vector<Target> targets() {
    std::vector<Target> all;
    for (const uint32_t kind : {SPLITER_SOURCE_LOCAL, SPLITER_SOURCE_PROGRESSIVE}) {
        for (const SampleFile &sample : sample_files())
            all.push_back({sample.name, kind, &sample});
        for (const std::string &real : real_samples()) {
            if (real != "h264-mp3-large" && real != "h264-two-index-blocks" && real != "h264-mp3")
                all.push_back({real, kind, nullptr});
        }
    }
    return all;
}

class Robustness : public testing::TestWithParam<Target> {
protected:
    void SetUp() override {
        if (sample != nullptr) {
            file = sample->bytes;
            return;
        }
        std::string path;
        find_real_sample(GetParam().name, &path);
        if (!path.empty()) file = MemoryStore(bytes_of_file(path));
    }
    Walk walk(const Faults &faults = {}, uint64_t failing_allocation = 0,
              FailureSpan span = FailureSpan::Once) const {
        return walk_file(api, file, kind, faults, failing_allocation, span);
    }
    // What may be asked of a source for the file before it must be taken for a hang.
    uint64_t sane_calls(uint64_t unbroken_calls) const {
        return 20 * unbroken_calls + 100 * std::min<uint64_t>(file.size(), 1 << 20) + 10000;
    }

    const SampleFile *const sample = GetParam().sample;
    const SplitterApi &api = sample != nullptr ? sample->api : kAviSplitter;
    const uint32_t kind = GetParam().kind;
    MemoryStore file;
};

INSTANTIATE_TEST_SUITE_P(All, Robustness, testing::ValuesIn(targets()), [](const auto &which) {
    std::string name = which.param.name + "_of_kind_" + std::to_string(which.param.kind);
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

// The first callback goes wrong, then the second, and so on until none does; once or from then on; as a
// failure or as a read that delivers nothing.
TEST_P(Robustness, FailingCallbacks) {
    const uint64_t limit = sane_calls(walk().calls);
    for (const FaultKind fault : {FaultKind::Fail, FaultKind::EmptyRead}) {
        for (const bool for_good : {false, true}) {
            uint64_t calls = UINT64_MAX;
            for (uint64_t at = 1; at <= calls; ++at) {
                SCOPED_TRACE("callback " + std::to_string(at) + (for_good ? " and all later ones" : ""));
                calls = walk({.at = at, .for_good = for_good, .kind = fault, .call_limit = limit}).calls;
                ASSERT_FALSE(HasFailure());
            }
        }
    }
}

// One byte a read, short reads, reads without bytes, and sizes that are not known. As long as bytes come and
// the size is known, the frames are those of a source that gives all at once.
TEST_P(Robustness, OddSources) {
    const Walk expected = walk();
    const uint64_t limit = sane_calls(expected.calls + 100 * file.size());  // of single bytes
    for (const uint32_t longest_read : {UINT32_MAX, 1u, 3u, 7u, 100u, 0u}) {
        for (const SizeAnswer size :
             {SizeAnswer::Known, SizeAnswer::Zero, SizeAnswer::Negative, SizeAnswer::Fails}) {
            for (const bool end_is_success : {false, true}) {
                SCOPED_TRACE(testing::Message() << "reads of at most " << longest_read << ", size answer "
                                                << static_cast<int>(size));
                const Walk result = walk({.longest_read = longest_read,
                                          .size = size,
                                          .end_is_success = end_is_success,
                                          .call_limit = limit});
                if (longest_read != 0 && size == SizeAnswer::Known) {
                    ASSERT_EQ(result.open_code, expected.open_code);
                    ASSERT_TRUE(result.runs == expected.runs);
                }
                ASSERT_FALSE(HasFailure());
            }
        }
    }
}

// Sources that claim all bytes and write nothing, from the start, in the middle of the file and behind its
// end: of what the headers claim, and when they claim far more, the first RIFF and its "movi" list, or the
// packets, which are all that counts in a Data Object without a size. No walk makes more callbacks than a
// single call may.
TEST_P(Robustness, LyingSources) {
    MemoryStore boastful = file;
    if (&api == &kAsfSplitter) {
        boastful.patch(sample->header_bytes - 10, le32(INT32_MAX));
    } else {
        const Bytes bytes = file.flatten(), movi = text("movi");
        const auto at = std::search(bytes.begin(), bytes.end(), movi.begin(), movi.end());
        boastful.patch(4, le32(UINT32_MAX - 1));
        boastful.patch(static_cast<uint64_t>(at - bytes.begin()) - 4, le32(UINT32_MAX - 1));
    }
    for (const MemoryStore &store : {file, boastful}) {
        for (uint64_t from = 0; from <= store.size(); from += store.size() / 16) {
            for (const SizeAnswer size :
                 {SizeAnswer::Known, SizeAnswer::Zero, SizeAnswer::Huge, SizeAnswer::Fails}) {
                for (const LiarTells tells :
                     {LiarTells::WhatItClaims, LiarTells::NoMovement, LiarTells::MoreEachTime}) {
                    SCOPED_TRACE(testing::Message()
                                 << "lies from " << from << ", size answer " << static_cast<int>(size)
                                 << ", tells " << static_cast<int>(tells));
                    walk_file(api, store, kind,
                              {.size = size, .lies_from = from, .liar_tells = tells, .call_limit = 100000});
                    ASSERT_FALSE(HasFailure());
                }
            }
        }
    }
}

// A callback that fails once between Open and the last frame is reported by the call that met it, and the
// frames are those of an unbroken source. The AVI index of a progressive source is read along with the
// frames. A failure there ends the index, not the frames, so their key flags may be missing afterwards.
TEST_P(Robustness, TransientFailuresWhileReadingFrames) {
    const bool keys = kind == SPLITER_SOURCE_LOCAL || &api == &kAsfSplitter;
    TestSource whole(file, kind);
    SplitterFile unbroken(api, whole.record());
    ASSERT_EQ(unbroken.open_code, 0u);
    const Tracks tracks = unbroken.tracks();
    const std::vector<FrameRun> expected = read_in_turn(unbroken, tracks, kMostFrames);
    bool was_hit = true;
    for (uint64_t at = 1; was_hit; ++at) {
        SCOPED_TRACE("callback " + std::to_string(at) + " behind Open");
        TestSource source(file, kind);
        SplitterFile broken(api, source.record());
        source.faults.at = source.calls() + at;
        for (size_t n = 0, ended = 0; ended < tracks.size(); ++n) {
            ended = 0;
            for (size_t i = 0; i < tracks.size(); ++i) {
                Frame frame = broken.read(tracks[i].track, 512);
                if (frame.code == kSourceFailed) frame = broken.read(tracks[i].track, 512);
                if (n >= expected[i].frames.size()) {
                    ASSERT_EQ(frame.code, expected[i].end_code);
                    ++ended;
                    continue;
                }
                const Frame &right = expected[i].frames[n];
                if (!keys) frame.info.key_frame = right.info.key_frame;
                ASSERT_TRUE(frame == right)
                    << "track " << i + 1 << ", frame " << n << ", code " << frame.code;
            }
        }
        was_hit = source.calls() >= source.faults.at;
        source.faults.at = 0;
    }
}

// The first allocation fails, then the second, and so on; once or from then on.
TEST_P(Robustness, FailingAllocations) {
    for (const FailureSpan span : {FailureSpan::Once, FailureSpan::ForGood}) {
        bool lacked_memory = true;
        for (uint64_t at = 1; lacked_memory; ++at) {
            SCOPED_TRACE("allocation " + std::to_string(at) +
                         (span == FailureSpan::ForGood ? " and all later ones" : ""));
            const Walk result = walk({}, at, span);
            ASSERT_TRUE(result.open_code == SPLITER_OK || result.open_code == SPLITER_ERR_NO_MEMORY);
            ASSERT_FALSE(HasFailure());
            lacked_memory = result.lacked_memory;
        }
    }
}

// At every byte below 64 KB, then at every 997th. ARM's tests run in an emulator, which takes one cut in
// seven behind the headers: the other builds take them all.
uint64_t next_cut(uint64_t size) {
#ifdef __arm__
    constexpr uint64_t kHeaders = 4096, kStep = 7;
#else
    constexpr uint64_t kHeaders = 65536, kStep = 1;
#endif
    if (size >= 65536) return size + 997;
    return size + (size < kHeaders ? 1 : kStep);
}

// What is read of a file that is cut is the beginning of what the whole file gives.
TEST_P(Robustness, Truncation) {
    const Walk expected = walk();
    const uint64_t limit = sane_calls(expected.calls);
    for (uint64_t size = 0; size < file.size(); size = next_cut(size)) {
        SCOPED_TRACE("cut at " + std::to_string(size));
        const Walk result = walk({.end_is_success = size % 2 != 0, .cut = size, .call_limit = limit});
        ASSERT_FALSE(HasFailure());
        for (size_t i = 0; i < result.runs.size(); ++i) {
            const std::vector<Frame> &frames = result.runs[i].frames;
            if (frames.empty()) continue;
            ASSERT_LT(i, expected.runs.size());
            ASSERT_LE(frames.size(), expected.runs[i].frames.size()) << "track " << i + 1;
            for (size_t n = 0; n < frames.size(); ++n) {
                Frame frame = frames[n];
                const Frame &right = expected.runs[i].frames[n];
                frame.info.key_frame = right.info.key_frame;  // the index may be gone
                // Where a duration is the time to the next frame, the last one before the cut has none.
                if (n + 1 == frames.size()) frame.info.duration = right.info.duration;
                ASSERT_TRUE(frame == right) << "track " << i + 1 << ", frame " << n;
            }
        }
    }
}

}  // namespace
}  // namespace quorv::test
