// Missing chunks; see the header.

#include "aviparser/AviDamage.h"

#include "aviparser/AviRiff.h"

namespace quorv {

// A chunk whose size is wrong may have taken others in.
AviMissingChunks::AviMissingChunks(AviContext *context, AviTrack *track, int64_t start)
    : context_(*context),
      track_(*track),
      from_(start == track->damage.last_end ? track->damage.last_chunk + 1 : start) {}

void AviMissingChunks::note_chunk(int64_t data_position, uint32_t size) {
    const int64_t position = data_position - kAviChunkHeaderBytes;
    note_up_to(position);
    from_ = position + 1;
    track_.damage.last_chunk = position;
    track_.damage.last_end = data_position + size;
}

// Indexes name palette changes like frames; a search takes those in passing.
bool AviMissingChunks::is_palette(int64_t position) {
    const uint8_t *header = nullptr;
    const Code code = context_.source.view(position, kAviChunkHeaderBytes, kAviChunkHeaderBytes, &header);
    return code == Code::Ok && header != nullptr && header[2] == 'p' && header[3] == 'c';
}

void AviMissingChunks::note_up_to(int64_t position) {
    const AviIndexArray &index = track_.index;
    if (!context_.detailed || index.out_of_file_order) return;
    uint32_t &next = track_.damage.next_entry;
    const bool as_expected = next < index.count && index.entries[next].pos == position;
    if (!as_expected) {
        const AviIndexEntry *entry = avi_first_entry_from(index, from_);
        for (; entry != index.end() && entry->pos < position; ++entry) {
            if (!is_palette(entry->pos)) track_.damage.missing.add(entry->pos);
        }
        next = static_cast<uint32_t>(entry - index.begin());
    }
    if (next < index.count && index.entries[next].pos == position) ++next;
}

}  // namespace quorv
