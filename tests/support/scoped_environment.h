#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace orv::test {

/// Sets an environment variable while it lives. Other threads must not read the environment when it
/// begins and ends.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const std::string& value) : name_(name) {
    if (const char* previous = std::getenv(name)) previous_ = previous;
    setenv(name, value.c_str(), 1);
  }
  ~ScopedEnvironment() {
    if (previous_) {
      setenv(name_, previous_->c_str(), 1);
    } else {
      unsetenv(name_);
    }
  }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  const char* name_;
  std::optional<std::string> previous_;
};

}  // namespace orv::test
