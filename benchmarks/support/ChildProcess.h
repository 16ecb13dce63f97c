// Runs a program and tells what CPU time it took.
#ifndef QUORV_BENCHMARKS_SUPPORT_CHILDPROCESS_H
#define QUORV_BENCHMARKS_SUPPORT_CHILDPROCESS_H

#include <string>
#include <vector>

namespace quorv::bench {

struct ChildUsage {
    double cpu_seconds;   // user and system time of the program and all that it waited for
    long disk_blocks_in;  // read from the disk, not from the page cache
};

// Its standard output goes nowhere. Ends this program when it cannot be run or does not exit with 0.
ChildUsage run_child(const std::vector<std::string> &command);

}  // namespace quorv::bench

#endif
