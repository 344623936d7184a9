#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ethernet/ethernet_port_provider.h"
#include "ethernet/port_associations.h"
#include "tests/support/fake_network.h"
#include "tests/support/provider_scope.h"

namespace EthernetProvider {

/// Every class that the provider serves. That its table is the schema's is for
/// port_associations_test to say.
inline std::vector<std::string> allClasses() {
  std::vector<std::string> classes = {kPortClass};
  for (const PortAssociation& row : portAssociations()) classes.push_back(row.satelliteClass);
  for (const PortAssociation& row : portAssociations()) classes.push_back(row.className);
  return classes;
}

/// The provider object on a host that the test describes.
class EthernetTest : public testing::Test {
 protected:
  using Answer = orv::test::Answer;
  using Instance = orv::broker::Instance;
  using ObjectPath = orv::broker::ObjectPath;
  using Value = orv::broker::Value;

  Answer enumNames(const ObjectPath& path) {
    return scope_.run([&](const CmpiContext& context, CmpiResult& result) {
      return provider_->enumInstanceNames(context, result, scope_.path(path));
    });
  }
  Answer enumInstances(const ObjectPath& path, const char** properties = nullptr) {
    return scope_.run([&](const CmpiContext& context, CmpiResult& result) {
      return provider_->enumInstances(context, result, scope_.path(path), properties);
    });
  }
  Answer getInstance(const ObjectPath& path, const char** properties = nullptr) {
    return scope_.run([&](const CmpiContext& context, CmpiResult& result) {
      return provider_->getInstance(context, result, scope_.path(path), properties);
    });
  }
  Answer references(const ObjectPath& path, const char* assocClass = nullptr,
                    const char* resultClass = nullptr, const char* role = nullptr,
                    const char* resultRole = nullptr) {
    return scope_.run([&](const CmpiContext& context, CmpiResult& result) {
      return provider_->doReferences(context, result, scope_.path(path), assocClass, resultClass,
                                     role, resultRole);
    });
  }

  /// An instance of the class with nothing set, filled from a port of those facts.
  Instance filled(const std::string& className,
                  void (*fill)(CmpiInstance&, Nodemgr::Network::Pnic*),
                  const orv::test::PortFacts& facts) {
    CmpiInstance instance(scope_.path(orv::test::objectPath(className)));
    const auto port = orv::test::makePort(facts);
    fill(instance, port.get());
    return orv::broker::RequestScope::copy(instance.getEnc());
  }

  static ObjectPath portPathOf(const std::string& deviceName) {
    return orv::test::objectPath("Orvane_EthernetPort",
                                 {{"DeviceID", deviceName},
                                  {"SystemCreationClassName", "OMC_UnitaryComputerSystem"},
                                  {"SystemName", "host-7"},
                                  {"CreationClassName", "Orvane_EthernetPort"}});
  }
  static ObjectPath satellitePathOf(const std::string& className, const std::string& deviceName) {
    return orv::test::objectPath(className,
                                 {{"InstanceID", "Orvane:" + className + ":" + deviceName}});
  }

  orv::test::FakeNetwork network_;
  orv::test::ProviderScope scope_;
  std::unique_ptr<EthernetPortProvider> provider_ = scope_.make<EthernetPortProvider>();
};

}  // namespace EthernetProvider
