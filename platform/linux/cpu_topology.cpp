#include "platform/linux/cpu_topology.h"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string_view>

#include "platform/linux/sysfs.h"

namespace LinuxHost {
namespace {

std::string cpuDirectory(const std::string& sysRoot) { return sysRoot + "/devices/system/cpu"; }

/// The NUMA node that the link "nodeN" in a CPU's directory names.
std::optional<unsigned> numaNodeOf(const std::string& directory) {
  constexpr std::string_view kPrefix = "node";
  for (const std::string& name : namesIn(directory)) {
    if (name.compare(0, kPrefix.size(), kPrefix) != 0) continue;
    const auto numbers = parseNumberList(std::string_view(name).substr(kPrefix.size()));
    if (numbers.size() == 1) return numbers[0];
  }
  return {};
}

/// The lowest CPU of the core that this one belongs to. Where the kernel does not say, each CPU is
/// a core of its own. Core numbers do not help: they may repeat within a package.
unsigned coreOf(const std::string& directory, unsigned number) {
  for (const char* file : {"/topology/core_cpus_list", "/topology/thread_siblings_list"}) {
    const auto text = readText(directory + file);
    if (!text) continue;
    const auto cpus = parseNumberList(*text);
    if (!cpus.empty()) return std::min(number, cpus.front());
  }
  return number;
}

CpuEntry readCpu(const std::string& directory, unsigned number, bool online) {
  CpuEntry cpu;
  cpu.number = number;
  cpu.online = online;
  cpu.package = readNumber(directory + "/topology/physical_package_id");
  // An online CPU without topology is a core of its own in package 0.
  if (online && !cpu.package) cpu.package = 0;
  cpu.core = coreOf(directory, number);
  cpu.numaNode = numaNodeOf(directory);
  return cpu;
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

std::optional<bool> readSmtActive(const std::string& sysRoot) {
  const auto active = readNumber(cpuDirectory(sysRoot) + "/smt/active");
  return active ? std::optional(*active != 0) : std::nullopt;
}

bool readSmtPossible(const std::string& sysRoot) {
  return readText(cpuDirectory(sysRoot) + "/smt/control") != "notsupported";
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
