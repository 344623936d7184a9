#pragma once

#include <vector>

#include "platform/hardware.h"

namespace simulated {

/// The member `hardware` of a host file.
struct SimulatedHardware {
  Hardware::System system;
  std::vector<Hardware::Sensor> sensors;
  std::vector<Hardware::MemoryModule> memoryModules;
  std::vector<Hardware::PowerSupply> powerSupplies;
  std::vector<Hardware::Battery> batteries;
  std::vector<Hardware::Disk> disks;
  std::vector<Hardware::PciFunction> storageControllers;
  std::vector<Hardware::PciFunction> networkControllers;
  std::vector<Hardware::StoragePort> storagePorts;
  std::vector<Hardware::Pool> pools;
  std::vector<Hardware::Volume> volumes;
  std::vector<Hardware::Extent> extents;

  static constexpr auto facts() {
    using platform::Fact;
    return std::tuple{
        Fact{"system", &SimulatedHardware::system},
        Fact{"sensors", &SimulatedHardware::sensors},
        Fact{"memoryModules", &SimulatedHardware::memoryModules},
        Fact{"powerSupplies", &SimulatedHardware::powerSupplies},
        Fact{"batteries", &SimulatedHardware::batteries},
        Fact{"disks", &SimulatedHardware::disks},
        Fact{"storageControllers", &SimulatedHardware::storageControllers},
        Fact{"networkControllers", &SimulatedHardware::networkControllers},
        Fact{"storagePorts", &SimulatedHardware::storagePorts},
        Fact{"pools", &SimulatedHardware::pools},
        Fact{"volumes", &SimulatedHardware::volumes},
        Fact{"extents", &SimulatedHardware::extents},
    };
  }
};
static_assert(platform::everyMemberIsAFact<SimulatedHardware>());

}  // namespace simulated
