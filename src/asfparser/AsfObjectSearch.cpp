// The search by time; see the header.

#include "asfparser/AsfObjectSearch.h"

namespace quorv {

namespace {

// An index entry that is right leads to its key frame at once and past the wanted time within one group of
// pictures. Beyond this many packets the binary search is quicker.
constexpr int32_t kMaxHintedPackets = 4096;

}  // namespace

Code AsfObjectSearch::load(int32_t packet) {
    const Code code = packets_.parse(stream_, packet);
    return code == Code::BadFormat ? Code::Ok : code;
}

bool AsfObjectSearch::is_wanted(const ASF_DataObjectEntry &entry) const {
    return entry.starts_object() && entry.has_time() &&
           (wanted_ == Wanted::AnyObject || entry.key_frame != 0);
}

// The first packet with a payload of the stream that shows a time. Empty when there is none before `end`.
Code AsfObjectSearch::first_time(int32_t from, int32_t end, std::optional<TimedPacket> *found) {
    found->reset();
    for (int32_t packet = from; packet < end; ++packet) {
        const Code code = load(packet);
        if (code != Code::Ok) return code;
        ASF_DataObjectEntry entry;
        for (int32_t i = 0; entries().GetEntry(&entry, &i) == Code::Ok; ++i) {
            if (!entry.has_time()) continue;
            *found = TimedPacket{packet, entry.pts};
            return Code::Ok;
        }
    }
    return Code::Ok;
}

// The last packet that begins at or before the time, as far as packets say; the first one when none does.
Code AsfObjectSearch::find_boundary(uint32_t time, int32_t *packet) {
    int32_t low = 0, high = packets_.packet_count();
    bool waits = false;
    while (high - low > 1) {
        const int32_t middle = low + (high - low) / 2;
        std::optional<TimedPacket> probe;
        const Code code = first_time(middle, high, &probe);
        if (code == Code::DataPending) {
            // What has not arrived yet may lie behind the place.
            high = middle;
            waits = true;
        } else if (code != Code::Ok && code != Code::EndOfStream) {
            return code;
        } else if (!probe) {
            high = middle;
        } else if (probe->time > int64_t{time}) {
            high = middle;
            waits = false;
        } else {
            low = probe->packet;
        }
    }
    *packet = low;
    return waits ? Code::DataPending : Code::Ok;
}

Code AsfObjectSearch::find_backward(int32_t packet, uint32_t time, AsfObjectStart *start) {
    for (; packet >= 0; --packet) {
        const Code code = load(packet);
        if (code != Code::Ok) return code;
        ASF_DataObjectEntry entry;
        for (int32_t i = entries().Count() - 1; i >= 0 && entries().GetEntry(&entry, &i) == Code::Ok; --i) {
            if (!is_wanted(entry) || entry.pts > int64_t{time}) continue;
            *start = {{packet, i}, entry.pts};
            return Code::Ok;
        }
    }
    return Code::EndOfStream;
}

Code AsfObjectSearch::scan_forward(int32_t from, int32_t end, AsfSeekTarget target,
                                   std::optional<AsfObjectStart> *start) {
    const bool forward = target.direction == SeekDirection::Forward;
    start->reset();
    for (int32_t packet = from; packet < end; ++packet) {
        const Code code = load(packet);
        if (code == Code::EndOfStream) break;
        if (code != Code::Ok) return code;
        ASF_DataObjectEntry entry;
        for (int32_t i = 0; entries().GetEntry(&entry, &i) == Code::Ok; ++i) {
            if (!entry.starts_object() || !entry.has_time()) continue;
            const bool is_later = entry.pts > int64_t{target.time};
            // No key frame at or before the time lies behind an object that is later.
            if (is_later && !forward) return Code::Ok;
            if (!is_wanted(entry)) continue;
            // Whether an earlier object would have done is only known when one before the time was seen.
            if (is_later && !*start && from != 0) return Code::Ok;
            *start = AsfObjectStart{{packet, i}, entry.pts};
            if (forward && entry.pts >= int64_t{target.time}) return Code::Ok;
        }
    }
    // What comes behind the packets that were to be looked at is not known.
    if (end != packets_.packet_count()) start->reset();
    return Code::Ok;
}

Code AsfObjectSearch::find_from(int32_t packet, AsfSeekTarget target, std::optional<AsfObjectStart> *start) {
    const int32_t count = packets_.packet_count();
    const int32_t end = count - packet > kMaxHintedPackets ? packet + kMaxHintedPackets : count;
    return scan_forward(packet, end, target, start);
}

Code AsfObjectSearch::find(AsfSeekTarget target, AsfObjectStart *start) {
    const int32_t count = packets_.packet_count();
    int32_t from = 0;
    if (count != INT32_MAX) {
        Code code = find_boundary(target.time, &from);
        if (code == Code::Ok) code = find_backward(from, target.time, start);
        if (target.direction == SeekDirection::Backward) return code;
        if (code != Code::Ok && code != Code::EndOfStream) return code;
        from = code == Code::Ok ? start->position.packet : 0;
    }
    std::optional<AsfObjectStart> found;
    const Code code = scan_forward(from, count, target, &found);
    if (code != Code::Ok) return code;
    if (!found) return Code::EndOfStream;
    *start = *found;
    return Code::Ok;
}

}  // namespace quorv
