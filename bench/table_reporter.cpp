#include "bench/table_reporter.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

#include "bench/measure.h"

namespace orv::bench {
namespace {

constexpr int kComparedPorts = 16;

using Cell = std::map<std::string, std::vector<double>>;

/// The median of a counter; 0 when it is absent.
double counter(const Cell& cell, const char* name) {
  const auto found = cell.find(name);
  return found == cell.end() ? 0 : medianOf(found->second);
}

std::string format(const char* pattern, double value) {
  char text[64];
  std::snprintf(text, sizeof text, pattern, value);
  return text;
}

std::string cellText(const Cell& cell) {
  if (cell.empty()) return "failed";
  std::string text = format("%.0f", counter(cell, "median_us"));
  if (const double ratio = counter(cell, "ratio"); ratio > 0) text += format(" (%.2f)", ratio);
  if (const double count = counter(cell, "allocations"); count > 0) text += format(", %.0f", count);
  return text;
}

double timePerObject(const Cell& cell, const char* name) {
  const double objects = counter(cell, "objects");
  return objects > 0 ? counter(cell, name) / objects : 0;
}

std::string growthText(const Cell& few, const Cell& many) {
  const auto growth = [&](const char* name) {
    const double before = timePerObject(few, name);
    return before > 0 ? timePerObject(many, name) / before : 0;
  };
  if (growth("median_us") <= 0) return "";
  return format("%.2f", growth("median_us")) + format(" (%.2f)", growth("floors_us"));
}

}  // namespace

bool TableReporter::ReportContext(const Context& /*context*/) { return true; }

void TableReporter::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (run.run_type != Run::RT_Iteration || run.run_name.args.empty()) continue;
    const std::string& name = run.run_name.function_name;
    if (rows_.empty() || rows_.back().first != name) rows_.emplace_back(name, Row());
    Cell& cell = rows_.back().second[std::atoi(run.run_name.args.c_str())];
    for (const auto& [counterName, value] : run.counters) cell[counterName].push_back(value.value);
  }
}

void TableReporter::Finalize() {
  std::set<int> counts;
  for (const auto& [name, row] : rows_) {
    for (const auto& [count, cell] : row) counts.insert(count);
  }
  if (counts.empty()) return;
  std::string head = "| request |";
  std::string line = "|---|";
  for (const int count : counts) {
    head += " " + std::to_string(count) + " |";
    line += "---|";
  }
  std::printf("%s per object, %d : %d |\n%s---|\n", head.c_str(), *counts.rbegin(), kComparedPorts,
              line.c_str());
  for (auto& [name, row] : rows_) {
    std::printf("| %s |", name.c_str());
    for (const int count : counts) {
      std::printf(" %s |", row.count(count) != 0 ? cellText(row[count]).c_str() : "");
    }
    std::printf(" %s |\n", growthText(row[kComparedPorts], row[*counts.rbegin()]).c_str());
  }
}

int runBenchmarks(int argc, char** argv) {
  char** const end = std::remove_if(argv + 1, argv + argc, [](const char* argument) {
    return std::strcmp(argument, "--table") == 0;
  });
  const bool asTable = end != argv + argc;
  argc = static_cast<int>(end - argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  TableReporter tables;
  if (asTable) {
    benchmark::RunSpecifiedBenchmarks(&tables);
  } else {
    benchmark::RunSpecifiedBenchmarks();
  }
  benchmark::Shutdown();
  return 0;
}

}  // namespace orv::bench
