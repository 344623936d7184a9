#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cmpi/abi/cmpi_tables.h"
#include "cmpi/cmpi_provider_base.h"
#include "tests/kernelip/fake_kernel.h"
#include "tests/support/fake_computer_system.h"
#include "tests/support/recording_broker.h"

extern "C" CMPIInstanceMI* KernelIPProtocolEndpointProvider_Create_InstanceMI(const CMPIBroker*,
                                                                              const CMPIContext*,
                                                                              CMPIStatus*);

namespace {

using orv::broker::Instance;
using orv::broker::ObjectPath;
using orv::broker::RecordingResult;
using orv::broker::Value;
using orv::test::fakeKernel;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kIpv4Class[] = "Orvane_KernelIPv4ProtocolEndpoint";
constexpr char kIpv6Class[] = "Orvane_KernelIPv6ProtocolEndpoint";

ObjectPath classPath(const std::string& className) {
  ObjectPath path;
  path.nameSpace = "root/cimv2";
  path.className = className;
  return path;
}

ObjectPath named(const std::string& className, const std::string& name) {
  ObjectPath path = classPath(className);
  path.keys.push_back({"Name", Value::ofString(name)});
  return path;
}

/// "class name address" of an endpoint.
std::string textOf(const Instance& instance) {
  std::string text = instance.path.className + " " + instance.property("Name")->text();
  for (const char* address : {"IPv4Address", "IPv6Address"}) {
    const Value* value = instance.property(address);
    if (value != nullptr && !value->null) text += " " + value->text();
  }
  return text;
}

class EndpointProviderTest : public testing::Test {
 protected:
  struct Answer {
    CMPIStatus status{};
    std::vector<Instance> instances;
    std::vector<ObjectPath> paths;
    int doneCount = 0;

    std::vector<std::string> texts() const {
      std::vector<std::string> all;
      for (const Instance& instance : instances) all.push_back(textOf(instance));
      return all;
    }
  };

  EndpointProviderTest()
      : mi_(KernelIPProtocolEndpointProvider_Create_InstanceMI(
            broker_.broker()->getEnc(), broker_.context().getEnc(), nullptr)) {
    fakeKernel() = {};
    fakeKernel().interfaces.resize(2);
    fakeKernel().interfaces[0].name = "hk0";
    fakeKernel().interfaces[0].ipv4 = "192.0.2.1";
    fakeKernel().interfaces[0].ipv6 = {{"a", "2001:db8::a", 64}, {"b", "fe80::1", 10}};
    fakeKernel().interfaces[1].name = "hk1";
    fakeKernel().interfaces[1].ipv6 = {{"a", "2001:db8::c", 48}};
  }
  ~EndpointProviderTest() override { EXPECT_EQ(0, fakeKernel().liveLists); }

  Answer enumerate(const std::string& className, const char** properties = nullptr) {
    RecordingResult result(broker_.scope());
    const CMPIStatus status =
        mi_->ft->enumerateInstances(mi_, broker_.context().getEnc(), result.record(),
                                    broker_.scope().make(classPath(className)), properties);
    return {status, result.instances(), result.paths(), result.doneCount()};
  }

  Answer enumerateNames(const std::string& className) {
    RecordingResult result(broker_.scope());
    const CMPIStatus status =
        mi_->ft->enumerateInstanceNames(mi_, broker_.context().getEnc(), result.record(),
                                        broker_.scope().make(classPath(className)));
    return {status, result.instances(), result.paths(), result.doneCount()};
  }

  Answer get(const ObjectPath& path, const char** properties = nullptr) {
    RecordingResult result(broker_.scope());
    const CMPIStatus status = mi_->ft->getInstance(mi_, broker_.context().getEnc(), result.record(),
                                                   broker_.scope().make(path), properties);
    return {status, result.instances(), result.paths(), result.doneCount()};
  }

  static void expectNothing(const Answer& answer, int doneCount) {
    EXPECT_EQ(CMPI_RC_OK, answer.status.rc);
    EXPECT_THAT(answer.instances, IsEmpty());
    EXPECT_THAT(answer.paths, IsEmpty());
    EXPECT_EQ(doneCount, answer.doneCount);
  }

  orv::test::RecordingBroker broker_;
  CMPIInstanceMI* mi_;
};

TEST_F(EndpointProviderTest, EachSubclassHasTheAddressesOfItsFamily) {
  Answer answer = enumerate(kIpv4Class);
  EXPECT_EQ(CMPI_RC_OK, answer.status.rc);
  EXPECT_THAT(answer.texts(), ElementsAre(std::string(kIpv4Class) + " hk0 192.0.2.1"));
  EXPECT_EQ(1, answer.doneCount);

  answer = enumerate(kIpv6Class);
  EXPECT_EQ(CMPI_RC_OK, answer.status.rc);
  EXPECT_THAT(answer.texts(), ElementsAre(std::string(kIpv6Class) + " hk0 2001:db8::a",
                                          std::string(kIpv6Class) + " hk0 fe80::1",
                                          std::string(kIpv6Class) + " hk1 2001:db8::c"));
  EXPECT_EQ(1, answer.doneCount);
}

TEST_F(EndpointProviderTest, TheParentsHaveBothInterleavedUnderTheSubclassNames) {
  for (const char* parent : {"Orvane_KernelIPProtocolEndpoint", "CIM_IPProtocolEndpoint"}) {
    const Answer answer = enumerate(parent);
    EXPECT_EQ(CMPI_RC_OK, answer.status.rc);
    EXPECT_THAT(answer.texts(), ElementsAre(std::string(kIpv4Class) + " hk0 192.0.2.1",
                                            std::string(kIpv6Class) + " hk0 2001:db8::a",
                                            std::string(kIpv6Class) + " hk0 fe80::1",
                                            std::string(kIpv6Class) + " hk1 2001:db8::c"));
    EXPECT_EQ(1, answer.doneCount);
  }
}

TEST_F(EndpointProviderTest, ClassNamesCountWithoutTheirCase) {
  const Answer answer = enumerate("ORVANE_kernelipV4protocolendpoint");
  EXPECT_THAT(answer.texts(), ElementsAre(std::string(kIpv4Class) + " hk0 192.0.2.1"));
  EXPECT_EQ(4U, enumerate("cim_ipprotocolendpoint").instances.size());
}

TEST_F(EndpointProviderTest, OtherClassesAreNothing) {
  expectNothing(enumerate("CIM_ProtocolEndpoint"), 0);
  expectNothing(enumerateNames("CIM_ProtocolEndpoint"), 0);
}

TEST_F(EndpointProviderTest, AFamilyWithoutAddressesStillSignalsTheEnd) {
  fakeKernel().interfaces[0].ipv4.reset();
  expectNothing(enumerate(kIpv4Class), 1);
}

TEST_F(EndpointProviderTest, AHostWithoutAddressesDoesNotSignalTheEnd) {
  fakeKernel().interfaces.clear();
  expectNothing(enumerate(kIpv4Class), 0);
  expectNothing(enumerateNames(kIpv4Class), 0);
  expectNothing(get(named(kIpv4Class, "hk0")), 0);
}

TEST_F(EndpointProviderTest, AHostThatCannotBeReadLooksLikeOneWithoutAddresses) {
  fakeKernel().interfaces[0].netmask.reset();
  expectNothing(enumerate(kIpv6Class), 0);
  expectNothing(enumerateNames("CIM_IPProtocolEndpoint"), 0);
  expectNothing(get(named(kIpv6Class, "hk0")), 0);
  expectNothing(get(named(kIpv6Class, "unknown")), 0);
}

TEST_F(EndpointProviderTest, NamesAreThePathsOfTheInstances) {
  for (const char* className : {kIpv4Class, kIpv6Class, "CIM_IPProtocolEndpoint"}) {
    const Answer instances = enumerate(className);
    const Answer names = enumerateNames(className);
    EXPECT_EQ(CMPI_RC_OK, names.status.rc);
    EXPECT_EQ(1, names.doneCount);
    EXPECT_THAT(names.instances, IsEmpty());
    ASSERT_EQ(instances.instances.size(), names.paths.size());
    for (std::size_t index = 0; index < names.paths.size(); ++index) {
      EXPECT_EQ(instances.instances[index].path, names.paths[index]);
    }
  }
}

TEST_F(EndpointProviderTest, PathHasTheFourKeys) {
  const Answer names = enumerateNames(kIpv4Class);
  ASSERT_EQ(1U, names.paths.size());
  const ObjectPath& path = names.paths[0];
  EXPECT_EQ(4U, path.keys.size());
  EXPECT_EQ("OMC_UnitaryComputerSystem", path.key("SystemCreationClassName")->text());
  EXPECT_EQ("host-7", path.key("SystemName")->text());
  EXPECT_EQ(kIpv4Class, path.key("CreationClassName")->text());
  EXPECT_EQ("hk0", path.key("Name")->text());
  EXPECT_EQ("root/cimv2", path.nameSpace);
}

/// The keys that newInstance is given while it lives.
class InstancePaths {
 public:
  InstancePaths() : real_(*CmpiProviderBase::getBroker()), factories_(*real_.eft) {
    newInstance = real_.eft->newInstance;
    keyNames.clear();
    factories_.newInstance = record;
    CMPIBroker recording = real_;
    recording.eft = &factories_;
    CmpiProviderBase::setBroker(&recording);
  }
  ~InstancePaths() { CmpiProviderBase::setBroker(&real_); }
  InstancePaths(const InstancePaths&) = delete;
  InstancePaths& operator=(const InstancePaths&) = delete;

  static inline std::vector<std::string> keyNames;  ///< of all of them, in order

 private:
  static inline decltype(CMPIBrokerEncFT::newInstance) newInstance;

  static CMPIInstance* record(const CMPIBroker* broker, const CMPIObjectPath* path,
                              CMPIStatus* status) {
    for (CMPICount i = 0; i < path->ft->getKeyCount(path, nullptr); ++i) {
      CmpiString name;
      CmpiObjectPath(path).getKey(i, &name);
      keyNames.emplace_back(name.charPtr());
    }
    return newInstance(broker, path, status);
  }

  CMPIBroker real_;
  CMPIBrokerEncFT factories_;
};

TEST_F(EndpointProviderTest, InstancesAreMadeOnNamespaceAndClassAlone) {
  const InstancePaths paths;
  EXPECT_EQ(1U, enumerate(kIpv4Class).instances.size());
  EXPECT_EQ(1U, get(named(kIpv4Class, "hk0")).instances.size());
  EXPECT_THAT(InstancePaths::keyNames, IsEmpty());
}

TEST_F(EndpointProviderTest, TheSystemsNameIsAskedForOnceInARequest) {
  orv::test::systemNamesAsked = 0;
  EXPECT_EQ(4U, enumerate("CIM_IPProtocolEndpoint").instances.size());
  EXPECT_EQ(1, orv::test::systemNamesAsked);
  get(named(kIpv4Class, "hk0"));
  EXPECT_EQ(2, orv::test::systemNamesAsked);
}

TEST_F(EndpointProviderTest, AnIpv4InstanceHasItsPropertiesInOrder) {
  const Answer answer = enumerate(kIpv4Class);
  ASSERT_EQ(1U, answer.instances.size());
  const Instance& instance = answer.instances[0];
  EXPECT_THAT(
      instance.setOrder,
      ElementsAre("SystemCreationClassName", "SystemName", "CreationClassName", "Name",
                  "ElementName", "NameFormat", "ProtocolIFType", "IPv4Address", "SubnetMask"));
  EXPECT_EQ("OMC_UnitaryComputerSystem", instance.property("SystemCreationClassName")->text());
  EXPECT_EQ("host-7", instance.property("SystemName")->text());
  EXPECT_EQ(kIpv4Class, instance.property("CreationClassName")->text());
  EXPECT_EQ("hk0", instance.property("Name")->text());
  EXPECT_EQ("hk0", instance.property("ElementName")->text());
  EXPECT_EQ("Hykernel Interface Name", instance.property("NameFormat")->text());
  EXPECT_EQ(CMPI_uint16, instance.property("ProtocolIFType")->type);
  EXPECT_EQ(4096U, instance.property("ProtocolIFType")->number());
  EXPECT_EQ("192.0.2.1", instance.property("IPv4Address")->text());
  EXPECT_EQ("255.255.255.0", instance.property("SubnetMask")->text());
}

TEST_F(EndpointProviderTest, AnIpv6InstanceHasItsPropertiesInOrder) {
  fakeKernel().interfaces[1].ipv6 = {{"a", "2001:db8::c", 300}};
  const Answer answer = enumerate(kIpv6Class);
  ASSERT_EQ(3U, answer.instances.size());
  const Instance& instance = answer.instances[2];
  EXPECT_THAT(
      instance.setOrder,
      ElementsAre("SystemCreationClassName", "SystemName", "CreationClassName", "Name",
                  "ElementName", "NameFormat", "ProtocolIFType", "IPv6Address", "PrefixLength"));
  EXPECT_EQ(kIpv6Class, instance.property("CreationClassName")->text());
  EXPECT_EQ(CMPI_uint16, instance.property("ProtocolIFType")->type);
  EXPECT_EQ(4097U, instance.property("ProtocolIFType")->number());
  EXPECT_EQ("2001:db8::c", instance.property("IPv6Address")->text());
  EXPECT_EQ(CMPI_uint8, instance.property("PrefixLength")->type);
  EXPECT_EQ(44U, instance.property("PrefixLength")->number());  // 300, cut to eight bits
}

TEST_F(EndpointProviderTest, AnUnconfiguredIpv4AddressIsEnabledButOffline) {
  fakeKernel().interfaces[0].ipv4 = "0.0.0.0";
  const Answer answer = enumerate(kIpv4Class);
  ASSERT_EQ(1U, answer.instances.size());
  const Instance& instance = answer.instances[0];
  EXPECT_EQ("0.0.0.0", instance.property("IPv4Address")->text());
  ASSERT_FALSE(instance.setOrder.empty());
  EXPECT_EQ("EnabledState", instance.setOrder.back());
  EXPECT_EQ(CMPI_uint16, instance.property("EnabledState")->type);
  EXPECT_EQ(6U, instance.property("EnabledState")->number());
}

TEST_F(EndpointProviderTest, LongInterfaceNamesAreCutAndStillFound) {
  fakeKernel().interfaces[0].name = std::string(200, 'n');
  const Answer answer = enumerate(kIpv4Class);
  ASSERT_EQ(1U, answer.instances.size());
  EXPECT_EQ(std::string(150, 'n'), answer.instances[0].property("Name")->text());
  EXPECT_EQ(std::string(150, 'n'), answer.instances[0].property("ElementName")->text());
  EXPECT_EQ(1U, get(named(kIpv4Class, std::string(150, 'n'))).instances.size());
  EXPECT_EQ(1U, get(named(kIpv4Class, std::string(150, 'n') + "other")).instances.size());
  EXPECT_EQ(CMPI_RC_ERR_NOT_FOUND, get(named(kIpv4Class, std::string(149, 'n'))).status.rc);
}

TEST_F(EndpointProviderTest, AnEnumerationKeepsTheListedPropertiesAndTheKeys) {
  const char* properties[] = {"SubnetMask", nullptr};
  const Answer answer = enumerate(kIpv4Class, properties);
  ASSERT_EQ(1U, answer.instances.size());
  const Instance& instance = answer.instances[0];
  EXPECT_EQ("255.255.255.0", instance.property("SubnetMask")->text());
  EXPECT_EQ(nullptr, instance.property("IPv4Address"));
  EXPECT_EQ(nullptr, instance.property("ProtocolIFType"));
  EXPECT_EQ("hk0", instance.path.key("Name")->text());
}

TEST_F(EndpointProviderTest, GetsAnIpv4Endpoint) {
  const Answer answer = get(named(kIpv4Class, "hk0"));
  EXPECT_EQ(CMPI_RC_OK, answer.status.rc);
  EXPECT_EQ(1, answer.doneCount);
  EXPECT_THAT(answer.texts(), ElementsAre(std::string(kIpv4Class) + " hk0 192.0.2.1"));
}

TEST_F(EndpointProviderTest, GetsTheIpv4AddressUnderTheIpv6ClassWhenThereIsOne) {
  const Answer answer = get(named(kIpv6Class, "hk0"));
  EXPECT_EQ(CMPI_RC_OK, answer.status.rc);
  EXPECT_EQ(1, answer.doneCount);
  ASSERT_EQ(1U, answer.instances.size());
  const Instance& instance = answer.instances[0];
  EXPECT_EQ(kIpv6Class, instance.path.className);
  EXPECT_EQ(kIpv6Class, instance.property("CreationClassName")->text());
  EXPECT_EQ(4096U, instance.property("ProtocolIFType")->number());
  EXPECT_EQ("192.0.2.1", instance.property("IPv4Address")->text());
  EXPECT_THAT(instance.setOrder, testing::Not(testing::Contains("IPv6Address")));
}

TEST_F(EndpointProviderTest, GetsTheFirstIpv6AddressOfAnInterfaceWithoutIpv4UnderEitherClass) {
  EXPECT_THAT(get(named(kIpv6Class, "hk1")).texts(),
              ElementsAre(std::string(kIpv6Class) + " hk1 2001:db8::c"));
  EXPECT_THAT(get(named(kIpv4Class, "hk1")).texts(),
              ElementsAre(std::string(kIpv4Class) + " hk1 2001:db8::c"));
}

TEST_F(EndpointProviderTest, GetsUnderTheClassNameOfTheRequest) {
  const Answer answer = get(named("orvane_KERNELipv4protocolendpoint", "hk0"));
  ASSERT_EQ(1U, answer.instances.size());
  EXPECT_EQ("orvane_KERNELipv4protocolendpoint",
            answer.instances[0].property("CreationClassName")->text());
}

TEST_F(EndpointProviderTest, GetsTheListedPropertiesOnly) {
  const char* properties[] = {"NameFormat", nullptr};
  const Answer answer = get(named(kIpv4Class, "hk0"), properties);
  ASSERT_EQ(1U, answer.instances.size());
  EXPECT_EQ("Hykernel Interface Name", answer.instances[0].property("NameFormat")->text());
  EXPECT_EQ(nullptr, answer.instances[0].property("IPv4Address"));
}

TEST_F(EndpointProviderTest, AnUnknownNameIsNotFound) {
  for (const ObjectPath& path : {named(kIpv4Class, "hk9"), named(kIpv6Class, "HK0"),
                                 named(kIpv4Class, ""), classPath(kIpv4Class)}) {
    const Answer answer = get(path);
    EXPECT_EQ(CMPI_RC_ERR_NOT_FOUND, answer.status.rc);
    EXPECT_THAT(answer.instances, IsEmpty());
    EXPECT_EQ(0, answer.doneCount);
  }
}

TEST_F(EndpointProviderTest, AParentClassIsNotFetchedAndNoError) {
  expectNothing(get(named("Orvane_KernelIPProtocolEndpoint", "hk0")), 0);
  expectNothing(get(named("CIM_IPProtocolEndpoint", "hk0")), 0);
  expectNothing(get(named("CIM_IPProtocolEndpoint", "hk9")), 0);
}

TEST_F(EndpointProviderTest, ModifyingOperationsAreNotSupported) {
  RecordingResult result(broker_.scope());
  const CMPIContext* context = broker_.context().getEnc();
  const CMPIObjectPath* path = broker_.scope().make(named(kIpv4Class, "hk0"));
  EXPECT_EQ(CMPI_RC_ERR_NOT_SUPPORTED,
            mi_->ft->createInstance(mi_, context, result.record(), path, nullptr).rc);
  EXPECT_EQ(CMPI_RC_ERR_NOT_SUPPORTED,
            mi_->ft->modifyInstance(mi_, context, result.record(), path, nullptr, nullptr).rc);
  EXPECT_EQ(CMPI_RC_ERR_NOT_SUPPORTED,
            mi_->ft->deleteInstance(mi_, context, result.record(), path).rc);
  EXPECT_EQ(CMPI_RC_ERR_NOT_SUPPORTED,
            mi_->ft->execQuery(mi_, context, result.record(), path, "q", "WQL").rc);
}

TEST_F(EndpointProviderTest, IsNamedAfterItsFactory) {
  EXPECT_STREQ("instanceKernelIPProtocolEndpointProvider", mi_->ft->miName);
  EXPECT_EQ(200, mi_->ft->ftVersion);
  EXPECT_EQ(200, mi_->ft->miVersion);
}

}  // namespace
