// A container behind one of the library's splitters; see the header.

#include "SplitterContainer.h"

#include <fmt/format.h>
#include <quorv/asf_splitter.h>
#include <quorv/avi_splitter.h>

#include <algorithm>

#include "Completeness.h"
#include "Failure.h"

namespace quorv::tool {

namespace {

constexpr uint64_t kFirstCapacity = 0x40000;
// A frame may carry a palette of this size, which the file holds in a shorter form.
constexpr uint64_t kPaletteBytes = 1024;

const Splitter kAvi = {
    "avi",
    AVI_SPLITER_Open,
    AVI_SPLITER_EnumTrack,
    AVI_SPLITER_GetTrackInfo,
    AVI_SPLITER_GetConfig,
    AVI_SPLITER_SetConfig,
    AVI_SPLITER_ReadFrame,
    AVI_SPLITER_Seek,
    AVI_SPLITER_IsSeekable,
    AVI_SPLITER_Close,
    find_avi_damage,
};

const Splitter kAsf = {
    "asf",
    ASF_SPLITER_Open,
    ASF_SPLITER_EnumTrack,
    ASF_SPLITER_GetTrackInfo,
    ASF_SPLITER_GetConfig,
    ASF_SPLITER_SetConfig,
    ASF_SPLITER_ReadFrame,
    ASF_SPLITER_Seek,
    ASF_SPLITER_IsSeekable,
    ASF_SPLITER_Close,
    find_asf_damage,
};

}  // namespace

SplitterContainer::SplitterContainer(const Splitter &splitter, FileSource &file)
    : splitter_(splitter), file_(file) {
    const SplitterStreamSource source = file_.callbacks();
    const uint32_t code = splitter_.open(&source, 1, &handle_);
    if (code != SPLITER_OK) fail(code, "cannot be opened");
    // The codec data of video need not come in front of a frame, too.
    const uint32_t no = 0;
    splitter_.set_config(handle_, SPLITER_CFG_CODEC_DATA_FIRST, &no, sizeof(no));
    try {
        list_tracks();
    } catch (...) {
        splitter_.close(handle_);
        throw;
    }
}

SplitterContainer::~SplitterContainer() {
    splitter_.close(handle_);
}

void SplitterContainer::list_tracks() {
    SplitterTrackList list = {};
    const uint32_t code = splitter_.enum_track(handle_, &list);
    check_reads();
    if (code == SPLITER_ERR_UNSUPPORTED)
        throw Failure(ExitCode::BadFile, "no tracks: the file's header is damaged or cut short");
    if (code != SPLITER_OK) fail(code, "its tracks cannot be listed");
    for (const SplitterTrackEntry &entry : std::span(list.entries, list.count))
        tracks_.push_back(describe(entry));
    check_reads();
}

Track SplitterContainer::describe(const SplitterTrackEntry &entry) {
    Track track;
    track.number = entry.track;
    track.type = entry.type;
    const auto get_info = [&]<typename Info>(Info info) {
        const uint32_t code = splitter_.get_track_info(handle_, entry.track, &info, sizeof(info));
        if (code != SPLITER_OK) fail(code, fmt::format("track {} cannot be described", entry.track));
        track.info = info;
    };
    if (entry.type == SPLITER_TRACK_VIDEO) {
        get_info(SplitterVideoInfo{});
    } else if (entry.type == SPLITER_TRACK_AUDIO) {
        get_info(SplitterAudioInfo{});
    } else {
        return track;
    }

    track.codec_data = codec_data(entry.track);
    track.seekable = splitter_.is_seekable(handle_, entry.track) == 1;
    return track;
}

std::span<const uint8_t> SplitterContainer::codec_data(uint32_t track) {
    SplitterTrackData data = {};
    data.track = track;
    uint32_t size = sizeof(data);
    const uint32_t code = splitter_.get_config(handle_, SPLITER_CFG_CODEC_DATA, &data, &size);
    if (code != SPLITER_OK) fail(code, fmt::format("the codec data of track {} cannot be read", track));
    return {static_cast<const uint8_t *>(data.data), data.length};
}

bool SplitterContainer::read_frame(const Track &track, Frame &frame) {
    if (capacity_ == 0) grow_buffer(track.number, 0);
    SplitterFrameInfo info = {};
    uint32_t code = 0;
    const size_t codec_data_before = codec_data(track.number).size();
    while ((code = splitter_.read_frame(handle_, track.number, buffer_.get(), capacity_, &info)) ==
           SPLITER_ERR_BUFFER_TOO_SMALL)
        grow_buffer(track.number, info.size);
    check_reads();
    if (code == SPLITER_ERR_END_OF_STREAM) return false;
    if (code != SPLITER_OK) fail(code, fmt::format("a frame of track {} cannot be read", track.number));
    frame = {{buffer_.get(), info.size}, info.time_stamp, info.duration, info.key_frame != 0};
    // Codec data that is gone was sent in front of this frame; users get it as the track's own.
    if (codec_data_before != 0 && codec_data(track.number).empty())
        frame.data = frame.data.subspan(std::min(codec_data_before, frame.data.size()));
    return true;
}

// The contents are not kept: the frame that did not fit is read again.
void SplitterContainer::grow_buffer(uint32_t track, uint64_t wanted) {
    const uint64_t largest = std::min<uint64_t>(file_.size() + kPaletteBytes, UINT32_MAX);
    if (capacity_ != 0 && (wanted <= capacity_ || wanted > largest))
        throw Failure(
            ExitCode::BadFile,
            fmt::format("a frame of track {} claims {} bytes, more than the file holds", track, wanted));
    capacity_ = static_cast<uint32_t>(std::min(std::max(wanted + wanted / 4, kFirstCapacity), largest));
    buffer_.reset();
    buffer_ = std::make_unique_for_overwrite<uint8_t[]>(capacity_);
}

SeekResult SplitterContainer::seek(const Track &track, uint32_t time, SeekMode mode) {
    const auto try_mode = [&](uint32_t splitter_mode) {
        uint32_t reached = time;
        const uint32_t code = splitter_.seek(handle_, track.number, &reached, splitter_mode);
        check_reads();
        if (code != SPLITER_OK && code != SPLITER_ERR_END_OF_STREAM && code != SPLITER_ERR_UNSUPPORTED)
            fail(code, fmt::format("track {} cannot be positioned", track.number));
        return code == SPLITER_OK;
    };
    if (try_mode(mode == SeekMode::Next ? SPLITER_SEEK_FORWARD : SPLITER_SEEK_BACKWARD))
        return SeekResult::Found;
    // Where there is an index, one of the two directions leads to a key frame.
    if (try_mode(mode == SeekMode::Next ? SPLITER_SEEK_BACKWARD : SPLITER_SEEK_FORWARD))
        return SeekResult::NoKeyFrame;
    if (!track.seekable || track.duration() == 0 || time < track.duration()) return SeekResult::NoIndex;
    // Behind the end not every splitter looks for something.
    time = track.duration() - 1;
    return mode == SeekMode::Previous && try_mode(SPLITER_SEEK_BACKWARD) ? SeekResult::Found
                                                                         : SeekResult::NoKeyFrame;
}

// The splitters go on after a failed read where they can, so a success may hide one.
void SplitterContainer::check_reads() const {
    if (file_.first_error() != 0) throw io_failure(file_.first_error());
}

void SplitterContainer::fail(uint32_t code, const std::string &doing) const {
    check_reads();
    if (code == SPLITER_ERR_NO_MEMORY) throw Failure(ExitCode::Io, "out of memory");
    if (code == SPLITER_ERR_BAD_FORMAT)
        throw Failure(ExitCode::BadFile, fmt::format("{}: the file is damaged", doing));
    throw Failure(ExitCode::BadFile, fmt::format("{} (result 0x{:X})", doing, code));
}

std::unique_ptr<Container> open_avi(FileSource &file) {
    return std::make_unique<SplitterContainer>(kAvi, file);
}

std::unique_ptr<Container> open_asf(FileSource &file) {
    return std::make_unique<SplitterContainer>(kAsf, file);
}

}  // namespace quorv::tool
