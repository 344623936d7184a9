#pragma once

#include <cstddef>

/// Replaces malloc, calloc and realloc of the program, so that an allocation of the watched library
/// (library_code.h) can fail: one that it asks for itself, or through the C and C++ runtime and the
/// other libraries that it uses. Those of the broker and of the test never fail.
namespace orv::test {

/// While it lives, the library's allocations are counted, and the one with this number (from 0)
/// fails.
class FailingAllocation {
 public:
  explicit FailingAllocation(std::size_t number);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  /// Whether that many allocations were made, so that one failed.
  bool happened() const;
};

}  // namespace orv::test
