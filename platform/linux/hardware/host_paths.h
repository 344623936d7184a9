#pragma once

#include <optional>
#include <string>

namespace LinuxHost {

/// Where the kernel's trees are; a test hands in trees of its own.
struct HostPaths {
  std::string sys = "/sys";
  std::string dev = "/dev";
  std::string mountInfo = "/proc/self/mountinfo";
};

/// The file that a path leads to, all links resolved; empty when there is none.
std::string resolved(const std::string& path);

/// A file's text as people read it; empty when there is none.
std::string textIn(const std::string& path);

/// Unsigned number in a file.
template <typename Number>
std::optional<Number> numberIn(const std::string& path);

/// A file's bytes, at most 1 MiB of them. Fails: the error number in `error`.
std::optional<std::string> bytesIn(const std::string& path, int& error);

}  // namespace LinuxHost
