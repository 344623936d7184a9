#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace orv::bench {

/// Prints results as the tables of docs/benchmarks.md: a row for each request, a column for each
/// number of ports. A cell has microseconds, the ratio to the floors in parentheses and, if
/// counted, allocations. The last column is the time per object with the most ports divided by that
/// with 16; in parentheses, the same for the floors. A benchmark without a number of ports is left
/// out.
///
/// Of several repetitions, the median is used.
class TableReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

 private:
  /// The counters of a benchmark for one number of ports, each with its values in all repetitions.
  using Cell = std::map<std::string, std::vector<double>>;
  using Row = std::map<int, Cell>;

  std::vector<std::pair<std::string, Row>> rows_;  // in the order in which they ran
};

/// The rest of the main function of a benchmark program, after its benchmarks are registered.
/// Prints tables with `--table`, else the usual output.
int runBenchmarks(int argc, char** argv);

}  // namespace orv::bench
