#include "platform/linux/host_view.h"

#include <algorithm>
#include <utility>

#include "platform/linux/cpu_topology.h"
#include "platform/linux/cpuid.h"

namespace LinuxHost {
namespace {

template <typename Part, typename Read>
const Part& readOnce(std::optional<Part>& part, Read read) {
  if (!part) part = read();
  return *part;
}

}  // namespace

ThreadCounts threadsByCpuid(unsigned cpu) {
  const CpuidLeaves leaves = readCpuidOn(cpu);
  return {threadsPerCore(leaves), threadsPerPackage(leaves)};
}

HostView::HostView(std::string sysRoot, AskThreads askThreads)
    : sysRoot_(std::move(sysRoot)), askThreads_(std::move(askThreads)) {}

const std::vector<KernelInterface>& HostView::interfaces() {
  return readOnce(interfaces_, readKernelInterfaces);
}

const KernelInterface* HostView::interface(const std::string& name) {
  const auto& all = interfaces();
  if (interfaceNumbers_.size() != all.size()) {
    for (std::size_t i = 0; i < all.size(); ++i) interfaceNumbers_.emplace(all[i].name, i);
  }
  const auto found = interfaceNumbers_.find(name);
  return found == interfaceNumbers_.end() ? nullptr : &all[found->second];
}

const std::vector<CpuPackage>& HostView::packages() {
  return readOnce(packages_, [this] {
    const bool smtPossible = readSmtPossible(sysRoot_);
    return groupCpus(readCpus(sysRoot_), [&](unsigned cpu) {
      ThreadCounts told = askThreads_(cpu);
      if (!smtPossible) told.perCore = 1;
      return told;
    });
  });
}

const std::vector<CpuCore>& HostView::cores() {
  return readOnce(cores_, [this] {
    std::vector<CpuCore> cores;
    for (const CpuPackage& package : packages()) {
      cores.insert(cores.end(), package.cores.begin(), package.cores.end());
    }
    return cores;
  });
}

bool HostView::smtActive() {
  if (const auto told = readSmtActive(sysRoot_)) return *told;
  const auto runsSeveral = [](const CpuCore& core) { return core.onlineThreads > 1; };
  return std::any_of(cores().begin(), cores().end(), runsSeveral);
}

std::string HostView::powerPolicy() const { return readPowerPolicy(sysRoot_); }

}  // namespace LinuxHost
