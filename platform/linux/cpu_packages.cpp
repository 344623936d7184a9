#include "platform/linux/cpu_packages.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace LinuxHost {
namespace {

bool isRunning(const CpuCore& core) { return core.onlineThreads > 0; }

/// A package under construction.
struct Builder {
  std::vector<CpuCore> cores;
  std::set<std::optional<unsigned>> nodes;  // NUMA nodes of its located CPUs
  unsigned threads = 0;           // CPUs that show this package, and offline ones put here
  unsigned missing = 0;           // threads of its running cores without a CPU so far
  std::vector<unsigned> stopped;  // offline CPUs put here that are not such threads

  bool isIncomplete() const { return missing > 0; }
};

using Builders = std::map<std::int64_t, Builder>;  // by package number

Builders buildLocated(const std::vector<CpuEntry>& cpus) {
  Builders packages;
  std::map<std::pair<std::int64_t, unsigned>, std::size_t> positions;  // of package and core
  for (const CpuEntry& cpu : cpus) {
    if (!cpu.package) continue;
    Builder& package = packages[*cpu.package];
    const auto [at, isNew] = positions.emplace(std::pair(*cpu.package, cpu.core),  //
                                               package.cores.size());
    if (isNew) package.cores.push_back({cpu.number, 0, 0});
    CpuCore& core = package.cores[at->second];
    ++package.threads;
    package.nodes.insert(cpu.numaNode);
    if (!cpu.online) continue;
    if (core.onlineThreads++ == 0) core.informant = cpu.number;
  }
  return packages;
}

/// Puts the CPUs that do not show their package into one, see groupCpus().
class Placement {
 public:
  Placement(const std::vector<CpuEntry>& cpus, Builders& packages, const AskThreads& ask)
      : cpus_(cpus), packages_(packages) {
    for (auto& [id, package] : packages_) measure(package, ask);
    for (const CpuEntry& cpu : cpus_) {
      if (!cpu.package) unplaced_.push_back(&cpu);
    }
  }

  void placeAll() {
    completeRunningCores();
    const auto isAtHome = [this](const CpuEntry* cpu) { return isNodeOfAPackage(cpu->numaNode); };
    // CPUs in the node of a package take room before those that may be anywhere.
    std::stable_partition(unplaced_.begin(), unplaced_.end(), isAtHome);
    addStoppedCpus();
    addStoppedPackages();
    for (auto& [id, package] : packages_) makeStoppedCores(package);
  }

 private:
  /// Asks how many threads the running cores and the package have.
  void measure(Builder& package, const AskThreads& ask) {
    unsigned expected = 0;
    for (const CpuCore& core : package.cores) {
      const ThreadCounts told = isRunning(core) ? ask(core.informant) : ThreadCounts();
      const unsigned threads = std::max({told.perCore, core.onlineThreads, 1U});
      expected += threads;
      threadsPerCore_ = std::max(threadsPerCore_, threads);
      toldCapacity_ = std::max(toldCapacity_, told.perPackage);
    }
    package.missing = expected > package.threads ? expected - package.threads : 0;
    largest_ = std::max({largest_, expected, package.threads});
  }

  unsigned capacity() const { return std::max(toldCapacity_, largest_); }

  bool isNodeOfAPackage(std::optional<unsigned> node) const {
    return std::any_of(packages_.begin(), packages_.end(),
                       [&](const auto& entry) { return entry.second.nodes.count(node) != 0; });
  }

  /// Whether every running package is in one NUMA node, which contains no other package.
  bool packagesAreNodes() const {
    std::set<std::optional<unsigned>> all;
    for (const auto& [id, package] : packages_) {
      if (package.nodes.size() != 1 || package.nodes.count({}) != 0) return false;
      if (!all.insert(*package.nodes.begin()).second) return false;
    }
    return true;
  }

  bool mayContain(const Builder& package, const CpuEntry& cpu) const {
    if (!cpu.numaNode || package.nodes.count(cpu.numaNode) != 0) return true;
    if (isNodeOfAPackage(cpu.numaNode)) return false;
    return toldCapacity_ != 0 || !packagesAreNodes();
  }

  /// The package that fits of the nearest lower CPU that shows its package, else of the nearest
  /// higher one; null when none fits.
  template <typename Fits>
  Builder* nearest(const CpuEntry& cpu, Fits fits) {
    Builder* found = nullptr;
    for (const CpuEntry& other : cpus_) {
      if (!other.package || (found != nullptr && other.number > cpu.number)) continue;
      Builder& package = packages_.at(*other.package);
      if (fits(package) && mayContain(package, cpu)) found = &package;
    }
    return found;
  }

  /// Starts at the end, because second threads usually have higher numbers than all first ones. The
  /// threads of a core are in one node.
  void completeRunningCores() {
    const auto isThread = [this](const CpuEntry* cpu) {
      if (cpu->numaNode && !isNodeOfAPackage(cpu->numaNode)) return false;
      Builder* package = nearest(*cpu, [](const Builder& each) { return each.isIncomplete(); });
      if (package == nullptr) return false;
      --package->missing;
      ++package->threads;
      return true;
    };
    std::vector<const CpuEntry*> left;
    for (auto cpu = unplaced_.rbegin(); cpu != unplaced_.rend(); ++cpu) {
      if (!isThread(*cpu)) left.push_back(*cpu);
    }
    unplaced_.assign(left.rbegin(), left.rend());
  }

  void addStoppedCpus() {
    const auto hasRoom = [this](const Builder& each) { return each.threads < capacity(); };
    std::vector<const CpuEntry*> left;
    for (const CpuEntry* cpu : unplaced_) {
      Builder* package = nearest(*cpu, hasRoom);
      if (package == nullptr) {
        left.push_back(cpu);
        continue;
      }
      ++package->threads;
      package->stopped.push_back(cpu->number);
    }
    unplaced_ = std::move(left);
  }

  void addStoppedPackages() {
    std::map<std::optional<unsigned>, std::vector<unsigned>> groups;  // by node, if known
    const bool byNode = packagesAreNodes();
    for (const CpuEntry* cpu : unplaced_) {
      const bool isNodeKnown = byNode && cpu->numaNode && !isNodeOfAPackage(cpu->numaNode);
      if (!isNodeKnown && toldCapacity_ == 0) continue;
      groups[isNodeKnown ? cpu->numaNode : std::nullopt].push_back(cpu->number);
    }
    for (const auto& [node, numbers] : groups) {
      const std::size_t size = toldCapacity_ != 0 ? toldCapacity_ : numbers.size();
      for (std::size_t i = 0; i < numbers.size(); i += size) {
        const auto first = numbers.begin() + static_cast<std::ptrdiff_t>(i);
        const std::size_t count = std::min(size, numbers.size() - i);
        addPackage({first, first + static_cast<std::ptrdiff_t>(count)});
      }
    }
  }

  void addPackage(std::vector<unsigned> stopped) {
    std::int64_t id = 0;
    while (packages_.count(id) != 0) ++id;
    packages_[id].stopped = std::move(stopped);
  }

  void makeStoppedCores(Builder& package) const {
    for (std::size_t i = 0; i < package.stopped.size(); i += threadsPerCore_) {
      package.cores.push_back({package.stopped[i], 0, 0});
    }
  }

  const std::vector<CpuEntry>& cpus_;
  Builders& packages_;
  std::vector<const CpuEntry*> unplaced_;  // ascending, those in nodes of packages first
  unsigned threadsPerCore_ = 1;            // of the largest core
  unsigned toldCapacity_ = 0;  // threads of a package, as the processor says; 0: it does not
  unsigned largest_ = 0;       // threads of the cores of the largest package
};

/// Makes the first running core of `candidates` answer for those of `cores` that do not run.
void nameInformants(std::vector<CpuCore>& cores, const std::vector<CpuCore>& candidates) {
  const auto running = std::find_if(candidates.begin(), candidates.end(), isRunning);
  if (running == candidates.end()) return;
  const unsigned informant = running->informant;
  for (CpuCore& core : cores) {
    if (!isRunning(core)) core.informant = informant;
  }
}

}  // namespace

std::vector<CpuPackage> groupCpus(const std::vector<CpuEntry>& cpus, const AskThreads& ask) {
  Builders builders = buildLocated(cpus);
  const auto isUnlocated = [](const CpuEntry& cpu) { return !cpu.package; };
  if (std::any_of(cpus.begin(), cpus.end(), isUnlocated)) Placement(cpus, builders, ask).placeAll();
  std::vector<CpuPackage> packages;
  for (auto& [id, builder] : builders) {
    std::sort(builder.cores.begin(), builder.cores.end(),
              [](const CpuCore& a, const CpuCore& b) { return a.firstCpu < b.firstCpu; });
    packages.push_back({id, std::move(builder.cores)});
  }
  for (CpuPackage& package : packages) {
    for (const CpuPackage& other : packages) nameInformants(package.cores, other.cores);
    nameInformants(package.cores, package.cores);  // a core of its own comes before others
  }
  return packages;
}

}  // namespace LinuxHost
