#pragma once

#include <stdexcept>
#include <string>

namespace Nodemgr::Lib {

/// What the host's management library throws when it cannot answer: a port that is gone, a kernel
/// that refuses. Any other exception type out of it is a defect or exhausted memory.
class NodemgrException : public std::runtime_error {
 public:
  explicit NodemgrException(const std::string& what) : std::runtime_error(what) {}
};

}  // namespace Nodemgr::Lib
