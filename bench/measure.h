#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <functional>
#include <utility>
#include <vector>

namespace orv::bench {

/// Processor time of all threads of this process, time in the kernel included. It is what other
/// work on the machine affects least.
inline double cpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

inline double cpuSecondsOf(const std::function<void()>& work) {
  const double start = cpuSeconds();
  work();
  return cpuSeconds() - start;
}

inline double medianOf(std::vector<double> values) {
  if (values.empty()) return 0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// The work that at least has to be done, each with the name of its counter, in microseconds.
using Floors = std::vector<std::pair<const char*, std::function<void()>>>;

/// Runs `work` and each floor in turn, so that they find the machine in the same state. Reports the
/// medians, and as "ratio" that of the work divided by the sum of those of the floors.
inline void measureAgainst(benchmark::State& state, const std::function<void()>& work,
                           const Floors& floors) {
  std::vector<double> times;
  std::vector<std::vector<double>> floorTimes(floors.size());
  for (auto _ : state) {
    times.push_back(cpuSecondsOf(work));
    for (std::size_t i = 0; i < floors.size(); ++i) {
      floorTimes[i].push_back(cpuSecondsOf(floors[i].second));
    }
    state.SetIterationTime(times.back());
  }
  double sum = 0;
  for (std::size_t i = 0; i < floors.size(); ++i) {
    const double floor = medianOf(floorTimes[i]);
    state.counters[floors[i].first] = floor * 1e6;
    sum += floor;
  }
  state.counters["median_us"] = medianOf(times) * 1e6;
  state.counters["floors_us"] = sum * 1e6;
  if (sum > 0) state.counters["ratio"] = medianOf(times) / sum;
}

}  // namespace orv::bench
