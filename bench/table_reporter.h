#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace orv::bench {

/// Prints results as the tables of docs/benchmarks.md: a row for each request, a column for each
/// number of ports. A cell has microseconds, the ratio to the floors in parentheses and, where they
/// are counted, allocations. The last column compares the time per object at the largest number of
/// ports with that at 16; in parentheses the same of the floors.
///
/// Of repetitions the median counts.
class TableReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

 private:
  /// Counters of a benchmark at one number of ports, each with the values of all repetitions.
  using Cell = std::map<std::string, std::vector<double>>;
  using Row = std::map<int, Cell>;

  std::vector<std::pair<std::string, Row>> rows_;  // in the order in which they ran
};

/// The main function of a benchmark program, once its benchmarks are registered: the tables with
/// `--table`, else the usual output.
int runBenchmarks(int argc, char** argv);

}  // namespace orv::bench
