// A media file behind the reader's public functions: its source, which misbehaves the way it is told to, and
// all that a walk through the file delivers.
#ifndef QUORV_TESTS_SUPPORT_MEDIAFILE_H
#define QUORV_TESTS_SUPPORT_MEDIAFILE_H

#include <quorv/quorv.h>
#include <stdlib.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "support/ByteStores.h"

namespace quorv::test {

inline constexpr int64_t kSourceAnswer = -77;  // of a source that fails

// What a source does wrong; the default does everything right.
struct MediaFaults {
    uint64_t fail_at = 0;         // the number, from 1, of the read that fails
    bool for_good = false;        // and so do all later ones
    uint64_t again_every = 0;     // each so-manieth read is answered "not here yet"
    bool again_at_first = false;  // and so is the first one at each offset
    uint64_t most_agains = UINT64_MAX;
    size_t longest_read = SIZE_MAX;  // bytes
    bool knows_size = true;
    uint64_t size_agains = 0;       // so many questions for the size are answered "not here yet" first
    uint64_t flip_every = 0;        // each so-manieth byte of a read is another one, not always the same
    uint64_t call_limit = 2000000;  // more reads than these are a hang: the process aborts
};

class MediaBytes {
public:
    explicit MediaBytes(Bytes bytes, const MediaFaults &wrong = {})
        : faults(wrong), bytes_(std::move(bytes)) {}
    MediaBytes(const MediaBytes &) = delete;
    MediaBytes &operator=(const MediaBytes &) = delete;

    // This object must outlive the reader.
    QuorvSource record() {
        QuorvSource source = {};
        source.user = this;
        source.read_at = [](void *self, uint64_t offset, void *buffer, size_t size) {
            return static_cast<MediaBytes *>(self)->read(offset, buffer, size);
        };
        source.size = [](void *self) { return static_cast<MediaBytes *>(self)->size(); };
        source.close = [](void *self) { ++static_cast<MediaBytes *>(self)->closes; };
        return source;
    }

    MediaFaults faults;  // may be changed at any time
    uint64_t reads = 0, agains = 0, closes = 0;

private:
    int64_t read(uint64_t offset, void *buffer, size_t size) {
        if (++reads > faults.call_limit) abort();
        if (reads == faults.fail_at || (faults.for_good && reads > faults.fail_at)) return kSourceAnswer;
        const bool again = faults.again_every != 0 && reads % faults.again_every == 0;
        if (agains < faults.most_agains &&
            (again || (faults.again_at_first && seen_.insert(offset).second))) {
            ++agains;
            return QUORV_SOURCE_AGAIN;
        }
        if (offset >= bytes_.size()) return 0;
        const auto from = static_cast<size_t>(offset);
        const size_t take = std::min({size, bytes_.size() - from, faults.longest_read});
        memcpy(buffer, &bytes_[from], take);
        for (uint64_t i = reads; faults.flip_every != 0 && i < take; i += faults.flip_every)
            static_cast<uint8_t *>(buffer)[i] ^= static_cast<uint8_t>(reads);
        return static_cast<int64_t>(take);
    }
    int64_t size() {
        if (faults.size_agains != 0) {
            --faults.size_agains;
            return QUORV_SOURCE_AGAIN;
        }
        return faults.knows_size ? static_cast<int64_t>(bytes_.size()) : int64_t{QUORV_SOURCE_UNKNOWN};
    }

    const Bytes bytes_;
    std::set<uint64_t> seen_;
};

// A packet that outlives its reader.
struct KeptPacket {
    uint32_t track = 0;
    int64_t time_us = 0, presentation_us = 0, duration_us = 0, offset = 0;
    int key = 0;
    Bytes data = {};
    explicit KeptPacket(const QuorvPacket &packet)
        : track(packet.track),
          time_us(packet.time_us),
          presentation_us(packet.presentation_us),
          duration_us(packet.duration_us),
          offset(packet.offset),
          key(packet.key),
          data(static_cast<const uint8_t *>(packet.data),
               static_cast<const uint8_t *>(packet.data) + packet.size) {}
    bool operator==(const KeptPacket &) const = default;
};
using KeptPackets = std::vector<KeptPacket>;

// An open file. Calls that a source interrupts, or that lack memory once, are repeated; `repeated` counts
// them.
class MediaFile {
public:
    explicit MediaFile(const QuorvSource &source, QuorvResult may_repeat = QUORV_AGAIN)
        : may_repeat_(may_repeat) {
        open_result = repeat([&] { return quorv_open_source(&source, &reader_); });
    }
    // Takes over a reader.
    explicit MediaFile(QuorvReader *reader)
        : open_result(QUORV_OK), may_repeat_(QUORV_AGAIN), reader_(reader) {}
    ~MediaFile() { quorv_close(reader_); }
    MediaFile(const MediaFile &) = delete;
    MediaFile &operator=(const MediaFile &) = delete;

    QuorvReader *reader() const { return reader_; }
    uint32_t track_count() const { return reader_ != nullptr ? quorv_file(reader_)->track_count : 0; }
    const QuorvTrack &track(uint32_t index) const { return *quorv_track(reader_, index); }
    // Up to the first result that is no packet, which is stored, and at most so many.
    KeptPackets read(QuorvResult *end = nullptr, size_t most = SIZE_MAX) {
        return collect([&](const QuorvPacket **packet) { return quorv_read(reader_, packet); }, end, most);
    }
    KeptPackets read_track(uint32_t index, QuorvResult *end = nullptr, size_t most = SIZE_MAX) {
        return collect([&](const QuorvPacket **packet) { return quorv_read_track(reader_, index, packet); },
                       end, most);
    }
    QuorvResult seek(int64_t time_us, QuorvSeek mode, int64_t *reached_us = nullptr) {
        return repeat([&] { return quorv_seek(reader_, time_us, mode, reached_us); });
    }
    QuorvResult survey(uint32_t index, QuorvSurvey *counts) {
        return repeat([&] { return quorv_survey(reader_, index, counts); });
    }
    QuorvResult set_presentation(uint32_t index) {
        return repeat([&] { return quorv_set_presentation(reader_, index, 1); });
    }

    QuorvResult open_result;
    uint64_t repeated = 0;

private:
    template <typename Call>
    QuorvResult repeat(const Call &call) {
        QuorvResult result = call();
        for (; result == may_repeat_; ++repeated)
            result = call();
        return result;
    }
    template <typename Call>
    KeptPackets collect(const Call &call, QuorvResult *end, size_t most) {
        KeptPackets packets;
        const QuorvPacket *packet = nullptr;
        QuorvResult result = QUORV_OK;
        while (packets.size() < most && (result = repeat([&] { return call(&packet); })) == QUORV_OK)
            packets.emplace_back(*packet);
        if (end != nullptr) *end = result;
        return packets;
    }

    const QuorvResult may_repeat_;
    QuorvReader *reader_ = nullptr;
};

}  // namespace quorv::test

#endif
