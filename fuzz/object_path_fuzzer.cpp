#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "broker/object_path_text.h"

// Any bytes are an error or a path, and a path that was read is printed as a text that reads the
// same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const auto path = orv::broker::parseObjectPath({reinterpret_cast<const char*>(data), size});
    const std::string text = orv::broker::printObjectPath(path);
    if (orv::broker::printObjectPath(orv::broker::parseObjectPath(text)) != text) std::abort();
  } catch (const orv::broker::ObjectPathError&) {
  }
  return 0;
}
