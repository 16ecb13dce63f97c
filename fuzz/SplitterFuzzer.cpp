// Fuzz harness of the splitters, built once for each: all its functions over a stream in memory. The input is
// a file, control bytes behind it, and as the last byte their number. They say how the stream misbehaves and
// which functions are called in which order; without any the file is opened, read to its end and closed.

#include <string.h>

#include <span>

#include "Harness.h"
#include "support/SplitterFile.h"

namespace {

using namespace quorv::test;
using quorv::fuzz::require;

// Which of the splitters, by the name of its table.
const SplitterApi &api = QUORV_FUZZED_SPLITTER;

using Tracks = std::span<const SplitterTrackEntry>;

constexpr uint32_t kMostFrames = 200;
constexpr uint64_t kMostCalls = 10000000;
constexpr uint32_t kLargestBuffer = 1 << 20;

// Control bytes, zeros behind their end.
struct Control : std::span<const uint8_t> {
    uint32_t byte() {
        const uint32_t first = empty() ? 0 : front();
        if (!empty()) *this = {subspan(1)};
        return first;
    }
    uint32_t word() {
        const uint32_t low = byte();
        return low | byte() << 8;
    }
};

void require_documented(uint32_t code) {
    require(is_documented(code) && code != SPLITER_ERR_NO_MEMORY);
}

Faults take_faults(Control &control) {
    constexpr uint32_t kLongestReads[] = {UINT32_MAX, 1, 3, 7, 100, 0, 4096, 65535};
    constexpr SizeAnswer kSizes[] = {SizeAnswer::Known, SizeAnswer::Zero, SizeAnswer::Negative,
                                     SizeAnswer::Fails};
    Faults faults;
    const uint32_t settings = control.byte();
    faults.longest_read = kLongestReads[settings & 7];
    faults.size = kSizes[settings >> 3 & 3];
    faults.end_is_success = (settings & 0x20) != 0;
    faults.for_good = (settings & 0x40) != 0;
    faults.kind = (settings & 0x80) != 0 ? FaultKind::EmptyRead : FaultKind::Fail;
    faults.at = control.word();
    const uint32_t arrived = control.word();
    if (arrived != 0) faults.arrived = arrived;
    faults.call_limit = kMostCalls;
    return faults;
}

uint32_t read_frame(SplitterHandle handle, uint32_t track, uint32_t capacity) {
    for (;;) {
        Bytes buffer(capacity);
        SplitterFrameInfo info;
        memset(&info, 0x5A, sizeof info);
        const uint32_t code = api.read_frame(handle, track, buffer.data(), capacity, &info);
        require_documented(code);
        require(code != SPLITER_OK || (info.size <= capacity && info.key_frame <= 1));
        require(code == SPLITER_OK || (info.time_stamp | info.duration | info.key_frame) == 0);
        if (code != SPLITER_ERR_BUFFER_TOO_SMALL) return code;
        require(info.size > capacity);
        if (info.size > kLargestBuffer) return code;
        capacity = info.size;
    }
}

void read_all(SplitterHandle handle, Tracks tracks) {
    for (const SplitterTrackEntry &entry : tracks) {
        for (uint32_t n = 0; n < kMostFrames; ++n) {
            if (read_frame(handle, entry.track, 512) != SPLITER_OK) break;
        }
    }
}

void query(SplitterHandle handle, uint32_t track) {
    uint8_t record[sizeof(SplitterAudioInfo)];
    require_documented(api.get_track_info(handle, track, record, sizeof record));
    SplitterTrackData data = {track, nullptr, 0};
    uint32_t size = sizeof data;
    require_documented(api.get_config(handle, SPLITER_CFG_CODEC_DATA, &data, &size));
    const uint8_t *const bytes = static_cast<const uint8_t *>(data.data);
    require(data.length == 0 ||
            memcmp(quorv::fuzz::exact_copy(bytes, data.length).get(), bytes, data.length) == 0);
    SplitterTrackValue value = {track, 0};
    size = sizeof value;
    require_documented(api.get_config(handle, SPLITER_CFG_NEXT_KEYFRAME_TIME, &value, &size));
}

void open_again(SplitterHandle handle, TestSource &source) {
    const SplitterStreamSource record = source.record();
    SplitterHttpParam param = {};
    SplitterHandle same = handle;
    require_documented(api.get_http_param(&record, &param, &same));
    require_documented(api.open(&record, 2, &same));
    require(same == handle);
}

// One call, chosen by the low half of the byte; the high half is the track.
void call(SplitterHandle handle, Tracks tracks, TestSource &source, Control &control) {
    const uint32_t choice = control.byte(), what = choice & 15, track = choice >> 4, value = 0;
    if (what == 0) query(handle, track);
    if (what == 1) api.is_seekable(handle, track);
    if (what == 2) require_documented(api.reset(handle));
    if (what >= 3 && what <= 5) {
        uint32_t time = what == 5 ? UINT32_MAX : control.word() * 16;
        require_documented(api.seek(handle, track, &time, what == 3));
    }
    if (what == 6) read_all(handle, tracks);
    if (what == 7) open_again(handle, source);
    if (what == 8) source.faults.at = source.calls() + control.byte();
    if (what == 9) source.faults.arrived = UINT64_MAX;
    if (what == 10) require_documented(api.set_config(handle, control.byte(), &value, sizeof value));
    if (what > 10) read_frame(handle, track, what * 8);
}

void use(SplitterHandle handle, TestSource &source, Control &control) {
    SplitterTrackList list = {};
    require_documented(api.enum_track(handle, &list));
    require(list.count <= 100);
    const Tracks tracks(list.entries, list.count);
    for (const SplitterTrackEntry &entry : tracks)
        query(handle, entry.track);
    for (uint32_t track = 0; track <= list.count + 1; ++track)
        query(handle, track);
    if (control.empty()) read_all(handle, tracks);
    while (!control.empty())
        call(handle, tracks, source, control);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    const size_t control_size = std::min<size_t>(data[size - 1], size - 1);
    const size_t file_size = size - 1 - control_size;
    const MemoryStore store(Bytes(data, data + file_size));
    Control control = {{data + file_size, control_size}};
    const uint32_t start = control.byte();
    TestSource source(store, start & 1 ? SPLITER_SOURCE_PROGRESSIVE : SPLITER_SOURCE_LOCAL,
                      take_faults(control));
    const SplitterStreamSource record = source.record();
    SplitterHandle handle = nullptr;
    if ((start & 2) != 0) {
        SplitterHttpParam param = {};
        require_documented(api.get_http_param(&record, &param, &handle));
    }
    if ((start & 4) == 0 || handle == nullptr) require_documented(api.open(&record, 1, &handle));
    if (handle == nullptr) return 0;
    use(handle, source, control);
    if (api.close(handle) != SPLITER_OK) {
        source.faults.at = 0;
        require(api.close(handle) == SPLITER_OK);
    }
    require(!source.is_open() || source.failed_closes != 0);
    return 0;
}
