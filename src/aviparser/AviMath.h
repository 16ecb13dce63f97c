// Exact arithmetic on times: rescaling without overflow and reduction of fractions.
#ifndef QUORV_SRC_AVIPARSER_AVIMATH_H
#define QUORV_SRC_AVIPARSER_AVIMATH_H

#include <stdint.h>

namespace quorv {

struct AviRational {
    int32_t num, den;
};

// Rounding modes of avi_rescale_rnd; the values are fixed and 4 is none.
enum AviRounding : uint32_t {
    kAviRoundZero = 0,     // toward zero
    kAviRoundInf = 1,      // away from zero
    kAviRoundDown = 2,     // toward minus infinity
    kAviRoundUp = 3,       // toward plus infinity
    kAviRoundNearInf = 5,  // to nearest, halves away from zero
};

// Exact rescaling, in every mode; no reader of a file needs it: the splitter's own times are converted by the
// functions further down.

// a * b / c. Aborts unless c > 0, b >= 0 and the mode is one of the above. A result that does not fit in
// 64 bits loses its upper bits.
int64_t avi_rescale_rnd(int64_t a, int64_t b, int64_t c, uint32_t rounding);
int64_t avi_rescale(int64_t a, int64_t b, int64_t c);
// a of the unit bq in the unit cq.
int64_t avi_rescale_q(int64_t a, AviRational bq, AviRational cq);

// The best fraction for num / den whose terms do not exceed max, by continued fractions. Returns 1 when it is
// exact, 0 when it is an approximation.
int avi_reduce(int32_t *out_num, int32_t *out_den, int64_t num, int64_t den, int64_t max);

// A count of units of time_base seconds in milliseconds; 0 for the time base 0/0.
double avi_units_to_ms(AviRational time_base, int64_t units);
// A time in milliseconds as the nearest count of units.
int64_t avi_ms_to_units(AviRational time_base, uint32_t ms);

}  // namespace quorv

#endif
