#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "platform/linux/cpu_topology.h"

/// Packages and cores, made of the CPUs that the kernel reports. Pure functions.
namespace LinuxHost {

struct CpuCore {
  unsigned firstCpu = 0;       ///< the lowest of its CPUs, known or taken for it
  unsigned onlineThreads = 0;  ///< 0: the core is not running
  /// The CPU to ask about the core: its lowest online CPU. About a core that is not running another
  /// one is asked, of the same package where one runs there.
  unsigned informant = 0;
};

struct CpuPackage {
  std::int64_t id = 0;         ///< the kernel's number; of a package that is offline, a free one
  std::vector<CpuCore> cores;  ///< in the order of their first CPUs
};

/// How many threads a core and a package of an online CPU's kind have, running or not; 0 where the
/// processor does not say.
struct ThreadCounts {
  unsigned perCore = 0;
  unsigned perPackage = 0;
};
using AskThreads = std::function<ThreadCounts(unsigned cpu)>;

/// Groups CPUs to cores and cores to packages, in ascending order of package numbers. A core runs
/// when any of its CPUs is online.
///
/// An offline CPU does not show where it belongs. It first completes a running core to as many
/// threads as such a core has; all but one of them are offline when SMT is switched off. Those that
/// remain are cores that do not run. Both go to the package of the nearest lower CPU, else the
/// nearest higher one, that has CPUs in the same NUMA node and room: a package has room for as many
/// threads as the processor says, else as the largest package has in its running cores.
///
/// CPUs that no package has room for are packages that are offline as a whole, as far as that can
/// be known: of the size that the processor gives, else one for each NUMA node if every running
/// package is a node of its own. Otherwise they are left out: too few cores are less wrong than
/// too many. `ask` is called only when a CPU does not show where it belongs.
std::vector<CpuPackage> groupCpus(const std::vector<CpuEntry>& cpus, const AskThreads& ask);

}  // namespace LinuxHost
