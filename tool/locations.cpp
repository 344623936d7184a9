#include "tool/locations.h"

#include <filesystem>
#include <system_error>
#include <vector>

#include "tool/errors.h"

namespace orv::tool {
namespace {

namespace fs = std::filesystem;

fs::path executableDirectory() {
  std::error_code error;
  const fs::path executable = fs::read_symlink("/proc/self/exe", error);
  return error ? fs::path(".") : executable.parent_path();
}

std::string firstThatExists(const char* what, const char* option,
                            const std::vector<std::string>& places) {
  const fs::path base = executableDirectory();
  std::string tried;
  for (const std::string& place : places) {
    const fs::path path = (base / place).lexically_normal();
    std::error_code error;
    if (fs::exists(path, error)) return path.string();
    tried += (tried.empty() ? "" : ", ") + path.string();
  }
  throw BadInput(std::string(what) + " is not there; give it with " + option + " (looked for " +
                 tried + ")");
}

}  // namespace

std::string defaultLibrary(bool simulated) {
  const std::string name = simulated ? "simulated/liborvprovider.so" : "liborvprovider.so";
  return firstThatExists(simulated ? "simulated provider library" : "provider library", "--library",
                         {"../" ORV_INSTALL_PROVIDER_DIR "/" + name, "../lib/" + name});
}

std::string defaultSchema() {
  return firstThatExists("schema directory", "--schema",
                         {"../" ORV_INSTALL_DATADIR "/orvprovider/schema"});
}

}  // namespace orv::tool
