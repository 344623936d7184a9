#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Packages and cores from the kernel's CPU topology.
namespace LinuxHost {

/// One present CPU (a hardware thread) as sysfs describes it.
struct CpuEntry {
  unsigned number = 0;
  bool online = true;
  /// Absent for an offline CPU, whose topology the kernel does not tell.
  std::optional<std::int64_t> package;
  std::int64_t die = 0;
  std::int64_t core = 0;
  std::optional<unsigned> numaNode;
};

struct CpuCore {
  unsigned firstCpu = 0;       ///< the lowest of its CPUs, known or taken for it
  unsigned onlineThreads = 0;  ///< 0: the core is not running
  /// The CPU to ask about the core: its lowest online CPU. About a core that is not running another
  /// one is asked, of the same package where one runs there.
  unsigned informant = 0;
};

struct CpuPackage {
  std::int64_t id = 0;
  std::vector<CpuCore> cores;  ///< in the order of their first CPUs
};

/// The threads that the core of an online CPU has, running or not; 0 when unknown.
using ThreadsPerCore = std::function<unsigned(unsigned cpu)>;

/// The present CPUs in ascending order. Throws std::runtime_error when there is no list of them.
std::vector<CpuEntry> readCpus(const std::string& sysRoot);

/// Groups CPUs to cores and cores to packages, in ascending order of package numbers.
///
/// A core is what shares package, die and core number, and runs when any of its CPUs is online. An
/// offline CPU does not tell where it belongs. It is put to the package of the online CPUs of its
/// NUMA node, else to that of the next lower located CPU. There, offline CPUs first complete the
/// running cores to as many threads as such a core has (all but one of them are offline when SMT is
/// switched off); those that remain are cores that do not run. `threadsPerCore` is asked only when
/// there is such a CPU.
std::vector<CpuPackage> groupCpus(const std::vector<CpuEntry>& cpus,
                                  const ThreadsPerCore& threadsPerCore);

/// Whether cores run more than one thread each: the kernel's own word, else what `packages` show.
bool readSmtActive(const std::string& sysRoot, const std::vector<CpuPackage>& packages);

/// Power policy of the host: "off" where the kernel does not scale frequencies, "dynamic" where a
/// governor follows the load on any CPU, else "static".
///
/// Governors ondemand, conservative and schedutil follow the load, and so does powersave of the
/// drivers that leave the choice to the processor (intel_pstate, amd-pstate-epp); with any other
/// driver powersave means the lowest frequency.
std::string readPowerPolicy(const std::string& sysRoot);

}  // namespace LinuxHost
