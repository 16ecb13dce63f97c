// The quiet reporter; see the header.

#include "support/BestTimes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace quorv::bench {

void initialize(int argc, char **argv) {
    std::string shuffle = "--benchmark_enable_random_interleaving=true";
    std::vector<char *> arguments(argv, argv + argc);
    arguments.insert(arguments.begin() + 1, shuffle.data());
    int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) exit(EXIT_FAILURE);
}

void BestTimes::run() {
    benchmark::RunSpecifiedBenchmarks(this);
    benchmark::ClearRegisteredBenchmarks();
}

void BestTimes::ReportRuns(const std::vector<Run> &runs) {
    for (const Run &run : runs) {
        if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
        const double time = run.cpu_accumulated_time / static_cast<double>(run.iterations);
        const auto [best, first] = best_.emplace(run.run_name.function_name, time);
        if (!first) best->second = std::min(best->second, time);
    }
}

double BestTimes::seconds(const std::string &name) const {
    const auto found = best_.find(name);
    if (found == best_.end()) {
        fprintf(stderr, "no measurement of %s\n", name.c_str());
        exit(EXIT_FAILURE);
    }
    return found->second;
}

}  // namespace quorv::bench
