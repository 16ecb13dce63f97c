// Times of a track in microseconds, as exact as its header states them.
#ifndef QUORV_SRC_AVIPARSER_AVIEXACTTIME_H
#define QUORV_SRC_AVIPARSER_AVIEXACTTIME_H

#include "aviparser/AviTrack.h"

namespace quorv {

// The scale of one track: num / den microseconds a unit, in lowest terms. Times are rounded down, so that
// they rise with the units and a difference of two is what lies between them. What does not fit in 64 bits
// becomes the limit; a track without a time base has the time 0 throughout.
class AviExactTime {
public:
    explicit AviExactTime(const AviTrack &track);

    int64_t of_units(int64_t units) const;
    // Of a running time stamp, which counts bytes for streams with a sample size.
    int64_t of_stamp(int64_t stamp) const { return of_units(stamp / divisor_); }
    // The last time stamp whose time is not above this one, the first whose time is not below it; times are 0
    // or more.
    int64_t last_stamp_at(int64_t time_us) const;
    int64_t first_stamp_from(int64_t time_us) const;

private:
    int64_t num_ = 0, den_ = 1;
    int64_t divisor_;
};

}  // namespace quorv

#endif
