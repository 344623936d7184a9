#include <sys/utsname.h>

#include "platform/linux/hardware/kernel_texts.h"
#include "platform/linux/hardware/readers.h"
#include "platform/linux/release_texts.h"

namespace LinuxHost {
namespace {

std::string operatingSystem() {
  const auto values = readOsRelease();
  const auto name = values.find("PRETTY_NAME");
  return name == values.end() ? "" : cleanText(name->second);
}

std::string joined(std::initializer_list<std::string> texts) {
  std::string all;
  for (const std::string& text : texts) {
    if (!text.empty()) all += (all.empty() ? "" : " ") + text;
  }
  return all;
}

}  // namespace

Hardware::System readSystem(const HostPaths& paths) {
  const std::string dmi = paths.sys + "/class/dmi/id/";
  Hardware::System system;
  system.vendor = textIn(dmi + "sys_vendor");
  system.product = textIn(dmi + "product_name");
  system.version = textIn(dmi + "product_version");
  system.serialNumber = textIn(dmi + "product_serial");
  system.uuid = textIn(dmi + "product_uuid");
  system.firmware = joined(
      {textIn(dmi + "bios_vendor"), textIn(dmi + "bios_version"), textIn(dmi + "bios_date")});
  utsname names{};
  if (uname(&names) == 0) system.kernelRelease = cleanText(names.release);
  system.operatingSystem = operatingSystem();
  return system;
}

}  // namespace LinuxHost
