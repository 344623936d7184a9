#include "platform/linux/hardware/kernel_texts.h"
#include "platform/linux/hardware/readers.h"
#include "platform/linux/sysfs.h"

namespace LinuxHost {
namespace {

using Hardware::PciFunction;

std::optional<std::uint64_t> errorsIn(const std::string& path) {
  int error = 0;
  const auto text = bytesIn(path, error);
  return text ? aerTotal(*text) : std::nullopt;
}

/// The number of lanes in a file, where 255 means unknown.
std::optional<std::uint16_t> lanesIn(const std::string& path) {
  const auto lanes = numberIn<std::uint16_t>(path);
  return lanes == 255 ? std::nullopt : lanes;
}

PciFunction readFunction(const std::string& address, const std::string& path) {
  PciFunction function;
  function.id = keyText(address);
  function.vendorId = readHex16(path + "/vendor");
  function.deviceId = readHex16(path + "/device");
  function.driver = cleanText(baseName(resolved(path + "/driver")));
  function.name = function.driver.empty() ? function.id : function.id + " " + function.driver;
  function.correctableErrors = errorsIn(path + "/aer_dev_correctable");
  function.nonFatalErrors = errorsIn(path + "/aer_dev_nonfatal");
  function.fatalErrors = errorsIn(path + "/aer_dev_fatal");
  // A suspended function is not asked about its link, since that would wake it.
  if (textIn(path + "/power/runtime_status") == "suspended") return function;
  function.linkSpeed = textIn(path + "/current_link_speed");
  function.linkWidth = lanesIn(path + "/current_link_width");
  function.maxLinkWidth = lanesIn(path + "/max_link_width");
  return function;
}

}  // namespace

std::vector<PciFunction> readPciFunctions(const HostPaths& paths, unsigned baseClass,
                                          const Hardware::Query& query) {
  std::vector<PciFunction> functions;
  const std::string directory = paths.sys + "/bus/pci/devices";
  for (const std::string& address : entriesOf(directory)) {
    if (!query.onlyId.empty() && query.onlyId != keyText(address)) continue;
    const std::string path = directory + "/" + address;
    const auto code = hexNumber(textIn(path + "/class"));
    if (code && *code >> 16 == baseClass) functions.push_back(readFunction(address, path));
  }
  return functions;
}

}  // namespace LinuxHost
