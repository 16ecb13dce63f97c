// A container opened through a splitter's public functions: one class for tests that read whole files, with
// all results kept for comparison.
#ifndef QUORV_TESTS_SUPPORT_SPLITTERFILE_H
#define QUORV_TESTS_SUPPORT_SPLITTERFILE_H

#include <quorv/splitter.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "support/TestSource.h"

namespace quorv::test {

// The functions that both splitters have.
struct SplitterApi {
    uint32_t (*get_http_param)(const SplitterStreamSource *, SplitterHttpParam *, SplitterHandle *);
    uint32_t (*open)(const SplitterStreamSource *, uint32_t, SplitterHandle *);
    uint32_t (*enum_track)(SplitterHandle, SplitterTrackList *);
    uint32_t (*get_track_info)(SplitterHandle, uint32_t, void *, uint32_t);
    uint32_t (*get_config)(SplitterHandle, uint32_t, void *, uint32_t *);
    uint32_t (*set_config)(SplitterHandle, uint32_t, const void *, uint32_t);
    uint32_t (*read_frame)(SplitterHandle, uint32_t, void *, uint32_t, SplitterFrameInfo *);
    uint32_t (*seek)(SplitterHandle, uint32_t, uint32_t *, uint32_t);
    uint32_t (*reset)(SplitterHandle);
    uint32_t (*is_seekable)(SplitterHandle, uint32_t);
    uint32_t (*close)(SplitterHandle);
};

extern const SplitterApi kAviSplitter, kAsfSplitter;

// Whether a function may answer with this code, if the source gives no others than TestSource does.
inline bool is_documented(uint32_t code) {
    constexpr uint32_t kCodes[] = {SPLITER_OK,
                                   SPLITER_ERR_IO,
                                   SPLITER_ERR_INVALID_PARAM,
                                   SPLITER_ERR_UNSUPPORTED,
                                   kSourceFailed,
                                   kSourceAtEnd,
                                   SPLITER_ERR_BUFFER_TOO_SMALL,
                                   SPLITER_ERR_END_OF_STREAM,
                                   SPLITER_ERR_NO_MEMORY,
                                   SPLITER_ERR_NO_PARSER,
                                   SPLITER_ERR_BAD_FORMAT,
                                   SPLITER_ERR_DATA_PENDING};
    return std::find(std::begin(kCodes), std::end(kCodes), code) != std::end(kCodes);
}

struct Frame {
    uint32_t code = 0;
    SplitterFrameInfo info = {};
    Bytes data;
    bool operator==(const Frame &other) const;
};

// The frames of a track, and the code that ended them.
struct FrameRun {
    std::vector<Frame> frames;
    uint32_t end_code = 0;
    bool operator==(const FrameRun &) const = default;
};

class SplitterFile {
public:
    // Opens the file; open_code tells how that went.
    SplitterFile(const SplitterApi &api, const SplitterStreamSource &source, uint32_t mode = 1);
    // Takes over a handle.
    SplitterFile(const SplitterApi &api, SplitterHandle handle) : api_(api), handle_(handle) {}
    ~SplitterFile();
    SplitterFile(const SplitterFile &) = delete;
    SplitterFile &operator=(const SplitterFile &) = delete;

    SplitterHandle handle() const { return handle_; }
    std::vector<SplitterTrackEntry> tracks();
    SplitterVideoInfo video_info(uint32_t track);
    SplitterAudioInfo audio_info(uint32_t track);
    Bytes codec_data(uint32_t track);
    // The next frame, in a buffer that grows as it is told and is never a byte larger than capacity says.
    Frame read(uint32_t track, uint32_t capacity = 1 << 16);
    // At most limit frames, up to the first failure.
    FrameRun read_all(uint32_t track, size_t limit = SIZE_MAX);
    // The code; *reached gets the time.
    uint32_t seek(uint32_t track, uint32_t time, uint32_t mode, uint32_t *reached = nullptr);
    uint32_t is_seekable(uint32_t track) { return api_.is_seekable(handle_, track); }
    uint32_t reset() { return api_.reset(handle_); }
    uint32_t next_key_time(uint32_t track, uint32_t *time);
    // From the first video frame, where the splitter would put it in front.
    void omit_codec_data();
    uint32_t close();

    uint32_t open_code = 0;

private:
    const SplitterApi &api_;
    SplitterHandle handle_ = nullptr;
};

// A file in memory that one of the splitters has open: bytes, source and handle together.
template <const SplitterApi &api>
struct OpenedBytesOf {
    explicit OpenedBytesOf(Bytes what, uint32_t kind = SPLITER_SOURCE_LOCAL, Faults faults = {})
        : bytes(std::move(what)), source(bytes, kind, faults), file(api, source.record()) {}

    MemoryStore bytes;
    TestSource source;
    SplitterFile file;
};

}  // namespace quorv::test

#endif
