#pragma once

#include <stdexcept>
#include <string>

namespace Nodemgr::Lib {

/// What the host's management library throws when it cannot answer: the port is gone, or the kernel
/// refuses. Any other exception from it is a defect or means that memory is exhausted.
class NodemgrException : public std::runtime_error {
 public:
  explicit NodemgrException(const std::string& what) : std::runtime_error(what) {}
};

}  // namespace Nodemgr::Lib
