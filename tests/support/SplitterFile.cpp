// Calls into the public functions; see the header.

#include "support/SplitterFile.h"

#include <quorv/asf_splitter.h>
#include <quorv/avi_splitter.h>
#include <string.h>

#include <memory>

namespace quorv::test {
namespace {

// Larger frames are not fetched: a file may state any size.
constexpr uint32_t kLargestFrame = 64u << 20;

}  // namespace

const SplitterApi kAviSplitter = {AVI_SPLITER_GetHTTPParam, AVI_SPLITER_Open,      AVI_SPLITER_EnumTrack,
                                  AVI_SPLITER_GetTrackInfo, AVI_SPLITER_GetConfig, AVI_SPLITER_SetConfig,
                                  AVI_SPLITER_ReadFrame,    AVI_SPLITER_Seek,      AVI_SPLITER_Reset,
                                  AVI_SPLITER_IsSeekable,   AVI_SPLITER_Close};
const SplitterApi kAsfSplitter = {ASF_SPLITER_GetHTTPParam, ASF_SPLITER_Open,      ASF_SPLITER_EnumTrack,
                                  ASF_SPLITER_GetTrackInfo, ASF_SPLITER_GetConfig, ASF_SPLITER_SetConfig,
                                  ASF_SPLITER_ReadFrame,    ASF_SPLITER_Seek,      ASF_SPLITER_Reset,
                                  ASF_SPLITER_IsSeekable,   ASF_SPLITER_Close};

bool Frame::operator==(const Frame &other) const {
    return code == other.code && memcmp(&info, &other.info, sizeof info) == 0 && data == other.data;
}

SplitterFile::SplitterFile(const SplitterApi &api, const SplitterStreamSource &source, uint32_t mode)
    : api_(api) {
    open_code = api_.open(&source, mode, &handle_);
}

SplitterFile::~SplitterFile() {
    if (handle_ != nullptr) api_.close(handle_);
}

uint32_t SplitterFile::close() {
    const uint32_t code = api_.close(handle_);
    if (code == 0) handle_ = nullptr;
    return code;
}

std::vector<SplitterTrackEntry> SplitterFile::tracks() {
    SplitterTrackList list = {};
    if (api_.enum_track(handle_, &list) != SPLITER_OK) return {};
    return {list.entries, list.entries + list.count};
}

SplitterVideoInfo SplitterFile::video_info(uint32_t track) {
    SplitterVideoInfo info = {};
    api_.get_track_info(handle_, track, &info, sizeof info);
    return info;
}

SplitterAudioInfo SplitterFile::audio_info(uint32_t track) {
    SplitterAudioInfo info = {};
    api_.get_track_info(handle_, track, &info, sizeof info);
    return info;
}

Bytes SplitterFile::codec_data(uint32_t track) {
    SplitterTrackData data = {};
    data.track = track;
    uint32_t size = sizeof data;
    if (api_.get_config(handle_, SPLITER_CFG_CODEC_DATA, &data, &size) != SPLITER_OK) return {};
    const uint8_t *const bytes = static_cast<const uint8_t *>(data.data);
    return bytes == nullptr ? Bytes{} : Bytes(bytes, bytes + data.length);
}

Frame SplitterFile::read(uint32_t track, uint32_t capacity) {
    Frame frame;
    for (;;) {
        const std::unique_ptr<uint8_t[]> buffer(new uint8_t[capacity]);
        memset(&frame.info, 0x5A, sizeof frame.info);
        frame.code = api_.read_frame(handle_, track, buffer.get(), capacity, &frame.info);
        if (frame.code == SPLITER_OK && frame.info.size <= capacity) {
            frame.data.assign(buffer.get(), buffer.get() + frame.info.size);
        }
        const bool grow = frame.code == SPLITER_ERR_BUFFER_TOO_SMALL && frame.info.size > capacity &&
                          frame.info.size <= kLargestFrame;
        if (!grow) return frame;
        capacity = frame.info.size;
    }
}

FrameRun SplitterFile::read_all(uint32_t track, size_t limit) {
    FrameRun run;
    while (run.frames.size() < limit) {
        Frame frame = read(track);
        run.end_code = frame.code;
        if (frame.code != SPLITER_OK) break;
        run.frames.push_back(std::move(frame));
    }
    return run;
}

uint32_t SplitterFile::seek(uint32_t track, uint32_t time, uint32_t mode, uint32_t *reached) {
    const uint32_t code = api_.seek(handle_, track, &time, mode);
    if (reached != nullptr) *reached = time;
    return code;
}

uint32_t SplitterFile::next_key_time(uint32_t track, uint32_t *time) {
    SplitterTrackValue value = {};
    value.track = track;
    uint32_t size = sizeof value;
    const uint32_t code = api_.get_config(handle_, SPLITER_CFG_NEXT_KEYFRAME_TIME, &value, &size);
    *time = value.value;
    return code;
}

void SplitterFile::omit_codec_data() {
    const uint32_t no = 0;
    api_.set_config(handle_, SPLITER_CFG_CODEC_DATA_FIRST, &no, sizeof no);
}

}  // namespace quorv::test
