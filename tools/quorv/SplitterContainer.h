// A container behind one of the library's splitters.
#ifndef QUORV_TOOLS_QUORV_SPLITTERCONTAINER_H
#define QUORV_TOOLS_QUORV_SPLITTERCONTAINER_H

#include "Container.h"

namespace quorv::tool {

// What every splitter exports, and what is known of its format beyond that.
struct Splitter {
    std::string_view format;
    uint32_t (*open)(const SplitterStreamSource *, uint32_t, SplitterHandle *);
    uint32_t (*enum_track)(SplitterHandle, SplitterTrackList *);
    uint32_t (*get_track_info)(SplitterHandle, uint32_t, void *, uint32_t);
    uint32_t (*get_config)(SplitterHandle, uint32_t, void *, uint32_t *);
    uint32_t (*set_config)(SplitterHandle, uint32_t, const void *, uint32_t);
    uint32_t (*read_frame)(SplitterHandle, uint32_t, void *, uint32_t, SplitterFrameInfo *);
    uint32_t (*seek)(SplitterHandle, uint32_t, uint32_t *, uint32_t);
    uint32_t (*is_seekable)(SplitterHandle, uint32_t);
    uint32_t (*close)(SplitterHandle);
    std::string (*find_damage)(FileSource &);
};

class SplitterContainer final : public Container {
public:
    SplitterContainer(const Splitter &splitter, FileSource &file);
    ~SplitterContainer() override;
    SplitterContainer(const SplitterContainer &) = delete;
    SplitterContainer &operator=(const SplitterContainer &) = delete;

    std::string_view format() const override { return splitter_.format; }
    const std::vector<Track> &tracks() const override { return tracks_; }
    bool read_frame(const Track &track, Frame &frame) override;
    SeekResult seek(const Track &track, uint32_t time, SeekMode mode) override;
    std::string damage() override { return splitter_.find_damage(file_); }

private:
    void list_tracks();
    Track describe(const SplitterTrackEntry &entry);
    std::span<const uint8_t> codec_data(uint32_t track);
    void grow_buffer(uint32_t track, uint64_t wanted);
    [[noreturn]] void fail(uint32_t code, const std::string &doing) const;
    void check_reads() const;

    const Splitter &splitter_;
    FileSource &file_;
    SplitterHandle handle_ = nullptr;
    std::vector<Track> tracks_;
    std::unique_ptr<uint8_t[]> buffer_;
    uint32_t capacity_ = 0;
};

std::unique_ptr<Container> open_avi(FileSource &file);
std::unique_ptr<Container> open_asf(FileSource &file);

}  // namespace quorv::tool

#endif
