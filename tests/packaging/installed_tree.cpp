#include "tests/packaging/installed_tree.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace orv::test {

namespace fs = std::filesystem;

ScratchDirectory::ScratchDirectory() {
  std::string pattern = (fs::temp_directory_path() / "orv-packaging-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) std::abort();
  path_ = pattern;
  fs::permissions(path_, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                             fs::perms::others_read | fs::perms::others_exec);
}

ScratchDirectory::~ScratchDirectory() { fs::remove_all(path_); }

std::string ScratchDirectory::write(const std::string& name, const std::string& text,
                                    bool executable) const {
  const fs::path file = fs::path(path_) / name;
  fs::create_directories(file.parent_path());
  std::ofstream(file) << text;
  if (executable) fs::permissions(file, fs::perms::owner_all);
  return file.string();
}

Outcome installTo(const std::string& prefix) {
  return run({ORV_CMAKE, "--install", ORV_BINARY_DIR, "--prefix", prefix});
}

std::vector<std::string> filesBelow(const std::string& directory) {
  std::vector<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    if (entry.is_regular_file()) files.push_back(fs::relative(entry.path(), directory).string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::string> installedFiles() {
  std::vector<std::string> files = {
      "bin/orvcim",
      "lib/cmpi/liborvhost.so",
      "lib/cmpi/liborvprovider.so",
      "lib/cmpi/simulated/liborvhost.so",
      "lib/cmpi/simulated/liborvprovider.so",
      "lib/systemd/system-preset/90-orvcim.preset",
      "lib/systemd/system/orvcimd.service",
      "lib/systemd/system/orvcimd.socket",
      "lib/sysusers.d/orvcim.conf",
      "sbin/orvcimd",
      "sbin/orvprovider-register",
      "share/bash-completion/completions/orvcim",
      "share/doc/orvprovider/LICENSE",
      "share/doc/orvprovider/README.md",
      "share/doc/orvprovider/changelog",
      "share/doc/orvprovider/classes.md",
      "share/doc/orvprovider/copyright",
      "share/doc/orvprovider/endpoint.md",
      "share/doc/orvprovider/examples/orvane.rules.test.yml",
      "share/doc/orvprovider/examples/orvane.rules.yml",
      "share/doc/orvprovider/examples/prometheus.yml",
      "share/doc/orvprovider/examples/serve.toml",
      "share/doc/orvprovider/fleet.md",
      "share/doc/orvprovider/hardware.md",
      "share/doc/orvprovider/metrics.md",
      "share/doc/orvprovider/page.md",
      "share/doc/orvprovider/page.png",
      "share/doc/orvprovider/real-broker.md",
      "share/doc/orvprovider/service.md",
      "share/doc/orvprovider/simulated-host.md",
      "share/man/man1/orvcim.1",
      "share/man/man7/liborvprovider.7",
      "share/man/man8/orvcimd.8",
      "share/man/man8/orvprovider-register.8",
      "share/orvprovider/page/icon.svg",
      "share/orvprovider/page/index.html",
      "share/orvprovider/page/page.css",
      "share/orvprovider/page/page.js",
      "share/orvprovider/schema/host/broker/orvhost.mof",
      "share/orvprovider/schema/host/broker/orvhost.reg",
      "share/orvprovider/schema/host/orvhost.mof",
      "share/orvprovider/schema/host/orvhost.reg",
      "share/orvprovider/schema/interop/interop.mof",
      "share/orvprovider/schema/orvprovider.mof",
      "share/orvprovider/schema/orvprovider.reg",
  };
  for (const std::string& file : filesBelow(ORV_SOURCE_DIR "/schema/base")) {
    const bool isMof = fs::path(file).extension() == ".mof";
    if (isMof) files.push_back("share/orvprovider/schema/base/" + file);
  }
  std::sort(files.begin(), files.end());
  return files;
}

Outcome runFromPath(const std::vector<std::string>& arguments) {
  std::vector<std::string> all = {"/usr/bin/env"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return run(all);
}

bool isOnPath(const std::string& program) {
  return run({"/bin/sh", "-c", "command -v " + program}).status == 0;
}

std::string fileText(const std::string& path) {
  std::ifstream in(path);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string manualText(const std::string& path) {
  std::string text = fileText(path);
  for (std::size_t at = 0; (at = text.find("\\-", at)) != std::string::npos;) text.erase(at, 1);
  return text;
}

}  // namespace orv::test
