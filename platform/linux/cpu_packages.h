#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "platform/linux/cpu_topology.h"

/// Packages and cores, computed from the CPUs that the kernel reports. Pure functions.
namespace LinuxHost {

struct CpuCore {
  unsigned firstCpu = 0;       ///< the lowest of its CPUs, known or assumed
  unsigned onlineThreads = 0;  ///< 0: the core is not running
  /// The CPU to ask about the core: its lowest online CPU. For a core that is not running it is a
  /// CPU of another core, of the same package if one runs there.
  unsigned informant = 0;
};

struct CpuPackage {
  std::int64_t id = 0;         ///< the kernel's number; a free one for a package that is offline
  std::vector<CpuCore> cores;  ///< in the order of their first CPUs
};

/// How many threads, running or not, a core and a package have, as an online CPU says; 0 where the
/// processor does not say.
struct ThreadCounts {
  unsigned perCore = 0;
  unsigned perPackage = 0;
};
using AskThreads = std::function<ThreadCounts(unsigned cpu)>;

/// Groups CPUs into cores and cores into packages, in ascending order of package numbers. A core
/// runs when any of its CPUs is online.
///
/// An offline CPU does not show where it belongs. It is first taken for a missing thread of a
/// running core, as long as such cores have fewer threads than they should (when SMT is switched
/// off, all but one thread of each core are offline). The CPUs that remain make up cores that do
/// not run. Both are put into the package of the nearest lower CPU, else of the nearest higher one,
/// that has CPUs in the same NUMA node and has room: as many threads as the processor says, else as
/// many as the running cores of the largest package have.
///
/// CPUs for which no package has room make up packages that are offline as a whole, as far as that
/// can be known: of the size that the processor gives, else one for each NUMA node if every running
/// package is a node of its own. Otherwise they are left out, since too few cores are less wrong
/// than too many. `ask` is called only when some CPU does not show where it belongs.
std::vector<CpuPackage> groupCpus(const std::vector<CpuEntry>& cpus, const AskThreads& ask);

}  // namespace LinuxHost
