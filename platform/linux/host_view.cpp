#include "platform/linux/host_view.h"

#include <utility>

namespace LinuxHost {
namespace {

template <typename Part, typename Read>
const Part& readOnce(std::optional<Part>& part, Read read) {
  if (!part) part = read();
  return *part;
}

}  // namespace

HostView::HostView(std::string sysRoot) : sysRoot_(std::move(sysRoot)) {}

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
    return groupCpus(readCpus(sysRoot_),
                     [](unsigned cpu) { return threadsPerCore(readCpuidOn(cpu)); });
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

bool HostView::smtActive() { return readSmtActive(sysRoot_, packages()); }

std::string HostView::powerPolicy() const { return readPowerPolicy(sysRoot_); }

}  // namespace LinuxHost
