#pragma once

#include <optional>
#include <string>
#include <vector>

namespace LinuxHost {

/// Where the kernel's trees are; a test hands in trees of its own.
struct HostPaths {
  std::string sys = "/sys";
  std::string dev = "/dev";
  std::string mountInfo = "/proc/self/mountinfo";
};

// A host without memory or descriptors left looks like one without hardware, so that is no answer:
// each of these fails with std::bad_alloc, or with std::system_error for want of a descriptor.

/// The file that a path leads to, all links resolved; empty when there is none.
std::string resolved(const std::string& path);

/// A file's text as people read it; empty when there is none.
std::string textIn(const std::string& path);

/// Unsigned number in a file.
template <typename Number>
std::optional<Number> numberIn(const std::string& path);

/// The names in a directory, sorted; none when there is none.
std::vector<std::string> entriesOf(const std::string& directory);

/// Throws what says that memory or descriptors ran out, when the error number does.
void throwIfExhausted(int error);

/// A file's bytes, at most 1 MiB of them. Fails: the error number in `error`.
std::optional<std::string> bytesIn(const std::string& path, int& error);

}  // namespace LinuxHost
