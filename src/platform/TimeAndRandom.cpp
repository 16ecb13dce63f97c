// Time stamps and random numbers of the process.

#include <quorv/platform/thread.h>
#include <stdlib.h>
#include <sys/time.h>

#include "platform/TimeStamp.h"

uint32_t MGetCurTimeStamp(void) {
    timeval now = {};
    gettimeofday(&now, nullptr);
    return quorv::milliseconds_of(now.tv_sec, now.tv_usec);
}

uint32_t MSrand(uint32_t seed) {
    srand48(static_cast<long>(seed));
    return 0;
}

uint32_t MGetRandomNumber(void) {
    return static_cast<uint32_t>(lrand48());
}
