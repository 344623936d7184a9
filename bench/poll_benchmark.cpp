#include <benchmark/benchmark.h>
#include <ifaddrs.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <functional>
#include <new>
#include <vector>

#include "bench/link_namespace.h"
#include "bench/measure.h"
#include "bench/table_reporter.h"
#include "kernelip/endpoint_details.h"
#include "kernelip/kernel_ip_indication.h"

// What do the cycles of the monitors take on a host with many links, each with an IPv4 and an IPv6
// address? In addition to the processor time, "allocations" counts those of one cycle. Needs root.
namespace {

std::atomic<std::size_t> allocations{0};

}  // namespace

void* operator new(std::size_t size) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

using namespace orv::bench;

constexpr int kLinkCounts[] = {16, 128, 1024};

void measureCycle(benchmark::State& state, const std::function<void()>& cycle,
                  const Floors& floors) {
  try {
    enterNamespaceWithLinks(static_cast<int>(state.range(0)));
  } catch (const std::exception& error) {
    return state.SkipWithError(error.what());
  }
  cycle();  // the first cycle allocates what is kept
  const std::size_t before = allocations;
  cycle();
  const std::size_t after = allocations;
  measureAgainst(state, cycle, floors);
  state.counters["allocations"] = static_cast<double>(after - before);
}

/// The snapshot of the kernel IP monitor; the floor is the call of the C library that it is made
/// from.
void pollAddresses(benchmark::State& state) {
  ORV::KernelIpIndication detector;
  measureCycle(state, [&] { detector.poll(); }, {{"getifaddrs_us", [] {
                                                    ifaddrs* list = nullptr;
                                                    if (getifaddrs(&list) == 0) freeifaddrs(list);
                                                  }}});
}

/// The details of all endpoints, as an enumeration or the poll of a class needs them.
void collectEndpoints(benchmark::State& state) {
  measureCycle(state,
               [] {
                 std::vector<endpointDetails> details;
                 benchmark::DoNotOptimize(ORV::collectEndpointDetails(details));
               },
               {});
}

template <typename Body>
void add(const char* name, Body body) {
  auto* registered = benchmark::RegisterBenchmark(name, body);
  for (const int count : kLinkCounts) registered->Arg(count);
  registered->Unit(benchmark::kMicrosecond)->UseManualTime();
}

}  // namespace

int main(int argc, char** argv) {
  add("PollAddresses", pollAddresses);
  add("CollectEndpoints", collectEndpoints);
  return runBenchmarks(argc, argv);
}
