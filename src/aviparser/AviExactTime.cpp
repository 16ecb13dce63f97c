// Microseconds of a track; see the header.

#include "aviparser/AviExactTime.h"

#include <numeric>

namespace quorv {

namespace {

constexpr int64_t kMicroseconds = 1000000;

int64_t saturating_product(int64_t a, int64_t b) {
    int64_t product = 0;
    return __builtin_mul_overflow(a, b, &product) ? INT64_MAX : product;
}

// a * b / c for a, b >= 0 and c > 0.
int64_t rescale(int64_t a, int64_t b, int64_t c, AviRounding rounding) {
    const int64_t whole = saturating_product(a / c, b);
    const int64_t rest = avi_rescale_rnd(a % c, b, c, rounding);
    int64_t sum = 0;
    return __builtin_add_overflow(whole, rest, &sum) ? INT64_MAX : sum;
}

}  // namespace

void avi_set_exact_unit(AviStated *stated) {
    const int64_t num = int64_t{stated->scale} * kMicroseconds, den = stated->rate;
    const int64_t common = std::gcd(num, den);
    stated->us_num = num / common;
    stated->us_den = den / common;
}

int64_t AviExactTime::of_large_units(int64_t units) const {
    return rescale(units, num_, den_, kAviRoundZero);
}

int64_t AviExactTime::last_stamp_at(int64_t time_us) const {
    if (num_ == 0) return INT64_MAX;
    // Rounded down, all times below the next microsecond are this one.
    const int64_t behind = time_us == INT64_MAX ? time_us : time_us + 1;
    const int64_t first_behind = rescale(behind, den_, num_, kAviRoundUp);
    return saturating_product(first_behind, divisor_) - 1;
}

int64_t AviExactTime::first_stamp_from(int64_t time_us) const {
    return num_ == 0 ? 0 : saturating_product(rescale(time_us, den_, num_, kAviRoundUp), divisor_);
}

}  // namespace quorv
