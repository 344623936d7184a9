#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/hardware/host_paths.h"
#include "tests/platform/linux/sys_tree.h"

namespace LinuxHost {

/// A made-up sysfs with hardware in it. Its links are relative, so it can be mounted over /sys.
class HardwareTree : public SysTree {
 public:
  HardwareTree() {
    for (const char* name : {"class", "bus/pci/devices", "devices", "firmware", "fs"}) {
      directory(name);
    }
  }

  HostPaths paths() const { return {root(), root() + "/dev", root() + "/mountinfo"}; }

  /// `class/<kind>/<name>` leads to `devices/<path>`.
  void device(const std::string& kind, const std::string& name, const std::string& path) {
    relativeLink("class/" + kind + "/" + name, "devices/" + path);
  }

  void relativeLink(const std::string& from, const std::string& to) {
    const std::filesystem::path link = std::filesystem::path(root()) / from;
    std::filesystem::create_directories(link.parent_path());
    directory(to);
    const auto target = std::filesystem::path(root()) / to;
    std::filesystem::create_directory_symlink(std::filesystem::relative(target, link.parent_path()),
                                              link);
  }

  /// An NVMe disk "nvme<n>n1" below its PCI function.
  void nvmeDisk(unsigned n, const std::string& state = "live") {
    const std::string controller = "nvme" + std::to_string(n);
    const std::string base = "pci0000:00/0000:01:00." + std::to_string(n) + "/nvme/" + controller;
    file("devices/" + base + "/model", "Example NVMe  \n");
    file("devices/" + base + "/serial", "S" + std::to_string(n) + "\n");
    file("devices/" + base + "/firmware_rev", "1.0\n");
    file("devices/" + base + "/state", state + "\n");
    relativeLink("devices/" + base + "/device",
                 "devices/pci0000:00/0000:01:00." + std::to_string(n));
    const std::string disk = base + "/" + controller + "n1";
    blockDevice(controller + "n1", disk, "259:" + std::to_string(n), 2048);
    file("devices/" + disk + "/wwid", "eui.000000000000000" + std::to_string(n) + "\n");
    relativeLink("devices/" + disk + "/device", "devices/" + base);
  }

  /// A SCSI or ATA disk.
  void scsiDisk(const std::string& name, const std::string& number, const std::string& vendor,
                const std::string& state = "running") {
    const std::string target = "pci0000:00/0000:00:1f.2/ata1/host0/target0:0:0/" + name;
    file("devices/" + target + "/vendor", vendor + "     \n");
    file("devices/" + target + "/model", "Example Disk\n");
    file("devices/" + target + "/rev", "1.0\n");
    file("devices/" + target + "/state", state + "\n");
    file("devices/" + target + "/scsi_level", "6\n");
    file("devices/" + target + "/wwid", "naa.5000c500" + name + "\n");
    const std::string disk = target + "/block/" + name;
    blockDevice(name, disk, number, 4096);
    relativeLink("devices/" + disk + "/device", "devices/" + target);
    paths_[name] = disk;
  }

  void partition(const std::string& disk, const std::string& name, const std::string& number) {
    const std::string path = paths_[disk] + "/" + name;
    file("devices/" + path + "/partition", "1\n");
    file("devices/" + path + "/dev", number + "\n");
    file("devices/" + path + "/size", "2048\n");
    device("block", name, path);
  }

  void blockDevice(const std::string& name, const std::string& path, const std::string& number,
                   unsigned sectors) {
    file("devices/" + path + "/dev", number + "\n");
    file("devices/" + path + "/size", std::to_string(sectors) + "\n");
    file("devices/" + path + "/queue/logical_block_size", "512\n");
    device("block", name, path);
    paths_[name] = path;
  }

  /// An md array of members that are block devices of the tree.
  void array(const std::string& name, const std::string& level, unsigned disks, unsigned missing,
             const std::vector<std::pair<std::string, std::string>>& members) {
    const std::string path = "virtual/block/" + name;
    blockDevice(name, path, "9:0", 8192);
    file("devices/" + path + "/md/array_state", "clean\n");
    file("devices/" + path + "/md/level", level + "\n");
    file("devices/" + path + "/md/raid_disks", std::to_string(disks) + "\n");
    file("devices/" + path + "/md/degraded", std::to_string(missing) + "\n");
    file("devices/" + path + "/md/sync_action", "idle\n");
    for (const auto& [member, state] : members) {
      file("devices/" + path + "/md/dev-" + member + "/state", state + "\n");
      file("devices/" + path + "/md/dev-" + member + "/errors", "0\n");
    }
  }

 private:
  std::map<std::string, std::string> paths_;  ///< of block devices, below devices/
};

}  // namespace LinuxHost
