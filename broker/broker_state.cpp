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
  const auto repository = classes(nameSpace);
  if (!repository) return nullptr;
  // Known classes are kept, each once however it is spelled, so that requests cannot fill the
  // memory.
  const std::lock_guard<std::mutex> lock(mutex_);
  Layouts& layouts = layouts_[nameSpace];
  const auto known = layouts.find(className);
  if (known != layouts.end()) return known->second;
  const ClassDefinition* definition = repository->find(className);
  if (definition == nullptr) return nullptr;
  auto made = std::make_shared<const ClassLayout>(repository, *definition);
  layouts.emplace(className, made);
  return made;
}

}  // namespace orv::broker
