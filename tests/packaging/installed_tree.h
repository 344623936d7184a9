#pragma once

#include <string>
#include <vector>

#include "tests/tool/program.h"

namespace orv::test {

/// A directory of a test's own, removed with the object.
class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  const std::string& path() const { return path_; }
  /// Writes a file, with the directories above it.
  std::string write(const std::string& name, const std::string& text,
                    bool executable = false) const;

 private:
  std::string path_;
};

/// The build tree, installed below this prefix.
Outcome installTo(const std::string& prefix);

/// Every regular file below a directory, relative to it, sorted.
std::vector<std::string> filesBelow(const std::string& directory);

/// What an installation has below its prefix, sorted.
std::vector<std::string> installedFiles();

/// Runs a program that is looked up on PATH. Status 127 when it is not there.
Outcome runFromPath(const std::vector<std::string>& arguments);
bool isOnPath(const std::string& program);

/// Text of a file; empty when it is not there.
std::string fileText(const std::string& path);
/// Text of a manual page, hyphens as readers see them.
std::string manualText(const std::string& path);

}  // namespace orv::test
