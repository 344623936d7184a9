#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/linux/hardware/host_paths.h"

namespace LinuxHost {

/// What udev has noted about a block device, which is identified by its number, for example "8:0".
/// Empty where udev does not run.
using UdevProperties = std::map<std::string, std::string>;
using UdevLookup = std::function<UdevProperties(const std::string& number)>;

/// Asks libudev. Fails as the functions of host_paths.h.
UdevProperties udevProperties(const std::string& number);

/// A block device of the kernel.
struct BlockDevice {
  std::string name;      ///< sda, sda1, nvme0n1, dm-0, md0
  std::string path;      ///< of its directory in sysfs, with all links resolved
  std::string hardware;  ///< path of the device behind a disk; empty for everything else
  std::string number;    ///< major:minor
  std::string parent;    ///< name of the disk of a partition; empty otherwise
  std::string id;        ///< lasting identity; the name when the device has none
  bool disk = false;     ///< not a partition, and not made of other devices
  UdevProperties noted;  ///< by udev

  std::string note(const char* property) const {
    const auto found = noted.find(property);
    return found == noted.end() ? "" : found->second;
  }
};

/// All block devices in the order of their names, without those that are not storage of the host
/// itself (loop devices, RAM disks, optical drives and the like).
class BlockDevices {
 public:
  BlockDevices(const HostPaths& paths, const UdevLookup& lookup);

  const std::vector<BlockDevice>& all() const { return all_; }
  /// Null when there is none.
  const BlockDevice* byName(const std::string& name) const;
  /// The id of the disk that the device is, or of which it is a partition; empty for other devices.
  std::string diskOf(const BlockDevice& device) const;

 private:
  std::vector<BlockDevice> all_;
};

}  // namespace LinuxHost
