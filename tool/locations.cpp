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

/// The first place that exists. Empty when none does; `tried` then lists them.
std::string firstOf(const std::vector<std::string>& places, std::string& tried) {
  const fs::path base = executableDirectory();
  for (const std::string& place : places) {
    const fs::path path = (base / place).lexically_normal();
    std::error_code error;
    if (fs::exists(path, error)) return path.string();
    tried += (tried.empty() ? "" : ", ") + path.string();
  }
  return "";
}

/// The first place that exists. `option` can name another one; null when there is no such option.
std::string firstThatExists(const char* what, const char* option,
                            const std::vector<std::string>& places) {
  std::string tried;
  std::string found = firstOf(places, tried);
  if (!found.empty()) return found;
  const std::string advice = option == nullptr ? "" : std::string("; give it with ") + option;
  throw BadInput(std::string(what) + " is not there" + advice + " (looked for " + tried + ")");
}

std::vector<std::string> libraryPlaces(const std::string& file, bool simulated) {
  const std::string name = (simulated ? "simulated/" : "") + file;
  return {"../" ORV_INSTALL_PROVIDER_DIR "/" + name, "../lib/" + name};
}

}  // namespace

std::string defaultLibrary(bool simulated) {
  return firstThatExists(simulated ? "simulated provider library" : "provider library", "--library",
                         libraryPlaces("liborvprovider.so", simulated));
}

std::string defaultHostLibrary(bool simulated) {
  std::string tried;
  return firstOf(libraryPlaces("liborvhost.so", simulated), tried);
}

std::string defaultSchema() {
  return firstThatExists("schema directory", "--schema",
                         {"../" ORV_INSTALL_DATADIR "/orvprovider/schema"});
}

std::string defaultPage() {
  std::string tried;
  return firstOf({"../" ORV_INSTALL_DATADIR "/orvprovider/page"}, tried);
}

std::string defaultDaemon() {
  return firstThatExists("the daemon orvcimd", nullptr, {"../sbin/orvcimd", "orvcimd"});
}

}  // namespace orv::tool
