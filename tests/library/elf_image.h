#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace orv::test {

/// What a shared library's dynamic section says.
struct ElfImage {
  std::set<std::string> exported;        ///< defined dynamic symbols
  std::set<std::string> imported;        ///< undefined dynamic symbols
  std::vector<std::string> neededFiles;  ///< DT_NEEDED, in order
  bool noDelete = false;                 ///< stays loaded after dlclose
  bool textRelocations = false;
};

/// Reads a 64-bit ELF file of this machine.
///
/// Fails: std::runtime_error for a file that is none.
ElfImage readElfImage(const std::string& path);

}  // namespace orv::test
