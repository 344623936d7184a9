#include "broker/broker_state.h"

#include <algorithm>

namespace orv::broker {

BrokerState::BrokerState(Broker::Options brokerOptions)
    : options(std::move(brokerOptions)), providers(options) {}

std::shared_ptr<const ClassRepository> BrokerState::classes(const std::string& nameSpace) const {
  const auto place = options.namespaces.find(nameSpace);
  return place != options.namespaces.end() ? place->second : nullptr;
}

bool BrokerState::ClassNameLess::operator()(const ClassName& a, const ClassName& b) const {
  const NameLess less{};
  if (less(a.first, b.first)) return true;
  return !less(b.first, a.first) && less(a.second, b.second);
}

std::shared_ptr<const ClassLayout> BrokerState::layout(const std::string& nameSpace,
                                                       const std::string& className) {
  const std::lock_guard<std::mutex> lock(mutex_);
  // Known classes are kept, each once however it is spelled, so that requests cannot fill the
  // memory.
  const auto known = layouts_.find({nameSpace, className});
  if (known != layouts_.end()) return known->second;
  const auto repository = classes(nameSpace);
  const ClassDefinition* definition = repository ? repository->find(className) : nullptr;
  if (definition == nullptr) return nullptr;
  auto made = std::make_shared<const ClassLayout>(repository, *definition);
  layouts_.emplace(ClassName(nameSpace, className), made);
  return made;
}

}  // namespace orv::broker
