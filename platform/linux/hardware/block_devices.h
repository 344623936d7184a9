#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/linux/hardware/host_paths.h"

namespace LinuxHost {

/// What udev has noted of a block device, by its number "8:0"; nothing where udev does not run.
using UdevProperties = std::map<std::string, std::string>;
using UdevLookup = std::function<UdevProperties(const std::string& number)>;

/// Asks libudev. Fails: as the functions of host_paths.h.
UdevProperties udevProperties(const std::string& number);

/// A block device of the kernel.
struct BlockDevice {
  std::string name;      ///< sda, sda1, nvme0n1, dm-0, md0
  std::string path;      ///< of its directory in sysfs, all links resolved
  std::string hardware;  ///< that of the device which it is on; empty for partitions and others
  std::string number;    ///< major:minor
  std::string parent;    ///< name of the disk that a partition is of; empty otherwise
  std::string id;        ///< stable identity; the name where the device has none
  bool disk = false;     ///< a device of its own: no partition, nothing made of other devices
  UdevProperties noted;  ///< by udev

  std::string note(const char* property) const {
    const auto found = noted.find(property);
    return found == noted.end() ? "" : found->second;
  }
};

/// All of them, by name, without those that hold no storage of the host's own (loop devices, RAM
/// disks, optical drives).
class BlockDevices {
 public:
  BlockDevices(const HostPaths& paths, const UdevLookup& lookup);

  const std::vector<BlockDevice>& all() const { return all_; }
  /// Null when there is none.
  const BlockDevice* byName(const std::string& name) const;
  /// Id of the disk that the device is, or is a partition of; empty for others.
  std::string diskOf(const BlockDevice& device) const;

 private:
  std::vector<BlockDevice> all_;
};

}  // namespace LinuxHost
