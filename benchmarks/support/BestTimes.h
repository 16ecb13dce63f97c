// Keeps the CPU time of each Google Benchmark: of several repetitions the least, which other programs on the
// machine have disturbed least.
#ifndef QUORV_BENCHMARKS_SUPPORT_BESTTIMES_H
#define QUORV_BENCHMARKS_SUPPORT_BESTTIMES_H

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace quorv::bench {

// Repetitions of all benchmarks of a run are shuffled, so that a slow phase of the machine meets them all.
void initialize(int argc, char **argv);

// A reporter that prints nothing; the program prints a table of what it asks for.
class BestTimes final : public benchmark::BenchmarkReporter {
public:
    // Runs the registered benchmarks and forgets them.
    void run();
    // CPU seconds of one iteration. Ends the program when there is no such benchmark or it failed.
    double seconds(const std::string &name) const;

    bool ReportContext(const Context &) override { return true; }
    void ReportRuns(const std::vector<Run> &runs) override;

private:
    std::map<std::string, double> best_;
};

}  // namespace quorv::bench

#endif
