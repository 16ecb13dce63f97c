// A container opened through a splitter's public functions: one class for tests that read whole files, with
// all results kept for comparison.
#ifndef QUORV_TESTS_SUPPORT_SPLITTERFILE_H
#define QUORV_TESTS_SUPPORT_SPLITTERFILE_H

#include <quorv/asf_splitter.h>
#include <quorv/avi_splitter.h>

#include <memory>

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

inline constexpr SplitterApi kAviSplitter = {
    AVI_SPLITER_GetHTTPParam, AVI_SPLITER_Open,       AVI_SPLITER_EnumTrack, AVI_SPLITER_GetTrackInfo,
    AVI_SPLITER_GetConfig,    AVI_SPLITER_SetConfig,  AVI_SPLITER_ReadFrame, AVI_SPLITER_Seek,
    AVI_SPLITER_Reset,        AVI_SPLITER_IsSeekable, AVI_SPLITER_Close};
inline constexpr SplitterApi kAsfSplitter = {
    ASF_SPLITER_GetHTTPParam, ASF_SPLITER_Open,       ASF_SPLITER_EnumTrack, ASF_SPLITER_GetTrackInfo,
    ASF_SPLITER_GetConfig,    ASF_SPLITER_SetConfig,  ASF_SPLITER_ReadFrame, ASF_SPLITER_Seek,
    ASF_SPLITER_Reset,        ASF_SPLITER_IsSeekable, ASF_SPLITER_Close};

// Whether a function may answer with this code, if the source gives no others than TestSource does.
inline bool is_documented(uint32_t code) {
    return code <= SPLITER_ERR_NO_PARSER || code == SPLITER_ERR_BUFFER_TOO_SMALL ||
           code == SPLITER_ERR_DATA_PENDING || code == SPLITER_ERR_BAD_FORMAT ||
           code == SPLITER_ERR_END_OF_STREAM || code == kSourceFailed || code == kSourceAtEnd;
}

struct Frame {
    uint32_t code = 0;
    SplitterFrameInfo info = {};
    Bytes data;
    bool operator==(const Frame &other) const {
        return code == other.code && memcmp(&info, &other.info, sizeof info) == 0 && data == other.data;
    }
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
    SplitterFile(const SplitterApi &api, const SplitterStreamSource &source) : api_(api) {
        open_code = api_.open(&source, 1, &handle_);
    }
    // Takes over a handle.
    SplitterFile(const SplitterApi &api, SplitterHandle handle) : api_(api), handle_(handle) {}
    ~SplitterFile() {
        if (handle_ != nullptr) api_.close(handle_);
    }
    SplitterFile(const SplitterFile &) = delete;
    SplitterFile &operator=(const SplitterFile &) = delete;

    SplitterHandle handle() const { return handle_; }
    std::vector<SplitterTrackEntry> tracks() {
        SplitterTrackList list = {};
        if (api_.enum_track(handle_, &list) != SPLITER_OK) return {};
        return {list.entries, list.entries + list.count};
    }
    SplitterVideoInfo video_info(uint32_t track) { return info<SplitterVideoInfo>(track); }
    SplitterAudioInfo audio_info(uint32_t track) { return info<SplitterAudioInfo>(track); }
    Bytes codec_data(uint32_t track) {
        SplitterTrackData data = {track, nullptr, 0};
        uint32_t size = sizeof data;
        if (api_.get_config(handle_, SPLITER_CFG_CODEC_DATA, &data, &size) != SPLITER_OK) return {};
        const uint8_t *const bytes = static_cast<const uint8_t *>(data.data);
        return bytes == nullptr ? Bytes{} : Bytes(bytes, bytes + data.length);
    }
    // The next frame, in a buffer that grows as it is told and is never a byte larger than capacity says.
    Frame read(uint32_t track, uint32_t capacity = 1 << 16) {
        constexpr uint32_t kLargestFrame = 64u << 20;  // a file may state any size
        for (Frame frame;; capacity = frame.info.size) {
            const std::unique_ptr<uint8_t[]> buffer(new uint8_t[capacity]);
            memset(&frame.info, 0x5A, sizeof frame.info);
            frame.code = read_into(track, buffer.get(), capacity, &frame.info);
            if (frame.code == SPLITER_OK && frame.info.size <= capacity)
                frame.data.assign(buffer.get(), buffer.get() + frame.info.size);
            const bool grow = frame.code == SPLITER_ERR_BUFFER_TOO_SMALL && frame.info.size > capacity &&
                              frame.info.size <= kLargestFrame;
            if (!grow) return frame;
        }
    }
    uint32_t read_into(uint32_t track, void *buffer, uint32_t size, SplitterFrameInfo *info) {
        return api_.read_frame(handle_, track, buffer, size, info);
    }
    // At most limit frames, up to the first failure.
    FrameRun read_all(uint32_t track, size_t limit = SIZE_MAX) {
        FrameRun run;
        while (run.frames.size() < limit) {
            Frame frame = read(track);
            run.end_code = frame.code;
            if (frame.code != SPLITER_OK) break;
            run.frames.push_back(std::move(frame));
        }
        return run;
    }
    // The code; *reached gets the time.
    uint32_t seek(uint32_t track, uint32_t time, uint32_t mode, uint32_t *reached = nullptr) {
        const uint32_t code = api_.seek(handle_, track, &time, mode);
        if (reached != nullptr) *reached = time;
        return code;
    }
    uint32_t is_seekable(uint32_t track) { return api_.is_seekable(handle_, track); }
    uint32_t reset() { return api_.reset(handle_); }
    uint32_t next_key_time(uint32_t track, uint32_t *time) {
        SplitterTrackValue value = {track, 0};
        uint32_t size = sizeof value;
        const uint32_t code = api_.get_config(handle_, SPLITER_CFG_NEXT_KEYFRAME_TIME, &value, &size);
        *time = value.value;
        return code;
    }
    // From the first video frame, where the splitter would put it in front.
    void omit_codec_data() {
        const uint32_t no = 0;
        api_.set_config(handle_, SPLITER_CFG_CODEC_DATA_FIRST, &no, sizeof no);
    }
    // ASF: as for a source that is still arriving.
    uint32_t load_index() {
        const uint32_t yes = 1;
        return api_.set_config(handle_, SPLITER_CFG_LOAD_INDEX, &yes, sizeof yes);
    }
    uint32_t close() {
        const uint32_t code = api_.close(handle_);
        if (code == 0) handle_ = nullptr;
        return code;
    }

    uint32_t open_code = 0;

private:
    template <typename Info>
    Info info(uint32_t track) {
        Info info = {};
        api_.get_track_info(handle_, track, &info, sizeof info);
        return info;
    }

    const SplitterApi &api_;
    SplitterHandle handle_ = nullptr;
};

// A file in memory that one of the splitters has open: bytes, source and handle together.
template <const SplitterApi &api>
struct OpenedBytesOf {
    explicit OpenedBytesOf(const Bytes &what, uint32_t kind = SPLITER_SOURCE_LOCAL, Faults faults = {})
        : OpenedBytesOf(MemoryStore(what), kind, faults) {}
    explicit OpenedBytesOf(const MemoryStore &what, uint32_t kind = SPLITER_SOURCE_LOCAL, Faults faults = {})
        : bytes(what), source(bytes, kind, faults), file(api, source.record()) {}

    MemoryStore bytes;
    TestSource source;
    SplitterFile file;
};

}  // namespace quorv::test

#endif
