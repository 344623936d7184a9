#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/linux/hardware/kernel_texts.h"

// Any text of the kernel is a value or none; what becomes a key can stand in one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace LinuxHost;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::string key = keyText(text);
  if (key.size() > 200 || key.find_first_of("\"\\ ,=") != std::string::npos) std::abort();
  if (keyText(key) != key || cleanText(cleanText(text)) != cleanText(text)) std::abort();
  unsignedNumber(text);
  hexNumber(text);
  aerTotal(text);
  linkSpeed(text);
  if (parseMountInfo(text).size() > size) std::abort();
  return 0;
}
