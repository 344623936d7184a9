#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

/// A host file of one test: ORV_HOST_FILE names it while the object lives.
class SimulatedHostFile {
 public:
  explicit SimulatedHostFile(std::string_view text) {
    std::string pattern = (std::filesystem::temp_directory_path() / "orv-host-XXXXXX").string();
    ::close(::mkstemp(pattern.data()));
    path_ = pattern;
    write(text);
    ::setenv("ORV_HOST_FILE", path_.c_str(), 1);
  }
  ~SimulatedHostFile() {
    ::unsetenv("ORV_HOST_FILE");
    remove();
  }
  SimulatedHostFile(const SimulatedHostFile&) = delete;
  SimulatedHostFile& operator=(const SimulatedHostFile&) = delete;

  const std::string& path() const { return path_; }
  void write(std::string_view text) const {
    std::ofstream(path_, std::ios::binary | std::ios::trunc) << text;
  }
  void remove() const { std::filesystem::remove(path_); }

 private:
  std::string path_;
};
