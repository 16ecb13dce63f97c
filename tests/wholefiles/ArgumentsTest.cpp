// What every function of both splitters refuses, and that records it was given are cleared.

#include "support/ExpectFrames.h"
#include "support/SampleFiles.h"

namespace quorv::test {
namespace {

constexpr uint32_t kInvalid = SPLITER_ERR_INVALID_PARAM;

class Arguments : public testing::TestWithParam<SplitterApi> {
protected:
    const SplitterApi &api = GetParam();
    const SampleFile &sample =
        *std::find_if(sample_files().begin(), sample_files().end(),
                      [this](const SampleFile &any) { return any.api.open == api.open; });
    const uint32_t track = sample.tracks[0].entry.track;
    TestSource source{sample.bytes};
    const SplitterStreamSource record = source.record();
    SplitterFile file{api, record};
    const SplitterHandle handle = file.handle();
    uint8_t bytes[64] = {};
    uint32_t word = 0;
};

INSTANTIATE_TEST_SUITE_P(All, Arguments, testing::Values(kAviSplitter, kAsfSplitter),
                         [](const auto &which) { return which.index == 0 ? "avi" : "asf"; });

TEST_P(Arguments, NullPointers) {
    SplitterHandle none = nullptr;
    SplitterHttpParam params[] = {{7, 7}, {7, 7}};
    SplitterTrackList list = {7, nullptr};
    SplitterFrameInfo infos[] = {{1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}};
    const uint32_t codes[] = {api.open(nullptr, 1, &none),
                              api.open(&record, 1, nullptr),
                              api.get_http_param(nullptr, &params[0], &none),
                              api.get_http_param(&record, &params[1], nullptr),
                              api.get_http_param(&record, nullptr, &none),
                              api.enum_track(nullptr, &list),
                              api.enum_track(handle, nullptr),
                              api.get_track_info(nullptr, track, bytes, sizeof bytes),
                              api.get_track_info(handle, track, nullptr, sizeof bytes),
                              api.read_frame(nullptr, track, bytes, sizeof bytes, &infos[0]),
                              api.read_frame(handle, track, nullptr, sizeof bytes, &infos[1]),
                              api.read_frame(handle, track, bytes, sizeof bytes, nullptr),
                              api.seek(nullptr, track, &word, 0),
                              api.seek(handle, track, nullptr, 0),
                              api.set_config(nullptr, 1, &word, 4),
                              api.set_config(handle, 1, nullptr, 4),
                              api.reset(nullptr),
                              api.close(nullptr)};
    for (const uint32_t &code : codes)
        EXPECT_EQ(code, kInvalid) << "call " << &code - codes;
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(words(params), Numbers(4));
    EXPECT_EQ(words(infos), Numbers(12));
    EXPECT_EQ(list.count, 0u);
}

TEST_P(Arguments, TracksThatThereAreNot) {
    for (const uint32_t missing : {0u, 9u, UINT32_MAX}) {
        SplitterFrameInfo info = {1, 2, 3, 4, 5, 6};
        EXPECT_EQ(api.get_track_info(handle, missing, bytes, sizeof bytes), kInvalid);
        EXPECT_EQ(api.read_frame(handle, missing, bytes, sizeof bytes, &info), kInvalid);
        EXPECT_EQ(words(info), Numbers(6));
        EXPECT_EQ(file.seek(missing, 0, 0), kInvalid);
    }
    EXPECT_EQ(api.set_config(handle, 1, &word, 4), uint32_t{SPLITER_ERR_UNSUPPORTED});
}

TEST_P(Arguments, ConfigRecords) {
    const uint32_t unknown = sample.is_asf() ? SPLITER_ERR_UNSUPPORTED : 0,
                   null = sample.is_asf() ? kInvalid : 0;
    SplitterTrackData data = {track, &data, 77};
    SplitterTrackValue value = {track, 5};
    const auto get = [this](uint32_t id, void *value_record, uint32_t size, uint32_t expected_size) {
        const uint32_t code = api.get_config(handle, id, value_record, &size);
        EXPECT_EQ(size, expected_size) << "identifier " << id;
        return code;
    };
    const uint32_t small = SPLITER_ERR_BUFFER_TOO_SMALL;
    EXPECT_EQ(get(SPLITER_CFG_CODEC_DATA, &data, sizeof data - 1, sizeof data - 1), small);
    EXPECT_EQ(get(SPLITER_CFG_NEXT_KEYFRAME_TIME, &value, 7, 7), small);
    EXPECT_EQ(get(99, &data, 1000, 1000), unknown);
    EXPECT_EQ(data.length, 77u);
    EXPECT_EQ(value.value, 5u);
    EXPECT_EQ(get(SPLITER_CFG_CODEC_DATA, &data, 1000, sizeof data), 0u);
    EXPECT_EQ(get(SPLITER_CFG_NEXT_KEYFRAME_TIME, &value, 1000, 8), 0u);
    EXPECT_EQ(data.length, file.codec_data(track).size());
    EXPECT_EQ(value.value, sample.is_asf() ? 160u : 0u);
    EXPECT_EQ(api.get_config(nullptr, SPLITER_CFG_CODEC_DATA, &data, &word), null);
    EXPECT_EQ(api.get_config(handle, SPLITER_CFG_CODEC_DATA, nullptr, &word), null);
    EXPECT_EQ(api.get_config(handle, SPLITER_CFG_CODEC_DATA, &data, nullptr), null);
}

TEST_P(Arguments, SourcesWithoutACallback) {
    using Source = SplitterStreamSource;
    void (*const remove[])(Source &) = {
        [](Source &s) { s.open = nullptr; }, [](Source &s) { s.close = nullptr; },
        [](Source &s) { s.read = nullptr; }, [](Source &s) { s.seek = nullptr; },
        [](Source &s) { s.tell = nullptr; }, [](Source &s) { s.size = nullptr; }};
    const uint64_t before = source.calls();
    for (const auto remove_one : remove) {
        SplitterStreamSource lacking = record;
        remove_one(lacking);
        SplitterHandle none = nullptr;
        SplitterHttpParam param;
        EXPECT_EQ(api.open(&lacking, 1, &none), kInvalid);
        EXPECT_EQ(api.get_http_param(&lacking, &param, &none), kInvalid);
    }
    EXPECT_EQ(source.calls(), before);
}

// Opening an open handle only rewinds it, and a track list stays where it is.
TEST_P(Arguments, AnOpenHandleIsOpenedAgain) {
    SplitterTrackList list = {}, again = {};
    EXPECT_EQ(api.enum_track(handle, &list), 0u);
    EXPECT_EQ(api.enum_track(handle, &again), 0u);
    EXPECT_EQ(list.entries, again.entries);
    file.read_all(track, 3);
    const size_t opened = source.access_modes.size();
    SplitterHandle same = handle;
    EXPECT_EQ(api.open(&record, 2, &same), 0u);
    EXPECT_EQ(same, handle);
    EXPECT_EQ(source.access_modes.size(), opened);
    expect_frames(file, track, sample.tracks[0].truth, {.stripped = sample.tracks[0].cut_later});
}

}  // namespace
}  // namespace quorv::test
