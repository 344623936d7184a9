#include "platform/hardware.h"

#include "platform/simulated/host_file.h"
#include "platform/simulated/simulated_hardware.h"
#include "platform/simulated/simulated_pnic.h"

namespace Hardware {
namespace {

using simulated::SimulatedHardware;

/// One list of the host as it is now; empty when the host cannot be read. An element without an id
/// gets its name as id.
template <typename Facts>
std::vector<Facts> listOf(std::vector<Facts> SimulatedHardware::*list) {
  const auto host = simulated::loadHost();
  if (host == nullptr) return {};
  if (const auto* fault = std::get_if<simulated::Fault>(&host->hardware)) {
    simulated::throwFault(*fault);
  }
  std::vector<Facts> elements = std::get<SimulatedHardware>(host->hardware).*list;
  for (Facts& element : elements) {
    if (element.id.empty()) element.id = element.name;
  }
  return elements;
}

}  // namespace

System system() {
  const auto host = simulated::loadHost();
  if (host == nullptr) return {};
  if (const auto* fault = std::get_if<simulated::Fault>(&host->hardware)) {
    simulated::throwFault(*fault);
  }
  return std::get<SimulatedHardware>(host->hardware).system;
}

std::vector<Sensor> sensors(const Query&) { return listOf(&SimulatedHardware::sensors); }
std::vector<MemoryModule> memoryModules(const Query&) {
  return listOf(&SimulatedHardware::memoryModules);
}
std::vector<PowerSupply> powerSupplies(const Query&) {
  return listOf(&SimulatedHardware::powerSupplies);
}
std::vector<Battery> batteries(const Query&) { return listOf(&SimulatedHardware::batteries); }
std::vector<Disk> disks(const Query&) { return listOf(&SimulatedHardware::disks); }
std::vector<PciFunction> storageControllers(const Query&) {
  return listOf(&SimulatedHardware::storageControllers);
}
std::vector<PciFunction> networkControllers(const Query&) {
  return listOf(&SimulatedHardware::networkControllers);
}
std::vector<StoragePort> storagePorts(const Query&) {
  return listOf(&SimulatedHardware::storagePorts);
}
std::vector<Pool> pools(const Query&) { return listOf(&SimulatedHardware::pools); }
std::vector<Volume> volumes(const Query&) { return listOf(&SimulatedHardware::volumes); }
std::vector<Extent> extents(const Query&) { return listOf(&SimulatedHardware::extents); }

}  // namespace Hardware
