#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "daemon/options.h"

// Any text is a list of known keys, each once, or refused with a message that names the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
  try {
    for (const CLI::ConfigItem& item :
         orv::daemon::readConfiguration(in, "FILE", {"listen", "pam", "destination"})) {
      if (item.name.empty()) std::abort();
    }
  } catch (const CLI::Error& error) {
    if (std::string(error.what()).empty()) std::abort();
  }
  return 0;
}
