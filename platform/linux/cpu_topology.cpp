#include "platform/linux/cpu_topology.h"

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <utility>

#include "platform/linux/sysfs.h"

namespace LinuxHost {
namespace {

std::string cpuDirectory(const std::string& sysRoot) { return sysRoot + "/devices/system/cpu"; }

/// The node of the link "nodeN" in a CPU's directory.
std::optional<unsigned> numaNodeOf(const std::string& directory) {
  constexpr std::string_view kPrefix = "node";
  for (const std::string& name : namesIn(directory)) {
    if (name.compare(0, kPrefix.size(), kPrefix) != 0) continue;
    const auto numbers = parseNumberList(std::string_view(name).substr(kPrefix.size()));
    if (numbers.size() == 1) return numbers[0];
  }
  return {};
}

CpuEntry readCpu(const std::string& directory, unsigned number, bool online) {
  CpuEntry cpu;
  cpu.number = number;
  cpu.online = online;
  cpu.package = readNumber(directory + "/topology/physical_package_id");
  // An online CPU without topology is a core of its own in package 0.
  if (online && !cpu.package) cpu.package = 0;
  cpu.die = readNumber(directory + "/topology/die_id").value_or(0);
  cpu.core = readNumber(directory + "/topology/core_id").value_or(-1);
  if (cpu.core < 0) cpu.core = number;
  cpu.numaNode = numaNodeOf(directory);
  return cpu;
}

using CoreKey = std::tuple<std::int64_t, std::int64_t, std::int64_t>;  // package, die, core

CoreKey keyOf(const CpuEntry& cpu) { return {cpu.package.value_or(0), cpu.die, cpu.core}; }

bool isRunning(const CpuCore& core) { return core.onlineThreads > 0; }

/// A package under construction.
struct Builder {
  std::vector<CpuCore> cores;
  unsigned locatedThreads = 0;
  std::vector<unsigned> unlocated;  // offline CPUs that were put here
};

using Builders = std::map<std::int64_t, Builder>;

Builders buildLocated(const std::vector<CpuEntry>& cpus) {
  Builders packages;
  std::map<CoreKey, std::size_t> indexes;
  for (const CpuEntry& cpu : cpus) {
    if (!cpu.package) continue;
    Builder& package = packages[*cpu.package];
    const auto [at, isNew] = indexes.emplace(keyOf(cpu), package.cores.size());
    if (isNew) package.cores.push_back({cpu.number, 0, 0});
    CpuCore& core = package.cores[at->second];
    ++package.locatedThreads;
    if (!cpu.online) continue;
    if (core.onlineThreads++ == 0) core.informant = cpu.number;
  }
  return packages;
}

/// The package that an offline CPU is put to.
std::int64_t packageFor(const CpuEntry& offline, const std::vector<CpuEntry>& cpus) {
  std::optional<std::int64_t> lower;
  std::optional<std::int64_t> first;
  for (const CpuEntry& cpu : cpus) {
    if (!cpu.package) continue;
    if (offline.numaNode && cpu.numaNode == offline.numaNode) return *cpu.package;
    if (!first) first = cpu.package;
    if (cpu.number < offline.number) lower = cpu.package;
  }
  return lower ? *lower : first.value_or(0);
}

/// Turns the offline CPUs of a package into cores that do not run, as far as they are not threads
/// of those that do.
void addStoppedCores(Builder& package, const ThreadsPerCore& threadsPerCore) {
  unsigned expected = 0;
  unsigned most = 1;
  for (const CpuCore& core : package.cores) {
    const unsigned told = isRunning(core) ? threadsPerCore(core.informant) : 0;
    const unsigned threads = std::max({told, core.onlineThreads, 1U});
    expected += threads;
    most = std::max(most, threads);
  }
  const unsigned missing =
      expected > package.locatedThreads ? expected - package.locatedThreads : 0;
  // Second threads are commonly numbered after all first ones, hence from the end.
  std::vector<unsigned>& stopped = package.unlocated;
  stopped.resize(stopped.size() - std::min<std::size_t>(missing, stopped.size()));
  for (std::size_t i = 0; i < stopped.size(); i += most) {
    package.cores.push_back({stopped[i], 0, 0});
  }
}

/// Lets the first running core of `candidates` answer for those of `cores` that do not run.
void nameInformants(std::vector<CpuCore>& cores, const std::vector<CpuCore>& candidates) {
  const auto running = std::find_if(candidates.begin(), candidates.end(), isRunning);
  if (running == candidates.end()) return;
  const unsigned informant = running->informant;
  for (CpuCore& core : cores) {
    if (!isRunning(core)) core.informant = informant;
  }
}

bool isDynamic(std::string_view governor, std::string_view driver) {
  static constexpr std::string_view kFollowing[] = {"ondemand", "conservative", "schedutil"};
  static constexpr std::string_view kChoosing[] = {"intel_pstate", "amd-pstate-epp"};
  const auto isOneOf = [](std::string_view name, const auto& names) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
  };
  return isOneOf(governor, kFollowing) || (governor == "powersave" && isOneOf(driver, kChoosing));
}

}  // namespace

std::vector<CpuEntry> readCpus(const std::string& sysRoot) {
  const std::string directory = cpuDirectory(sysRoot);
  const auto present = readText(directory + "/present");
  if (!present) throw std::runtime_error("no list of processors in " + directory);
  const std::string online = readText(directory + "/online").value_or(*present);
  const auto onlineNumbers = parseNumberList(online);
  const std::set<unsigned> isOnline(onlineNumbers.begin(), onlineNumbers.end());
  std::vector<CpuEntry> cpus;
  for (const unsigned number : parseNumberList(*present)) {
    cpus.push_back(
        readCpu(directory + "/cpu" + std::to_string(number), number, isOnline.count(number) != 0));
  }
  return cpus;
}

std::vector<CpuPackage> groupCpus(const std::vector<CpuEntry>& cpus,
                                  const ThreadsPerCore& threadsPerCore) {
  Builders builders = buildLocated(cpus);
  for (const CpuEntry& cpu : cpus) {
    if (!cpu.package) builders[packageFor(cpu, cpus)].unlocated.push_back(cpu.number);
  }
  std::vector<CpuPackage> packages;
  for (auto& [id, builder] : builders) {
    if (!builder.unlocated.empty()) addStoppedCores(builder, threadsPerCore);
    std::sort(builder.cores.begin(), builder.cores.end(),
              [](const CpuCore& a, const CpuCore& b) { return a.firstCpu < b.firstCpu; });
    packages.push_back({id, std::move(builder.cores)});
  }
  for (CpuPackage& package : packages) {
    for (const CpuPackage& other : packages) nameInformants(package.cores, other.cores);
    nameInformants(package.cores, package.cores);  // its own core has the last word
  }
  return packages;
}

bool readSmtActive(const std::string& sysRoot, const std::vector<CpuPackage>& packages) {
  if (const auto active = readNumber(cpuDirectory(sysRoot) + "/smt/active")) return *active != 0;
  const auto runsSeveral = [](const CpuCore& core) { return core.onlineThreads > 1; };
  return std::any_of(packages.begin(), packages.end(), [&](const CpuPackage& package) {
    return std::any_of(package.cores.begin(), package.cores.end(), runsSeveral);
  });
}

std::string readPowerPolicy(const std::string& sysRoot) {
  const std::string directory = cpuDirectory(sysRoot) + "/cpufreq";
  bool scales = false;
  for (const std::string& name : namesIn(directory)) {
    const auto governor = readText(directory + "/" + name + "/scaling_governor");
    if (!governor) continue;
    scales = true;
    const auto driver = readText(directory + "/" + name + "/scaling_driver");
    if (isDynamic(*governor, driver.value_or(""))) return "dynamic";
  }
  return scales ? "static" : "off";
}

}  // namespace LinuxHost
