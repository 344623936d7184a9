#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "platform/linux/hardware/kernel_texts.h"
#include "platform/linux/hardware/readers.h"
#include "platform/linux/sysfs.h"

namespace LinuxHost {
namespace {

using Hardware::Extent;
using Hardware::Pool;
using Hardware::Volume;

constexpr std::uint64_t kSector = 512;  // bytes, in sysfs: whatever the device's own sectors are

template <typename Visit>
void forEachArray(const BlockDevices& devices, Visit visit) {
  for (const BlockDevice& device : devices.all()) {
    if (!device.parent.empty()) continue;
    const std::string md = device.path + "/md";
    if (!textIn(md + "/array_state").empty()) visit(device, md);
  }
}

/// Sets block size and number of blocks. The block size of a partition is that of its disk.
template <typename Facts>
void readBlocks(const BlockDevice& device, Facts& facts) {
  const std::string owner =
      device.parent.empty() ? device.path : device.path.substr(0, device.path.rfind('/'));
  const auto sectors = numberIn<std::uint64_t>(device.path + "/size");
  facts.blockSize = numberIn<std::uint64_t>(owner + "/queue/logical_block_size");
  if (!sectors || !facts.blockSize || *facts.blockSize < kSector) {
    facts.blockSize.reset();
    return;
  }
  facts.blocks = *sectors / (*facts.blockSize / kSector);
}

// ---- Members of arrays ----

Extent readExtent(const BlockDevices& devices, const BlockDevice& array, const std::string& path,
                  const std::string& name) {
  Extent extent;
  extent.name = name;
  extent.pool = array.id;
  extent.state = textIn(path + "/state");
  extent.errors = numberIn<std::uint64_t>(path + "/errors");
  const BlockDevice* const member = devices.byName(name);
  if (member != nullptr) {
    extent.disk = devices.diskOf(*member);
    readBlocks(*member, extent);
  }
  extent.id = array.id + "/" + (member != nullptr ? member->id : keyText(name));
  return extent;
}

// ---- Volumes ----

bool isLogicalVolume(const BlockDevice& device) { return device.id.rfind("LVM-", 0) == 0; }

std::string volumeId(const BlockDevice& device) {
  const std::string uuid = keyText(device.note("ID_FS_UUID"));
  if (isLogicalVolume(device) || uuid.empty()) return device.id;
  return "fs-" + uuid;
}

std::string volumeName(const BlockDevice& device) {
  const std::string mapped = textIn(device.path + "/dm/name");
  return mapped.empty() ? device.name : mapped;
}

Volume readVolume(const BlockDevice& device, const BlockDevices& devices) {
  Volume volume;
  volume.id = volumeId(device);
  volume.name = volumeName(device);
  volume.disk = devices.diskOf(device);
  volume.suspended = textIn(device.path + "/dm/suspended") == "1";
  readBlocks(device, volume);
  return volume;
}

/// The device that a path below /dev names, which may be a link; null when there is none. The nodes
/// in /dev/mapper are named as the device mapper names its devices.
const BlockDevice* deviceAt(const std::string& path, const HostPaths& paths,
                            const BlockDevices& devices) {
  constexpr std::string_view kDev = "/dev/";
  if (!beginsWith(path, kDev)) return nullptr;
  const std::string target = resolved(paths.dev + "/" + path.substr(kDev.size()));
  const std::string_view node = target.empty() ? path : target;
  const std::string_view name = baseName(node);
  if (baseName(node.substr(0, node.rfind('/'))) != "mapper") {
    return devices.byName(std::string(name));
  }
  for (const BlockDevice& device : devices.all()) {
    if (!name.empty() && textIn(device.path + "/dm/name") == name) return &device;
  }
  return nullptr;
}

/// btrfs gives each file system a number of its own (major 0) in place of its device's; only the
/// source of the mount tells the device.
void setNumbersOfDevices(std::vector<Mount>& mounts, const HostPaths& paths,
                         const BlockDevices& devices) {
  std::map<std::string, std::string> numbers;  // by source; empty without a device
  for (Mount& mount : mounts) {
    if (mount.type != "btrfs" || !beginsWith(mount.device, "0:")) continue;
    const auto [number, isNew] = numbers.try_emplace(mount.source);
    const BlockDevice* device = isNew ? deviceAt(mount.source, paths, devices) : nullptr;
    if (device != nullptr) number->second = device->number;
    if (!number->second.empty()) mount.device = number->second;
  }
}

/// All mounts. The kernel allows 100,000 unless told otherwise; a line that the bound cuts is left
/// out.
std::vector<Mount> readMounts(const HostPaths& paths, const BlockDevices& devices) {
  constexpr std::size_t kMost = 16 * 1024 * 1024;
  int error = 0;
  std::string text = bytesIn(paths.mountInfo, error, kMost).value_or("");
  text.erase(text.rfind('\n') + 1);
  std::vector<Mount> mounts = parseMountInfo(text);
  setNumbersOfDevices(mounts, paths, devices);
  return mounts;
}

/// Whether a file system was mounted for writing and can no longer be written, on a device that
/// can.
bool becameReadOnly(const Mount& mount, const BlockDevice& device) {
  return mount.writable && !mount.fileSystemWritable && textIn(device.path + "/ro") != "1";
}

/// The copies of each block in a raid10 array: the near ones, in the lowest byte of the layout,
/// times the far ones, in the next. Absent for another level, and while a reshape changes them.
std::optional<std::uint32_t> copiesIn(const std::string& md, const std::string& level) {
  const auto layout = numberIn<std::uint32_t>(md + "/layout");
  if (level != "raid10" || !layout) return std::nullopt;
  return (*layout & 0xff) * (*layout >> 8 & 0xff);
}

}  // namespace

std::vector<Pool> readPools(const BlockDevices& devices) {
  std::vector<Pool> pools;
  forEachArray(devices, [&](const BlockDevice& device, const std::string& md) {
    Pool pool;
    pool.id = device.id;
    pool.name = device.name;
    pool.level = textIn(md + "/level");
    pool.state = textIn(md + "/array_state");
    pool.syncAction = textIn(md + "/sync_action");
    pool.disks = numberIn<std::uint32_t>(md + "/raid_disks");
    pool.missing = numberIn<std::uint32_t>(md + "/degraded");
    pool.copies = copiesIn(md, pool.level);
    const auto sectors = numberIn<std::uint64_t>(device.path + "/size");
    if (sectors) pool.size = *sectors * kSector;
    pools.push_back(std::move(pool));
  });
  return pools;
}

KnownMembers::Ids KnownMembers::ids() const {
  const std::lock_guard lock(mutex_);
  return ids_;
}

void KnownMembers::replace(Ids ids) {
  const std::lock_guard lock(mutex_);
  ids_ = std::move(ids);
}

std::vector<Extent> readExtents(const BlockDevices& devices, KnownMembers& known) {
  std::vector<Extent> extents;
  const KnownMembers::Ids before = known.ids();
  KnownMembers::Ids now;
  forEachArray(devices, [&](const BlockDevice& array, const std::string& md) {
    for (const std::string& entry : entriesOf(md)) {
      if (entry.rfind("dev-", 0) != 0) continue;
      extents.push_back(readExtent(devices, array, md + "/" + entry, entry.substr(4)));
      Extent& extent = extents.back();
      const std::string place = array.name + "/" + extent.name;
      const auto was = before.find(place);
      const bool isGone = devices.byName(extent.name) == nullptr;
      if (isGone && was != before.end()) extent.id = was->second;
      now[place] = extent.id;
    }
  });
  known.replace(std::move(now));
  return extents;
}

std::vector<Volume> readVolumes(const HostPaths& paths, const BlockDevices& devices) {
  std::vector<Volume> volumes;
  const std::vector<Mount> mounts = readMounts(paths, devices);
  for (const BlockDevice& device : devices.all()) {
    const auto mount = std::find_if(mounts.begin(), mounts.end(),
                                    [&](const Mount& m) { return m.device == device.number; });
    if (mount == mounts.end() && !isLogicalVolume(device)) continue;
    Volume volume = readVolume(device, devices);
    if (mount != mounts.end()) {
      volume.fileSystem = mount->type;
      volume.mountPoint = mount->place;
      volume.readOnlyRemount = becameReadOnly(*mount, device);
      volume.errors =
          numberIn<std::uint64_t>(paths.sys + "/fs/ext4/" + device.name + "/errors_count");
    }
    volumes.push_back(std::move(volume));
  }
  return volumes;
}

}  // namespace LinuxHost
