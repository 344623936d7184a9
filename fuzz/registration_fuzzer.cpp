#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>

#include "broker/registration.h"

// Any bytes are sections that name class, provider and location, or an error that names the place.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
  try {
    for (const auto& section : orv::broker::readRegistration(in, "input")) {
      if (section.className.empty() || section.provider.empty() || section.location.empty()) {
        std::abort();
      }
    }
  } catch (const orv::broker::RegistrationError& e) {
    if (std::string_view(e.what()).rfind("input:", 0) != 0) std::abort();
  }
  return 0;
}
