#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "broker/testing/test_broker.h"
#include "tests/support/fake_boot_config.h"
#include "tests/support/linked_providers.h"
#include "tests/support/simulated_host_file.h"
#include "tests/support/syslog_capture.h"

extern "C" {
CMPIInstanceMI* HypervisorSoftwareIdentity_Create_InstanceMI(const CMPIBroker*, const CMPIContext*,
                                                             CMPIStatus*);
CMPIInstanceMI* OrvaneInstalledSoftwareIdentity_Create_InstanceMI(const CMPIBroker*,
                                                                  const CMPIContext*, CMPIStatus*);
CMPIAssociationMI* OrvaneInstalledSoftwareIdentity_Create_AssociationMI(const CMPIBroker*,
                                                                        const CMPIContext*,
                                                                        CMPIStatus*);
}

/// The two software providers on a simulated host and a boot configuration of the test's own.
class SoftwareTest : public testing::Test {
 protected:
  using Broker = orv::broker::TestBroker;
  using Instance = orv::broker::Instance;
  using ObjectPath = orv::broker::ObjectPath;
  using Operation = orv::broker::Operation;
  using Request = orv::broker::Request;
  using Response = orv::broker::TestResponse;
  using Value = orv::broker::Value;

  static constexpr const char* kNameSpace = "root/cimv2";
  static constexpr const char* kImageClass = "Orvane_HypervisorSoftwareIdentity";
  static constexpr const char* kInstalledClass = "Orvane_InstalledSoftwareIdentity";

  static constexpr const char* kBootConfig = "bootstate=0\nbuild=5.1.0-0.0.799733\n";
  static constexpr const char* kRunningId = "Orvane Ondi 5.1.0 build-1234";
  static constexpr const char* kAlternateId = "Alt Boot Bank: Orvane Ondi 5.1.0 build-799733";

  SoftwareTest() {
    orv::test::setBootConfig(std::nullopt);
    forgetAlternateImage();
    orv::test::clearSyslog();
  }

  /// The provider object lives as long as the program: a test begins as on a host that has just
  /// been started.
  void forgetAlternateImage() {
    setVersion("{}", /*hypervisor=*/false);
    broker_.enumerateInstanceNames(kNameSpace, kImageClass);
    setVersion(R"({"buildNumber": 1234})");
  }

  void setVersion(const std::string& version, bool hypervisor = true) const {
    host_.write(R"({"systemName": "host-7", "hypervisor": )" +
                std::string(hypervisor ? "true" : "false") + R"(, "version": )" + version + "}");
  }

  static ObjectPath imagePath(const std::string& id, const std::string& nameSpace = kNameSpace) {
    return orv::test::pathOf(kImageClass, {{"InstanceID", id}}, nameSpace);
  }

  /// A request to the provider itself, without the broker's routing.
  static Request requestFor(Operation operation, ObjectPath path) {
    Request request;
    request.operation = operation;
    request.path = std::move(path);
    return request;
  }

  static std::vector<std::string> idsOf(const Response& response) {
    std::vector<std::string> ids;
    for (const ObjectPath& path : response.paths) ids.push_back(path.key("InstanceID")->text());
    for (const Instance& instance : response.instances) {
      ids.push_back(instance.property("InstanceID")->text());
    }
    return ids;
  }

  SimulatedHostFile host_{"{}"};
  Broker broker_{orv::test::linkedProviders(
      {{"HypervisorSoftwareIdentity_Create_InstanceMI",
        orv::test::linkedFactory(&HypervisorSoftwareIdentity_Create_InstanceMI)},
       {"OrvaneInstalledSoftwareIdentity_Create_InstanceMI",
        orv::test::linkedFactory(&OrvaneInstalledSoftwareIdentity_Create_InstanceMI)},
       {"OrvaneInstalledSoftwareIdentity_Create_AssociationMI",
        orv::test::linkedFactory(&OrvaneInstalledSoftwareIdentity_Create_AssociationMI)}})};
};
