#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "software/release_date.h"
#include "software/version_identity.h"

using namespace OrvSoftware;

// Any text is a release date within the years that a date-time holds, or none; and three version
// numbers, or none.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::uint64_t kMicrosecondsPerSecond = 1'000'000;
  constexpr std::uint64_t kEndOfYear9999 = 253'402'300'800;
  constexpr std::uint64_t kDay = 86'400;  // more than any zone's distance from UTC
  const std::string text(reinterpret_cast<const char*>(data), size);
  if (const auto date = releaseDateMicroseconds(text)) {
    if (*date % kMicrosecondsPerSecond != 0) std::abort();
    if (*date / kMicrosecondsPerSecond > kEndOfYear9999 + kDay) std::abort();
  }
  versionNumbers(text.c_str());
  return 0;
}
