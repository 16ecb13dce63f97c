// Exact arithmetic on times: rescaling without overflow and reduction of fractions.
#ifndef QUORV_SRC_AVIPARSER_AVIMATH_H
#define QUORV_SRC_AVIPARSER_AVIMATH_H

#include <stdint.h>

#include "aviparser/AviContext.h"

namespace quorv {

// Exact rescaling, in every mode; the splitter's own times are converted by the functions further down.

// Rounding modes of avi_rescale_rnd; the values are fixed and 4 is none.
enum AviRounding : uint32_t {
    kAviRoundZero = 0,     // toward zero
    kAviRoundInf = 1,      // away from zero
    kAviRoundDown = 2,     // toward minus infinity
    kAviRoundUp = 3,       // toward plus infinity
    kAviRoundNearInf = 5,  // to nearest, halves away from zero
};

// a * b / c. Aborts unless c > 0, b >= 0 and the mode is one of the above. A result that does not fit in
// 64 bits loses its upper bits.
int64_t avi_rescale_rnd(int64_t a, int64_t b, int64_t c, uint32_t rounding);
int64_t avi_rescale(int64_t a, int64_t b, int64_t c);
// a of the unit bq in the unit cq.
int64_t avi_rescale_q(int64_t a, AviRational bq, AviRational cq);

// The best fraction for num / den whose terms do not exceed max, by continued fractions. Returns 1 when it is
// exact, 0 when it is an approximation.
int avi_reduce(int32_t *out_num, int32_t *out_den, int64_t num, int64_t den, int64_t max);

// Sets the track's time base to num / den seconds, reduced; 0/0 when a term of the result would be 0. Time
// stamps do not wrap, whatever `wrap_bits` says.
void avi_set_pts_info(AviTrack *track, uint32_t wrap_bits, int64_t num, int64_t den);

// The track's duration rule, shared by chunks and index entries: how far `size` bytes move its time stamp.
int64_t avi_piece_duration(const AviStreamState &state, uint32_t size);

// A time stamp of the track (frames or samples, not bytes) in milliseconds.
double avi_units_to_ms(const AviTrack &track, int64_t units);
// A time in milliseconds as the nearest time stamp.
int64_t avi_ms_to_units(const AviTrack &track, uint32_t ms);

// What a time stamp that counts bytes has to be divided by; 1 for streams that count frames.
constexpr int64_t avi_time_stamp_divisor(const AviStreamState &state) {
    return state.sample_size == 0 ? 1 : int64_t{state.sample_size};
}

}  // namespace quorv

#endif
