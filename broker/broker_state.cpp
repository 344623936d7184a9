#include "broker/broker_state.h"

#include <algorithm>

namespace orv::broker {

BrokerState::BrokerState(Broker::Options brokerOptions)
    : options(std::move(brokerOptions)), providers(options) {}

std::shared_ptr<const ClassRepository> BrokerState::classes(const std::string& nameSpace) const {
  const auto place = options.namespaces.find(nameSpace);
  return place != options.namespaces.end() ? place->second : nullptr;
}

std::shared_ptr<const ClassLayout> BrokerState::layout(const std::string& nameSpace,
                                                       const std::string& className) {
  const std::lock_guard<std::mutex> lock(mutex_);
  // Only known classes are kept, so that requests for unknown ones cannot fill the memory.
  const auto known = layouts_.find({nameSpace, className});
  if (known != layouts_.end()) return known->second;
  const auto repository = classes(nameSpace);
  const ClassDefinition* definition = repository ? repository->find(className) : nullptr;
  if (definition == nullptr) return nullptr;
  auto made = std::make_shared<const ClassLayout>(repository, *definition);
  if (nameSpace.size() < 256) layouts_.emplace(std::make_pair(nameSpace, className), made);
  return made;
}

}  // namespace orv::broker
