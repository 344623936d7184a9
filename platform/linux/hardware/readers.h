#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/hardware.h"
#include "platform/linux/hardware/block_devices.h"
#include "platform/linux/hardware/device_workers.h"
#include "platform/linux/hardware/host_paths.h"

/// One reader for each kind of hardware. A file that is absent is an absent fact; see
/// platform/hardware.h. Kinds whose elements are identified by their name alone are read for the
/// wanted element only.
namespace LinuxHost {

Hardware::System readSystem(const HostPaths& paths);
std::vector<Hardware::MemoryModule> readMemoryModules(const HostPaths& paths);
std::vector<Hardware::PowerSupply> readPowerSupplies(const HostPaths& paths,
                                                     const Hardware::Query& query = {});
std::vector<Hardware::Battery> readBatteries(const HostPaths& paths);

/// PCI functions of a base class: 0x01 storage, 0x02 network.
std::vector<Hardware::PciFunction> readPciFunctions(const HostPaths& paths, unsigned baseClass,
                                                    const Hardware::Query& query = {});

/// The counters of SAS phys come from the host adapter, which may not answer, so `workers` ask it.
std::vector<Hardware::StoragePort> readStoragePorts(const HostPaths& paths,
                                                    const Hardware::Query& query,
                                                    DeviceWorkers& workers);

std::vector<Hardware::Disk> readDisks(const HostPaths& paths, const BlockDevices& devices,
                                      const Hardware::Query& query, DeviceWorkers& workers);
std::vector<Hardware::Pool> readPools(const BlockDevices& devices);

/// The identities of array members as they were last seen. A disk that has been removed leaves only
/// its name in the array; its member keeps its identity as long as the array lists it. Any thread
/// may call.
class KnownMembers {
 public:
  /// By the kernel's names of array and member: "md0/sda1".
  using Ids = std::map<std::string, std::string>;

  Ids ids() const;
  void replace(Ids ids);

 private:
  mutable std::mutex mutex_;  ///< guards `ids_`; nothing is locked before or after it
  Ids ids_;
};

std::vector<Hardware::Extent> readExtents(const BlockDevices& devices, KnownMembers& known);
std::vector<Hardware::Volume> readVolumes(const HostPaths& paths, const BlockDevices& devices);

/// libsensors reads /sys itself, whatever `paths` says. Chips are asked by `workers`. `lookup` is
/// the one with which the disks are read, so that a disk has the same id here.
std::vector<Hardware::Sensor> readSensors(const HostPaths& paths, const UdevLookup& lookup,
                                          const Hardware::Query& query, DeviceWorkers& workers);

/// Why a disk must not be asked now: its device is suspended, or the disk is in standby. Empty when
/// it may be asked. Opens the device, but does not wake it.
std::string asleepReason(const HostPaths& paths, const std::string& hardware,
                         const std::string& name);

constexpr const char* kAsleep = "asleep: not asked, so that it is not woken";

}  // namespace LinuxHost
