#include "platform/hardware.h"

#include "platform/linux/hardware/readers.h"

namespace Hardware {
namespace {

constexpr unsigned kStorage = 0x01;
constexpr unsigned kNetwork = 0x02;

LinuxHost::BlockDevices blockDevices(const LinuxHost::HostPaths& paths) {
  return LinuxHost::BlockDevices(paths, LinuxHost::udevProperties);
}

/// The ones of the process. Never destroyed: requests may still come while the process exits.
LinuxHost::KnownMembers& knownMembers() {
  static auto* const known = new LinuxHost::KnownMembers;
  return *known;
}

}  // namespace

using LinuxHost::HostPaths;

System system() { return LinuxHost::readSystem(HostPaths()); }

std::vector<Sensor> sensors(const Query& query) {
  return LinuxHost::readSensors(HostPaths(), LinuxHost::udevProperties, query,
                                LinuxHost::deviceWorkers());
}

std::vector<MemoryModule> memoryModules(const Query&) {
  return LinuxHost::readMemoryModules(HostPaths());
}

std::vector<PowerSupply> powerSupplies(const Query& query) {
  return LinuxHost::readPowerSupplies(HostPaths(), query);
}

std::vector<Battery> batteries(const Query&) { return LinuxHost::readBatteries(HostPaths()); }

std::vector<Disk> disks(const Query& query) {
  const HostPaths paths;
  return LinuxHost::readDisks(paths, blockDevices(paths), query, LinuxHost::deviceWorkers());
}

std::vector<PciFunction> storageControllers(const Query& query) {
  return LinuxHost::readPciFunctions(HostPaths(), kStorage, query);
}

std::vector<PciFunction> networkControllers(const Query& query) {
  return LinuxHost::readPciFunctions(HostPaths(), kNetwork, query);
}

std::vector<StoragePort> storagePorts(const Query& query) {
  return LinuxHost::readStoragePorts(HostPaths(), query, LinuxHost::deviceWorkers());
}

std::vector<Pool> pools(const Query&) { return LinuxHost::readPools(blockDevices(HostPaths())); }

std::vector<Volume> volumes(const Query&) {
  const HostPaths paths;
  return LinuxHost::readVolumes(paths, blockDevices(paths));
}

std::vector<Extent> extents(const Query&) {
  return LinuxHost::readExtents(blockDevices(HostPaths()), knownMembers());
}

}  // namespace Hardware
