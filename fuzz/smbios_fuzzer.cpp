#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/linux/hardware/smbios.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

// Any bytes are a table: each of its memory devices takes four bytes of it at least, and texts are
// short and print.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto devices = LinuxHost::parseMemoryDevices({reinterpret_cast<const char*>(data), size});
  require(devices.size() <= size / 4);
  for (const auto& device : devices) {
    for (const auto* text : {&device.locator, &device.bank, &device.manufacturer,
                             &device.serialNumber, &device.partNumber}) {
      require(text->size() <= 256);
      for (const char c : *text) require(c >= ' ' && c <= '~');
    }
  }
  return 0;
}
