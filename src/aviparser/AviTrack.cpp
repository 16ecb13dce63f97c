// Times of a track, and moving it; see the header.

#include "aviparser/AviTrack.h"

#include <algorithm>

namespace quorv {

void avi_set_pts_info(AviTrack *track, uint32_t /*wrap_bits*/, int64_t num, int64_t den) {
    AviRational &base = track->time_base;
    avi_reduce(&base.num, &base.den, num, den, INT32_MAX);
    if (base.num == 0 || base.den == 0) base = {0, 0};
}

int64_t avi_piece_duration(const AviSampling &sampling, uint32_t size) {
    const uint32_t sample_size = sampling.sample_size, block_align = sampling.block_align;
    if (sample_size != 0) return std::max(size, sample_size);
    if (block_align != 0) return (int64_t{size} + block_align - 1) / block_align;
    return 1;
}

uint32_t avi_stamp_to_ms(const AviTrack &track, int64_t timestamp) {
    return clamp_to_u32(avi_units_to_ms(track.time_base, timestamp / avi_time_stamp_divisor(track.sampling)));
}

void avi_move_track(AviTrack *track, int64_t position, int64_t frame_offset) {
    track->reading = {position, frame_offset, 0, 0};
    track->palette.changed = false;
    track->vol_search = AviVolSearch::NotNeeded;
}

}  // namespace quorv
