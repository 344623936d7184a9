#include <limits>

#include "platform/linux/hardware/kernel_texts.h"
#include "platform/linux/hardware/readers.h"

namespace LinuxHost {
namespace {

using Hardware::Battery;
using Hardware::PowerSupply;

/// Calls `visit` for each supply that powers the host; those of a mouse or pen are left out.
template <typename Visit>
void forEachSupply(const HostPaths& paths, Visit visit) {
  const std::string directory = paths.sys + "/class/power_supply";
  for (const std::string& name : entriesOf(directory)) {
    const std::string path = directory + "/" + name;
    const std::string type = textIn(path + "/type");
    if (type.empty() || textIn(path + "/scope") == "Device") continue;
    visit(name, path, type);
  }
}

std::optional<std::uint32_t> milliwattHours(double value) {
  if (!(value >= 0) || value > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(value);
}

/// A capacity from a file of energy in microwatt-hours, or else from one of charge in
/// microampere-hours, at the design voltage.
std::optional<std::uint32_t> capacity(const std::string& path, const char* energy,
                                      const char* charge,
                                      const std::optional<std::uint64_t>& microvolts) {
  if (const auto value = numberIn<std::uint64_t>(path + energy)) {
    return milliwattHours(static_cast<double>(*value) / 1e3);
  }
  const auto value = numberIn<std::uint64_t>(path + charge);
  if (!value || !microvolts) return std::nullopt;
  return milliwattHours(static_cast<double>(*value) * static_cast<double>(*microvolts) / 1e9);
}

Battery readBattery(const std::string& name, const std::string& path) {
  Battery battery;
  battery.name = cleanText(name);
  battery.status = textIn(path + "/status");
  battery.health = textIn(path + "/health");
  battery.capacityLevel = textIn(path + "/capacity_level");
  battery.manufacturer = textIn(path + "/manufacturer");
  battery.model = textIn(path + "/model_name");
  battery.serialNumber = textIn(path + "/serial_number");
  battery.present = numberIn<std::uint16_t>(path + "/present");
  battery.charge = numberIn<std::uint16_t>(path + "/capacity");
  battery.cycles = numberIn<std::uint32_t>(path + "/cycle_count");
  const auto microvolts = numberIn<std::uint64_t>(path + "/voltage_min_design");
  if (microvolts) battery.designVoltage = *microvolts / 1000;
  battery.designCapacity = capacity(path, "/energy_full_design", "/charge_full_design", microvolts);
  battery.fullCapacity = capacity(path, "/energy_full", "/charge_full", microvolts);
  const bool hasSerial = battery.serialNumber.find_first_not_of("0 ") != std::string::npos;
  battery.id = keyText(hasSerial ? "serial-" + battery.model + "_" + battery.serialNumber : name);
  return battery;
}

}  // namespace

std::vector<PowerSupply> readPowerSupplies(const HostPaths& paths, const Hardware::Query& query) {
  std::vector<PowerSupply> supplies;
  forEachSupply(paths, [&](const std::string& name, const std::string& path, const auto& type) {
    if (type == "Battery") return;
    PowerSupply supply;
    supply.id = keyText(name);
    if (!query.onlyId.empty() && query.onlyId != supply.id) return;
    supply.name = cleanText(name);
    supply.type = type;
    supply.health = textIn(path + "/health");
    supply.online = numberIn<std::uint16_t>(path + "/online");
    supplies.push_back(std::move(supply));
  });
  return supplies;
}

std::vector<Battery> readBatteries(const HostPaths& paths) {
  std::vector<Battery> batteries;
  forEachSupply(paths, [&](const std::string& name, const std::string& path, const auto& type) {
    if (type == "Battery") batteries.push_back(readBattery(name, path));
  });
  return batteries;
}

}  // namespace LinuxHost
