#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace LinuxHost {

/// Where the kernel's directory trees are; a test uses trees of its own.
struct HostPaths {
  std::string sys = "/sys";
  std::string dev = "/dev";
  std::string mountInfo = "/proc/self/mountinfo";
};

// A host without free memory or descriptors would look like one without hardware. So all functions
// below fail then: std::bad_alloc, or std::system_error when no descriptor is left.

/// The path with all symbolic links resolved; empty when it leads to nothing.
std::string resolved(const std::string& path);

/// The text of a file, made readable by cleanText (kernel_texts.h); empty when there is none.
std::string textIn(const std::string& path);

/// The unsigned decimal number in a file; absent when there is none or it does not fit.
template <typename Number>
std::optional<Number> numberIn(const std::string& path);

/// The names in a directory, sorted; empty when there is no such directory.
std::vector<std::string> entriesOf(const std::string& directory);

/// Throws the exceptions above when the error number says that memory or descriptors have run out.
void throwIfExhausted(int error);

/// The first bytes of a file, at most `most`. When it cannot be read, absent, with the error number
/// in `error`.
std::optional<std::string> bytesIn(const std::string& path, int& error,
                                   std::size_t most = 1024 * 1024);

}  // namespace LinuxHost
