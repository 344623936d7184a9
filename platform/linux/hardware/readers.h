#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/hardware.h"
#include "platform/linux/hardware/block_devices.h"
#include "platform/linux/hardware/device_workers.h"
#include "platform/linux/hardware/host_paths.h"

/// One reader for each kind of hardware. Absent files are absent facts; see platform/hardware.h.
/// What is known by its name alone is looked up where the query wants one element.
namespace LinuxHost {

Hardware::System readSystem(const HostPaths& paths);
std::vector<Hardware::MemoryModule> readMemoryModules(const HostPaths& paths);
std::vector<Hardware::PowerSupply> readPowerSupplies(const HostPaths& paths,
                                                     const Hardware::Query& query = {});
std::vector<Hardware::Battery> readBatteries(const HostPaths& paths);

/// PCI functions of a base class: 0x01 storage, 0x02 network.
std::vector<Hardware::PciFunction> readPciFunctions(const HostPaths& paths, unsigned baseClass,
                                                    const Hardware::Query& query = {});

/// Counters of SAS phys come from the host adapter, which may not answer: asked by `workers`.
std::vector<Hardware::StoragePort> readStoragePorts(const HostPaths& paths,
                                                    const Hardware::Query& query,
                                                    DeviceWorkers& workers);

std::vector<Hardware::Disk> readDisks(const HostPaths& paths, const BlockDevices& devices,
                                      const Hardware::Query& query, DeviceWorkers& workers);
std::vector<Hardware::Pool> readPools(const BlockDevices& devices);

/// Identities of array members as they were last seen. A disk that is pulled leaves nothing but its
/// name in the array; its member keeps its identity for as long as the array lists it. Any thread
/// may call.
class KnownMembers {
 public:
  /// By array and member, as the kernel names them: "md0/sda1".
  using Ids = std::map<std::string, std::string>;

  Ids ids() const;
  void replace(Ids ids);

 private:
  mutable std::mutex mutex_;  ///< guards `ids_`; nothing is locked before or after it
  Ids ids_;
};

std::vector<Hardware::Extent> readExtents(const BlockDevices& devices, KnownMembers& known);
std::vector<Hardware::Volume> readVolumes(const HostPaths& paths, const BlockDevices& devices);

/// libsensors reads /sys itself. Chips are asked by `workers`.
std::vector<Hardware::Sensor> readSensors(const HostPaths& paths, const Hardware::Query& query,
                                          DeviceWorkers& workers);

/// Why a disk may not be asked now: its device is suspended, or it is in standby. Empty when it may
/// be. Opens the device; does not wake it.
std::string asleepReason(const HostPaths& paths, const std::string& hardware,
                         const std::string& name);

constexpr const char* kAsleep = "asleep: not asked, so that it is not woken";

}  // namespace LinuxHost
