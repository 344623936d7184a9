#include <cerrno>
#include <cstdio>
#include <system_error>

#include "platform/linux/hardware/kernel_texts.h"
#include "platform/linux/hardware/readers.h"
#include "platform/linux/hardware/smbios.h"

namespace LinuxHost {
namespace {

using Hardware::MemoryModule;

MemoryModule moduleOf(const SmbiosMemoryDevice& device) {
  char id[24];
  std::snprintf(id, sizeof id, "smbios-0x%04x", static_cast<unsigned>(device.handle));
  MemoryModule module;
  module.id = id;
  module.name = device.locator.empty() ? id : device.locator;
  module.bank = device.bank;
  module.manufacturer = device.manufacturer;
  module.serialNumber = device.serialNumber;
  module.partNumber = device.partNumber;
  module.capacity = device.capacity;
  module.memoryType = cimMemoryType(device.type);
  module.formFactor = cimFormFactor(device.formFactor);
  module.totalWidth = device.totalWidth;
  module.dataWidth = device.dataWidth;
  module.transferRate = device.transferRate;
  return module;
}

/// The modules in the firmware's table, without empty slots. If the table may not be read, one
/// element that says so.
std::vector<MemoryModule> modulesOfTable(const HostPaths& paths) {
  int error = 0;
  const auto table = bytesIn(paths.sys + "/firmware/dmi/tables/DMI", error);
  std::vector<MemoryModule> modules;
  if (!table) {
    if (error == ENOENT || error == ENOTDIR) return modules;
    MemoryModule refused;
    refused.id = "SMBIOS";
    refused.name = "memory table of the firmware";
    refused.refused = "memory table not read: " + std::generic_category().message(error);
    return {refused};
  }
  for (const SmbiosMemoryDevice& device : parseMemoryDevices(*table)) {
    if (device.capacity != 0) modules.push_back(moduleOf(device));
  }
  return modules;
}

/// A module with the error counts of its memory controller.
struct CountedModule {
  std::string id;
  std::string label;
  std::optional<std::uint64_t> correctable;
  std::optional<std::uint64_t> uncorrectable;
};

std::vector<CountedModule> countedModules(const HostPaths& paths) {
  std::vector<CountedModule> counted;
  const std::string controllers = paths.sys + "/devices/system/edac/mc";
  for (const std::string& controller : entriesOf(controllers)) {
    if (!beginsWith(controller, "mc")) continue;
    const std::string directory = controllers + "/" + controller;
    for (const std::string& module : entriesOf(directory)) {
      if (!beginsWith(module, "dimm") && !beginsWith(module, "rank")) continue;
      const std::string path = directory + "/" + module;
      counted.push_back({keyText("edac-" + controller + "-" + module), textIn(path + "/dimm_label"),
                         numberIn<std::uint64_t>(path + "/dimm_ce_count"),
                         numberIn<std::uint64_t>(path + "/dimm_ue_count")});
    }
    // Errors that the controller could not attribute to a module. They become an element only when
    // there are some.
    const auto correctable = numberIn<std::uint64_t>(directory + "/ce_noinfo_count");
    const auto uncorrectable = numberIn<std::uint64_t>(directory + "/ue_noinfo_count");
    if (correctable.value_or(0) + uncorrectable.value_or(0) > 0) {
      counted.push_back({keyText("edac-" + controller), controller + ": errors of no known module",
                         correctable, uncorrectable});
    }
  }
  return counted;
}

bool isLetterOrDigit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

/// Whether the label names the module, that is, contains its locator as a word.
bool names(const std::string& label, const MemoryModule& module) {
  if (module.name.empty()) return false;
  for (std::size_t at = label.find(module.name); at != std::string::npos;
       at = label.find(module.name, at + 1)) {
    const std::size_t end = at + module.name.size();
    const bool begins = at == 0 || !isLetterOrDigit(label[at - 1]);
    const bool ends = end == label.size() || !isLetterOrDigit(label[end]);
    if (begins && ends) return true;
  }
  return false;
}

}  // namespace

/// The counts go to the only module that their label names; otherwise they are an element of their
/// own.
std::vector<MemoryModule> readMemoryModules(const HostPaths& paths) {
  std::vector<MemoryModule> modules = modulesOfTable(paths);
  const std::size_t inTable = modules.size();
  for (const CountedModule& counted : countedModules(paths)) {
    std::vector<MemoryModule*> named;
    for (std::size_t i = 0; i < inTable; ++i) {
      if (names(counted.label, modules[i]) && !modules[i].correctableErrors) {
        named.push_back(&modules[i]);
      }
    }
    if (named.size() == 1) {
      named[0]->correctableErrors = counted.correctable;
      named[0]->uncorrectableErrors = counted.uncorrectable;
      continue;
    }
    MemoryModule own;
    own.id = counted.id;
    own.name = counted.label.empty() ? counted.id : counted.label;
    own.correctableErrors = counted.correctable;
    own.uncorrectableErrors = counted.uncorrectable;
    modules.push_back(std::move(own));
  }
  return modules;
}

}  // namespace LinuxHost
