#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/linux/pci_location.h"
#include "platform/linux/release_texts.h"
#include "platform/linux/sysfs.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

// Any text is what sysfs, os-release or uname may hold.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (const unsigned number : LinuxHost::parseNumberList(text)) require(number <= 65535);
  require(LinuxHost::baseName(text).find('/') == std::string_view::npos);
  if (const auto location = LinuxHost::parsePciAddress(text)) {
    require(location->slot < 32 && location->function < 8);
  }
  for (const auto& [name, value] : LinuxHost::parseOsRelease(text)) {
    require(name.size() + value.size() < size);
  }
  require(LinuxHost::dottedVersion(text).find_first_not_of("0123456789.") == std::string::npos);
  require(LinuxHost::buildNumberOf(text) >= 0);
  require(LinuxHost::releaseDateOf(text).size() <= std::string_view("Sep 30 2024").size());
  const std::string_view cut = LinuxHost::cutToFit(text, 31);
  require(cut.size() <= 31 && text.substr(0, cut.size()) == cut);
  return 0;
}
