#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "broker/class_repository.h"

namespace orv::client {

/// The classes of a server's namespace, each asked for when it is first needed and kept. Any thread
/// may look.
class RemoteClasses {
 public:
  /// Asks the server; absent for a class that it does not have.
  using Ask = std::function<std::optional<broker::ClassDefinition>(const std::string& name)>;

  explicit RemoteClasses(Ask ask) : ask_(std::move(ask)) {}

  /// Null when the server has no class of that name. Fails: as `ask` does.
  const broker::ClassDefinition* find(std::string_view name);

 private:
  using Known = std::map<std::string, std::optional<broker::ClassDefinition>, broker::NameLess>;

  const Ask ask_;
  std::mutex mutex_;  // guards known_; held while the server is asked
  Known known_;
};

}  // namespace orv::client
