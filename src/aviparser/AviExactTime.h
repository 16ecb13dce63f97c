// Times of a track in microseconds, as exact as its header states them.
#ifndef QUORV_SRC_AVIPARSER_AVIEXACTTIME_H
#define QUORV_SRC_AVIPARSER_AVIEXACTTIME_H

#include <algorithm>

#include "aviparser/AviTrack.h"

namespace quorv {

// Sets stated->us_num and us_den from scale and rate, which are not 0.
void avi_set_exact_unit(AviStated *stated);

// The scale of one track. Times are rounded down, so that they rise with the units and a difference of two is
// what lies between them. What does not fit in 64 bits becomes the limit; a track without a time base has the
// time 0 throughout.
class AviExactTime {
public:
    explicit AviExactTime(const AviTrack &track)
        : num_(track.stated.us_num),
          den_(std::max<int64_t>(track.stated.us_den, 1)),
          divisor_(avi_time_stamp_divisor(track.sampling)) {}

    int64_t of_units(int64_t units) const {
        int64_t product = 0;
        if (units < 0 || __builtin_mul_overflow(units, num_, &product)) return of_large_units(units);
        return product / den_;
    }
    // Of a running time stamp, which counts bytes for streams with a sample size.
    int64_t of_stamp(int64_t stamp) const { return of_units(stamp / divisor_); }
    // The last time stamp whose time is not above this one, the first whose time is not below it; times are 0
    // or more.
    int64_t last_stamp_at(int64_t time_us) const;
    int64_t first_stamp_from(int64_t time_us) const;

private:
    int64_t of_large_units(int64_t units) const;

    const int64_t num_, den_, divisor_;
};

}  // namespace quorv

#endif
