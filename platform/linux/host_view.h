#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/linux/cpu_packages.h"
#include "platform/linux/kernel_interfaces.h"

namespace LinuxHost {

/// What CPUID says on an online CPU. Moves the calling thread there for the question.
ThreadCounts threadsByCpuid(unsigned cpu);

/// The host as one query sees it. Each part is read when it is first needed and then stays as it
/// was, so that the calls of one query agree with each other, and a query for processors does not
/// dump addresses. Used by one thread. Fails: what the readers throw.
class HostView {
 public:
  explicit HostView(std::string sysRoot = "/sys", AskThreads askThreads = threadsByCpuid);

  const std::vector<KernelInterface>& interfaces();
  /// Null when there is no interface of that name.
  const KernelInterface* interface(const std::string& name);

  const std::vector<CpuPackage>& packages();
  /// The cores of all packages, in the order of the packages.
  const std::vector<CpuCore>& cores();
  /// Whether cores run several threads each.
  bool smtActive();
  std::string powerPolicy() const;

 private:
  std::string sysRoot_;
  AskThreads askThreads_;
  std::optional<std::vector<KernelInterface>> interfaces_;
  std::unordered_map<std::string, std::size_t> interfaceNumbers_;  ///< positions by name
  std::optional<std::vector<CpuPackage>> packages_;
  std::optional<std::vector<CpuCore>> cores_;
};

}  // namespace LinuxHost
