#pragma once

#include <algorithm>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "broker/broker.h"
#include "broker/mof_reader.h"

/// An embedded broker for providers that are linked into the test program. ORV_SOURCE_DIR names the
/// source tree.
namespace orv::test {

/// An exported factory function as the broker takes it.
template <typename Factory>
void* linkedFactory(Factory* factory) {
  return reinterpret_cast<void*>(factory);
}

/// Options of a broker on the project's schema, and on those sections of its registration whose
/// factories are linked.
inline broker::Broker::Options linkedProviders(const std::map<std::string, void*>& factories) {
  static const auto schema = std::make_shared<const broker::ClassRepository>(
      broker::loadSchema(std::string(ORV_SOURCE_DIR) + "/schema"));
  broker::Broker::Options options;
  options.namespaces["root/cimv2"] = schema;
  options.linkedFactories = factories;
  for (const auto& section :
       broker::readRegistrationFile(std::string(ORV_SOURCE_DIR) + "/schema/orvprovider.reg")) {
    const bool linked = std::any_of(factories.begin(), factories.end(), [&](const auto& factory) {
      return factory.first.rfind(section.provider + "_Create_", 0) == 0;
    });
    if (linked) options.registration.push_back(section);
  }
  return options;
}

/// A path with text keys.
inline broker::ObjectPath pathOf(
    const std::string& className,
    std::initializer_list<std::pair<const char*, std::string>> keys = {},
    const std::string& nameSpace = "root/cimv2") {
  broker::ObjectPath path;
  path.nameSpace = nameSpace;
  path.className = className;
  for (const auto& [name, text] : keys) {
    path.keys.push_back({name, broker::Value::ofString(text)});
  }
  return path;
}

}  // namespace orv::test
