// Every sample file of both splitters, whole: from sources of every kind it must be the truth that the
// builder computed, also when its bytes arrive in pieces of any size.

#include <random>

#include "support/ExpectSeeks.h"
#include "support/SampleFiles.h"

namespace quorv::test {
namespace {

class WholeFiles : public testing::TestWithParam<size_t> {
protected:
    const SampleFile &sample = sample_files()[GetParam()];
    const SplitterApi &api = sample.api;

    static void expect_again(SplitterFile &file, const SampleFile::Track &track, bool keys) {
        expect_frames(file, track.entry.track, track.truth, {.stripped = track.cut_later, .keys = keys});
    }
};

INSTANTIATE_TEST_SUITE_P(All, WholeFiles, testing::Range(size_t{0}, sample_files().size()),
                         [](const auto &which) { return sample_files()[which.param].name; });

const std::pair<uint32_t, Faults> kSources[] = {
    {SPLITER_SOURCE_LOCAL, {}},
    {SPLITER_SOURCE_LOCAL, {.size = SizeAnswer::Zero, .end_is_success = true}},
    {SPLITER_SOURCE_PROGRESSIVE, {}},
    {SPLITER_SOURCE_PROGRESSIVE, {.size = SizeAnswer::Negative, .end_is_success = true}},
    {77, {}},  // progressive, too
};

// Tracks keep their own positions when they are read in turn, and a frame stays when its buffer is too small.
TEST_P(WholeFiles, AreTheTruthAndComeAgainAfterReset) {
    for (const auto &[kind, faults] : kSources) {
        SCOPED_TRACE(testing::Message() << "source " << kind << ", size " << static_cast<int>(faults.size));
        TestSource source(sample.bytes, kind, faults);
        SplitterFile file(api, source.record());
        const bool keys = kind == SPLITER_SOURCE_LOCAL || !sample.has_open_dml;
        const std::vector<SplitterTrackEntry> entries = file.tracks();
        ASSERT_EQ(entries.size(), sample.tracks.size());
        for (size_t i = 0; i < entries.size(); ++i) {
            EXPECT_EQ(entries[i].track, sample.tracks[i].entry.track);
            EXPECT_EQ(entries[i].type, sample.tracks[i].entry.type);
        }
        for (size_t n = 0; n < sample.tracks[0].truth.size(); ++n) {
            for (const SampleFile::Track &track : sample.tracks) {
                const size_t stripped = n == 0 ? track.cut_at_first : 0;
                if (n < track.truth.size())
                    expect_frames(
                        file, track.entry.track, track.truth,
                        {.from = n, .count = 1, .stripped = stripped, .keys = keys, .refused = true});
            }
        }
        // What was sent in front of a frame is not told of audio any more.
        for (const SampleFile::Track &track : sample.tracks)
            EXPECT_TRUE(track.cut_later == 0 || file.codec_data(track.entry.track).empty() ==
                                                    (track.entry.type == SPLITER_TRACK_AUDIO));
        ASSERT_EQ(file.reset(), 0u);
        for (size_t i = entries.size(); i-- > 0;)
            expect_again(file, sample.tracks[i], keys);
        ASSERT_EQ(file.seek(entries[0].track, 0, 0), 0u);
        expect_again(file, sample.tracks[0], keys);
        EXPECT_EQ(file.close(), 0u);
        EXPECT_FALSE(source.is_open());
        EXPECT_EQ(source.access_modes, sample.is_asf() ? (Numbers{1, 2, 2}) : Numbers{1});
    }
}

TEST_P(WholeFiles, SeeksReachWhatTheFrameListSays) {
    for (const uint32_t kind : kKinds) {
        // An OpenDML index of a source that is still arriving is not read.
        if (kind != SPLITER_SOURCE_LOCAL && sample.has_open_dml) continue;
        TestSource source(sample.bytes, kind);
        SplitterFile file(api, source.record());
        file.load_index();
        for (const SampleFile::Track &track : sample.tracks) {
            std::vector<TruthFrame> truth = track.truth;
            Bytes &first = truth.front().data;
            first.erase(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(track.cut_later));
            file.read_all(track.entry.track);  // takes what comes once
            const SeekRules rules = {track.entry.type == SPLITER_TRACK_VIDEO, track.unit};
            expect_seeks(file, track.entry.track, truth, rules);
            const auto is_target = [&](const TruthFrame &frame) { return rules.is_target(frame); };
            const auto targets = std::count_if(truth.begin(), truth.end(), is_target);
            if (sample.is_asf()) continue;
            EXPECT_EQ(file.is_seekable(track.entry.track) != 0, targets > 1);
        }
    }
}

// No byte too early, and no key flag lost once the index is there.
TEST_P(WholeFiles, ArriveInPieces) {
    std::mt19937 random(static_cast<uint32_t>(GetParam()));
    for (int round = 0; round < 20; ++round) {
        TestSource source(sample.bytes, SPLITER_SOURCE_PROGRESSIVE,
                          {.arrived = sample.is_asf() ? 0 : sample.header_bytes});
        uint64_t &arrived = source.faults.arrived;
        const auto when_arrived = [&](auto call) {
            uint32_t code = call();
            while (arrived < sample.bytes.size() &&
                   (code == kNotArrived || (code == kEnd && !sample.is_asf()))) {
                arrived += 1 + random() % 150;
                if (arrived >= sample.media_bytes) arrived = UINT64_MAX;
                code = call();
            }
            return code;
        };
        const SplitterStreamSource record = source.record();
        SplitterHandle handle = nullptr;
        SplitterHttpParam param = {};
        const auto ask = [&] { return api.get_http_param(&record, &param, &handle); };
        ASSERT_EQ(round % 2 != 0 ? when_arrived(ask) : 0u, 0u);
        ASSERT_EQ(when_arrived([&] { return api.open(&record, 1, &handle); }), 0u);
        SplitterFile file(api, handle);
        std::vector<size_t> order, next(sample.tracks.size());
        for (size_t i = 0; i < next.size(); ++i)
            order.insert(order.end(), sample.tracks[i].truth.size() + 1, i);
        std::shuffle(order.begin(), order.end(), random);
        for (const size_t i : order) {
            const SampleFile::Track &track = sample.tracks[i];
            const size_t n = next[i]++;
            Frame frame;
            const uint32_t code =
                when_arrived([&] { return (frame = file.read(track.entry.track, 40)).code; });
            ASSERT_EQ(code, n < track.truth.size() ? 0 : kEnd) << "track " << i << ", frame " << n;
            if (code != 0) continue;
            const TruthFrame &right = track.truth[n];
            const auto cut = static_cast<std::ptrdiff_t>(n == 0 ? track.cut_at_first : 0);
            ASSERT_EQ(frame.data, Bytes(right.data.begin() + cut, right.data.end()));
            ASSERT_EQ(frame.info.time_stamp, right.time_stamp);
            ASSERT_EQ(frame.info.duration, right.duration);
        }
        arrived = UINT64_MAX;
        ASSERT_EQ(file.reset(), 0u);
        for (const SampleFile::Track &track : sample.tracks)
            expect_again(file, track, !sample.has_open_dml);
    }
}

// Called too early it fails or finds no index; on the handle that was kept it then finds all.
TEST_P(WholeFiles, HttpParamSaysWhetherTheIndexIsThere) {
    for (const uint32_t kind : kKinds) {
        TestSource source(sample.bytes, kind);
        const SplitterStreamSource record = source.record();
        SplitterHandle handle = nullptr, first = nullptr;
        for (const bool whole : {false, true}) {
            if (kind == SPLITER_SOURCE_LOCAL && !whole) continue;
            source.faults.arrived = whole ? UINT64_MAX : sample.header_bytes;
            SplitterHttpParam param = {7, 7};
            const uint32_t code = api.get_http_param(&record, &param, &handle);
            EXPECT_TRUE(code == 0 || (code == kNotArrived && !whole && !sample.is_asf())) << code;
            const bool found =
                whole && sample.has_index && !(kind == SPLITER_SOURCE_LOCAL && sample.has_open_dml);
            EXPECT_EQ(param.index_flag, found ? 1u : 0u);
            EXPECT_EQ(param.reserved, 0u);
            EXPECT_TRUE(!sample.is_asf() || !source.is_open());
            if (first == nullptr) first = handle;
        }
        ASSERT_EQ(api.open(&record, 1, &handle), 0u);
        EXPECT_EQ(handle, first);
        SplitterFile file(api, handle);
        for (const SampleFile::Track &track : sample.tracks)
            expect_frames(file, track.entry.track, track.truth,
                          {.stripped = track.cut_at_first, .keys = !sample.has_open_dml});
    }
}

}  // namespace
}  // namespace quorv::test
