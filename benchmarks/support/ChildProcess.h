// Runs a program and tells what CPU time it took.
#ifndef QUORV_BENCHMARKS_SUPPORT_CHILDPROCESS_H
#define QUORV_BENCHMARKS_SUPPORT_CHILDPROCESS_H

#include <string>
#include <vector>

namespace quorv::bench {

// CPU seconds, user and system, of the program and all that it waited for. Its standard output goes nowhere.
// Ends this program when it cannot be run or does not exit with 0.
double run_child(const std::vector<std::string> &command);

}  // namespace quorv::bench

#endif
