#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace LinuxHost {

/// A made-up sysfs in a temporary directory, removed with the object.
class SysTree {
 public:
  SysTree() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orv-sys-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary directory");
    root_ = pattern;
  }
  SysTree(const SysTree&) = delete;
  SysTree& operator=(const SysTree&) = delete;
  ~SysTree() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }

  const std::string& root() const { return root_; }

  SysTree& directory(const std::string& path) {
    std::filesystem::create_directories(at(path));
    return *this;
  }
  SysTree& file(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(at(path).parent_path());
    std::ofstream(at(path), std::ios::binary) << text;
    return *this;
  }
  SysTree& link(const std::string& path, const std::string& target) {
    std::filesystem::create_directories(at(path).parent_path());
    std::filesystem::create_directory_symlink(at(target), at(path));
    return *this;
  }
  void remove(const std::string& path) { std::filesystem::remove_all(at(path)); }

 private:
  std::filesystem::path at(const std::string& path) const {
    return std::filesystem::path(root_) / path;
  }

  std::string root_;
};

}  // namespace LinuxHost
