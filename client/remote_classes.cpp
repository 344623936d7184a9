#include "client/remote_classes.h"

namespace orv::client {

const broker::ClassDefinition* RemoteClasses::find(std::string_view name) {
  const std::lock_guard<std::mutex> lock(mutex_);
  auto found = known_.find(name);
  if (found == known_.end()) {
    const std::string text(name);
    found = known_.emplace(text, ask_(text)).first;
  }
  return found->second ? &*found->second : nullptr;
}

}  // namespace orv::client
