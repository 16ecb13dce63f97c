// The search by time; see the header.

#include "asfparser/AsfObjectSearch.h"

namespace quorv {

namespace {

// An index entry that is right leads to its key frame at once and past the wanted time within one group of
// pictures. Beyond this many packets the binary search is quicker.
constexpr int32_t kMaxHintedPackets = 4096;

}  // namespace

uint32_t AsfObjectSearch::load(int32_t packet) {
    const uint32_t code = parser_.ParseOnePacket(stream_, packet);
    return code == SPLITER_ERR_BAD_FORMAT ? uint32_t{SPLITER_OK} : code;
}

bool AsfObjectSearch::is_wanted(const ASF_DataObjectEntry &entry) const {
    return entry.starts_object() && entry.has_time() &&
           (wanted_ == Wanted::AnyObject || entry.key_frame != 0);
}

// The first time that a payload of the stream shows, from a packet on. *packet is `end` when there is none.
uint32_t AsfObjectSearch::first_time(int32_t from, int32_t end, int32_t *packet, int32_t *time) {
    for (*packet = from; *packet < end; ++*packet) {
        const uint32_t code = load(*packet);
        if (code != SPLITER_OK) return code;
        ASF_DataObjectEntry entry;
        for (int32_t i = 0; parser_.Entries(stream_).GetEntry(&entry, &i) == SPLITER_OK; ++i) {
            if (!entry.has_time()) continue;
            *time = entry.pts;
            return SPLITER_OK;
        }
    }
    return SPLITER_OK;
}

// The last packet that begins at or before the time, as far as packets say; the first one when none does.
uint32_t AsfObjectSearch::find_boundary(uint32_t time, int32_t *packet) {
    int32_t low = 0, high = parser_.PacketCount();
    bool waits = false;
    while (high - low > 1) {
        const int32_t middle = low + (high - low) / 2;
        int32_t probe = 0, found = 0;
        const uint32_t code = first_time(middle, high, &probe, &found);
        if (code == SPLITER_ERR_DATA_PENDING) {
            // What has not arrived yet may lie behind the place.
            high = middle;
            waits = true;
        } else if (code != SPLITER_OK && code != SPLITER_ERR_END_OF_STREAM) {
            return code;
        } else if (code == SPLITER_ERR_END_OF_STREAM || probe == high) {
            high = middle;
        } else if (found > int64_t{time}) {
            high = middle;
            waits = false;
        } else {
            low = probe;
        }
    }
    *packet = low;
    return waits ? SPLITER_ERR_DATA_PENDING : SPLITER_OK;
}

uint32_t AsfObjectSearch::find_backward(int32_t packet, uint32_t time, AsfObjectStart *start) {
    for (; packet >= 0; --packet) {
        const uint32_t code = load(packet);
        if (code != SPLITER_OK) return code;
        const CASFDataObjectEntryBlockMgr &entries = parser_.Entries(stream_);
        for (int32_t i = entries.Count(); i-- > 0;) {
            ASF_DataObjectEntry entry;
            entries.GetEntry(&entry, &i);
            if (!is_wanted(entry) || entry.pts > int64_t{time}) continue;
            *start = {{packet, i}, entry.pts};
            return SPLITER_OK;
        }
    }
    return SPLITER_ERR_END_OF_STREAM;
}

uint32_t AsfObjectSearch::scan_forward(int32_t from, int32_t end, AsfSeekTarget target, AsfObjectStart *start,
                                       bool *found) {
    const bool forward = target.direction == AsfSeekDirection::Forward;
    *found = false;
    for (int32_t packet = from; packet < end; ++packet) {
        const uint32_t code = load(packet);
        if (code == SPLITER_ERR_END_OF_STREAM) break;
        if (code != SPLITER_OK) return code;
        ASF_DataObjectEntry entry;
        for (int32_t i = 0; parser_.Entries(stream_).GetEntry(&entry, &i) == SPLITER_OK; ++i) {
            if (!entry.starts_object() || !entry.has_time()) continue;
            const bool is_later = entry.pts > int64_t{target.time};
            // No key frame at or before the time lies behind an object that is later.
            if (is_later && !forward) return SPLITER_OK;
            if (!is_wanted(entry)) continue;
            // Whether an earlier object would have done is only known when one before the time was seen.
            if (is_later && !*found && from != 0) return SPLITER_OK;
            *start = {{packet, i}, entry.pts};
            *found = true;
            if (forward && entry.pts >= int64_t{target.time}) return SPLITER_OK;
        }
    }
    // What comes behind the packets that were to be looked at is not known.
    if (end != parser_.PacketCount()) *found = false;
    return SPLITER_OK;
}

uint32_t AsfObjectSearch::find_from(int32_t packet, AsfSeekTarget target, AsfObjectStart *start,
                                    bool *found) {
    const int32_t count = parser_.PacketCount();
    const int32_t end = count - packet > kMaxHintedPackets ? packet + kMaxHintedPackets : count;
    return scan_forward(packet, end, target, start, found);
}

uint32_t AsfObjectSearch::find(AsfSeekTarget target, AsfObjectStart *start) {
    const int32_t count = parser_.PacketCount();
    int32_t from = 0;
    if (count != INT32_MAX) {
        uint32_t code = find_boundary(target.time, &from);
        if (code == SPLITER_OK) code = find_backward(from, target.time, start);
        if (target.direction == AsfSeekDirection::Backward) return code;
        if (code != SPLITER_OK && code != SPLITER_ERR_END_OF_STREAM) return code;
        from = code == SPLITER_OK ? start->position.packet : 0;
    }
    bool found = false;
    const uint32_t code = scan_forward(from, count, target, start, &found);
    if (code != SPLITER_OK) return code;
    return found ? SPLITER_OK : SPLITER_ERR_END_OF_STREAM;
}

}  // namespace quorv
