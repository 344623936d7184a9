#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What the kernel says about CPUs in sysfs.
namespace LinuxHost {

/// One present CPU (a hardware thread), as sysfs describes it.
struct CpuEntry {
  unsigned number = 0;
  bool online = true;
  /// The number of its package; absent for an offline CPU, whose topology the kernel does not give.
  std::optional<std::int64_t> package;
  unsigned core = 0;  ///< the lowest CPU that shares the core
  std::optional<unsigned> numaNode;
};

/// The present CPUs in ascending order. Fails: std::runtime_error when there is no list of them.
std::vector<CpuEntry> readCpus(const std::string& sysRoot);

/// Whether cores run several threads each, as the kernel says; absent on older kernels, which do
/// not.
std::optional<bool> readSmtActive(const std::string& sysRoot);

/// False when the kernel says that no core has several threads; true when it does not say.
bool readSmtPossible(const std::string& sysRoot);

/// The power policy of the host: "off" when the kernel does not scale frequencies, "dynamic" when a
/// governor of any CPU follows the load, else "static".
///
/// The governors ondemand, conservative and schedutil follow the load. So does powersave of the
/// drivers that leave the choice to the processor (intel_pstate, amd-pstate-epp); with any other
/// driver powersave means the lowest frequency.
std::string readPowerPolicy(const std::string& sysRoot);

}  // namespace LinuxHost
