// The caller's source as the splitters read one: streams with positions, over reads at offsets.
#ifndef QUORV_SRC_MEDIA_MEDIASOURCE_H
#define QUORV_SRC_MEDIA_MEDIASOURCE_H

#include <quorv/quorv.h>

#include <array>

#include "media/ReadJournal.h"
#include "splitter/Code.h"

namespace quorv {

// The source has failed; its own answer is MediaSource::failure(). No splitter uses this code.
inline constexpr Code kSourceFailed{0x51000001};

// Notes what the source has answered during a call of the reader, because the splitters go on without bytes
// that did not come where they can.
class MediaSource {
public:
    explicit MediaSource(const QuorvSource &caller) : caller_(caller) {}
    ~MediaSource();
    MediaSource(const MediaSource &) = delete;
    MediaSource &operator=(const MediaSource &) = delete;

    // For Open of a splitter; this object must outlive its handle.
    SplitterStreamSource callbacks();

    // A call of the reader begins: nothing has been met yet.
    void begin_call();
    // It ends, and will not be repeated for want of bytes.
    void forget_interruption();
    // Whether the source has answered "not here yet" in this call.
    bool lacks_bytes() const { return lacks_bytes_; }
    // What it has answered in this call when it failed; 0 when it did not.
    int64_t failure() const { return failure_; }

    // What an end that a format has found in this call is: maybe bytes that did not come.
    Code explain_end() const;

    // Fewer bytes only at the end, or with a failure.
    Code read_at(uint64_t offset, void *buffer, size_t size, size_t *got);
    // -1 when it is not known.
    Code size(int64_t *length);
    // Whether there are as many bytes as that.
    Code holds(uint64_t bytes, bool *answer);

private:
    static constexpr uint64_t kNotOpen = UINT64_MAX;

    uint32_t open(SplitterStream *stream);
    uint32_t close(SplitterStream stream);
    uint32_t read(SplitterStream stream, void *buffer, uint32_t *count);
    uint32_t seek(SplitterStream stream, uint16_t origin, int64_t offset);
    uint32_t tell(SplitterStream stream, int64_t *position) const;
    Code read_once(uint64_t offset, void *buffer, size_t size, size_t *got);
    Code note(int64_t answer);

    QuorvSource caller_;
    int64_t size_ = QUORV_SOURCE_AGAIN;  // until it is known
    // A stream's handle is the place of its position. No splitter opens more of them.
    std::array<uint64_t, 4> positions_ = {kNotOpen, kNotOpen, kNotOpen, kNotOpen};
    bool lacks_bytes_ = false;
    int64_t failure_ = 0;
    bool keeps_journal_ = false;
    ReadJournal journal_;
};

}  // namespace quorv

#endif
