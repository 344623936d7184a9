#pragma once

#include <cstddef>
#include <string>

/// Replaces the calls by which a library reaches the kernel, files and other threads, so that one
/// of the watched library (library_code.h) can fail: one that it makes itself, or through the
/// libraries that it uses. Those of the broker and of the test never fail.
namespace orv::test {

/// While it lives, the library's calls are counted, and the one with this number (from 0) fails as
/// the system lets it fail: no descriptor left, an input error, no thread.
class FailingSystemCall {
 public:
  /// Only calls of that name count; null: all.
  explicit FailingSystemCall(std::size_t number, const char* name = nullptr);
  ~FailingSystemCall();
  FailingSystemCall(const FailingSystemCall&) = delete;
  FailingSystemCall& operator=(const FailingSystemCall&) = delete;

  /// The call that failed; empty when there were not as many.
  std::string failed() const;
};

}  // namespace orv::test
