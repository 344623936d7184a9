#include "platform/linux/hardware/block_devices.h"

#include <libudev.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <string_view>

#include "platform/linux/hardware/kernel_texts.h"
#include "platform/linux/sysfs.h"

namespace LinuxHost {
namespace {

struct Unref {
  void operator()(udev* context) const { udev_unref(context); }
  void operator()(udev_device* device) const { udev_device_unref(device); }
};

bool isStorage(std::string_view name) {
  for (const char* prefix : {"loop", "ram", "zram", "sr", "fd", "nbd"}) {
    if (beginsWith(name, prefix)) return false;
  }
  return true;
}

bool isMadeOfOthers(std::string_view name) {
  return beginsWith(name, "dm-") || beginsWith(name, "md");
}

std::string firstGiven(std::initializer_list<std::string> texts) {
  for (const std::string& text : texts) {
    if (!text.empty()) return text;
  }
  return "";
}

std::string prefixed(const char* prefix, const std::string& text) {
  const std::string key = keyText(text);
  return key.empty() ? "" : prefix + key;
}

/// The identity that the hardware gives. The kernel's word comes before udev's, since it is always
/// there.
std::string diskId(const BlockDevice& device) {
  const std::string serial =
      firstGiven({textIn(device.path + "/device/serial"), textIn(device.path + "/serial")});
  const std::string model = textIn(device.path + "/device/model");
  const std::string named = model.empty() ? serial : model + "_" + serial;
  return firstGiven({prefixed("", textIn(device.path + "/wwid")),
                     prefixed("", textIn(device.path + "/device/wwid")),
                     prefixed("wwn-", device.note("ID_WWN_WITH_EXTENSION")),
                     prefixed("wwn-", device.note("ID_WWN")),
                     serial.empty() ? "" : prefixed("serial-", named),
                     prefixed("serial-", device.note("ID_SERIAL")),
                     prefixed("path-", device.note("ID_PATH")), keyText(device.name)});
}

std::string otherId(const BlockDevice& device) {
  return firstGiven(
      {prefixed("md-", device.note("MD_UUID")), prefixed("", textIn(device.path + "/dm/uuid")),
       prefixed("partuuid-", device.note("ID_PART_ENTRY_UUID")), keyText(device.name)});
}

/// Absent for what is not one of these devices.
std::optional<BlockDevice> readDevice(const std::string& directory, const std::string& name,
                                      const UdevLookup& lookup) {
  BlockDevice device;
  device.name = name;
  device.path = resolved(directory + "/" + name);
  device.number = textIn(device.path + "/dev");
  const bool hidden = textIn(device.path + "/hidden") == "1";
  if (device.number.empty() || hidden) return std::nullopt;
  if (!textIn(device.path + "/partition").empty()) {
    const std::size_t end = device.path.rfind('/');
    device.parent = std::string(baseName(std::string_view(device.path).substr(0, end)));
  }
  device.disk = device.parent.empty() && !isMadeOfOthers(name);
  if (device.disk) device.hardware = resolved(device.path + "/device");
  device.noted = lookup(device.number);
  device.id = device.disk ? diskId(device) : otherId(device);
  return device;
}

}  // namespace

UdevProperties udevProperties(const std::string& number) {
  const std::size_t colon = number.find(':');
  const auto major = unsignedNumber(std::string_view(number).substr(0, colon));
  const auto minor =
      unsignedNumber(colon == std::string::npos ? "" : std::string_view(number).substr(colon + 1));
  if (!major || !minor) return {};
  const std::unique_ptr<udev, Unref> context(udev_new());
  if (context == nullptr) throw std::bad_alloc();
  errno = 0;
  const auto device = std::unique_ptr<udev_device, Unref>(udev_device_new_from_devnum(
      context.get(), 'b', makedev(static_cast<unsigned>(*major), static_cast<unsigned>(*minor))));
  UdevProperties properties;
  if (device == nullptr) {
    throwIfExhausted(errno);
    return properties;
  }
  udev_list_entry* entry = udev_device_get_properties_list_entry(device.get());
  for (; entry != nullptr; entry = udev_list_entry_get_next(entry)) {
    const char* name = udev_list_entry_get_name(entry);
    const char* value = udev_list_entry_get_value(entry);
    if (name != nullptr && value != nullptr) properties[name] = value;
  }
  return properties;
}

BlockDevices::BlockDevices(const HostPaths& paths, const UdevLookup& lookup) {
  const std::string directory = paths.sys + "/class/block";
  for (const std::string& name : entriesOf(directory)) {
    if (!isStorage(name)) continue;
    if (auto device = readDevice(directory, name, lookup)) all_.push_back(std::move(*device));
  }
}

const BlockDevice* BlockDevices::byName(const std::string& name) const {
  const auto found = std::find_if(all_.begin(), all_.end(),
                                  [&](const BlockDevice& device) { return device.name == name; });
  return found == all_.end() ? nullptr : &*found;
}

std::string BlockDevices::diskOf(const BlockDevice& device) const {
  const BlockDevice* disk = device.parent.empty() ? &device : byName(device.parent);
  return disk != nullptr && disk->disk ? disk->id : "";
}

}  // namespace LinuxHost
