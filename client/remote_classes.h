#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "broker/class_repository.h"

namespace orv::client {

/// The classes of a server's namespace, each requested when it is first needed and then kept.
/// Thread-safe; definitions stay valid for as long as the object exists.
class RemoteClasses {
 public:
  /// Gets a class from the server; absent when the server does not have it.
  using Ask = std::function<std::optional<broker::ClassDefinition>(const std::string& name)>;

  explicit RemoteClasses(Ask ask) : ask_(std::move(ask)) {}

  /// Null when the server has no class of that name. Fails: as `ask` does.
  const broker::ClassDefinition* find(std::string_view name);

 private:
  using Known = std::map<std::string, std::optional<broker::ClassDefinition>, broker::NameLess>;

  const Ask ask_;
  std::mutex mutex_;  // guards known_; held during requests to the server
  Known known_;
};

}  // namespace orv::client
