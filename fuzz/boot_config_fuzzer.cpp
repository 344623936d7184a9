#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#include "software/boot_config.h"
#include "software/version_identity.h"

using namespace OrvSoftware;

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

template <std::size_t Size>
bool isTerminated(const char (&field)[Size]) {
  return std::memchr(field, '\0', Size) != nullptr;
}

}  // namespace

// Any bytes are an alternate image: its texts end in their fields, and it never counts as the
// running one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
  const auto image = readAlternateImage(in);
  require(image.has_value());
  require(isTerminated(image->productName) && isTerminated(image->version));
  require(!isRunningImage(*image) && image->releaseDate[0] == '\0');
  require(identityString(*image).rfind(kAlternateIdentityPrefix, 0) == 0);
  return 0;
}
