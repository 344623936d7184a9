#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "broker/testing/test_broker.h"
#include "tests/support/linked_providers.h"
#include "tests/support/simulated_host_file.h"

extern "C" CMPIInstanceMI* OrvaneProcessorProvider_Create_InstanceMI(const CMPIBroker*,
                                                                     const CMPIContext*,
                                                                     CMPIStatus*);

namespace {

using orv::broker::Instance;
using orv::broker::ObjectPath;
using orv::broker::Operation;
using orv::broker::Request;
using Response = orv::broker::TestResponse;
using orv::broker::Value;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kNameSpace = "root/cimv2";
constexpr const char* kClass = "Orvane_Processor";

// Feature words of an Intel processor with everything: virtualization; no-execute and 64-bit.
constexpr const char* kAllFeatures = R"("featureEcx": "0x20", "extendedEdx": "0x20100000")";

class ProcessorProvider : public testing::Test {
 protected:
  ProcessorProvider() { setPackages(2); }

  /// Members of "processors", and further members of the host.
  void setHost(const std::string& processors, const std::string& more = "") const {
    host_.write(R"({"systemName": "host-7", "processors": {)" + processors + "}" + more + "}");
  }
  void setPackages(int count, const std::string& more = "") const {
    std::string packages;
    for (int i = 0; i < count; ++i) {
      packages += std::string(i == 0 ? "" : ", ") + R"({"cores": [{}, {}]})";
    }
    setHost(R"("packages": [)" + packages + "]", more);
  }
  /// A host of one package with one core.
  void setCore(const std::string& core, const std::string& more = "") const {
    setHost(R"("packages": [{"cores": [{)" + core + "}]}]" + more);
  }

  static ObjectPath keyedPath(const std::string& deviceId) {
    return orv::test::pathOf(kClass, {{"SystemCreationClassName", "OMC_UnitaryComputerSystem"},
                                      {"SystemName", "host-7"},
                                      {"CreationClassName", kClass},
                                      {"DeviceID", deviceId}});
  }

  Response ask(Operation operation, ObjectPath path) {
    Request request;
    request.operation = operation;
    request.path = std::move(path);
    request.query = "SELECT * FROM Orvane_Processor";
    request.instance = Instance{request.path, {}, {}};
    return broker_.requestTo("OrvaneProcessorProvider", request);
  }
  Response names() { return broker_.enumerateInstanceNames(kNameSpace, kClass); }
  Response instances() { return broker_.enumerateInstances(kNameSpace, kClass); }
  Instance only() { return instances().instances.at(0); }

  static std::vector<std::string> devicesOf(const Response& response) {
    std::vector<std::string> devices;
    for (const ObjectPath& path : response.paths) devices.push_back(path.key("DeviceID")->text());
    for (const Instance& instance : response.instances) {
      devices.push_back(instance.property("DeviceID")->text());
    }
    return devices;
  }
  /// The five places of an array; -1 for a null one.
  static std::vector<int> placesOf(const Instance& instance, const char* property) {
    std::vector<int> places;
    for (const Value& element : instance.property(property)->array()) {
      places.push_back(element.null ? -1 : static_cast<int>(element.number()));
    }
    return places;
  }

  static void expectNothing(const Response& response) {
    EXPECT_TRUE(response.ok());
    EXPECT_THAT(response.paths, IsEmpty());
    EXPECT_THAT(response.instances, IsEmpty());
    EXPECT_EQ(response.doneCount, 0);
  }

  SimulatedHostFile host_{"{}"};
  orv::broker::TestBroker broker_{orv::test::linkedProviders(
      {{"OrvaneProcessorProvider_Create_InstanceMI",
        orv::test::linkedFactory(&OrvaneProcessorProvider_Create_InstanceMI)}})};
};

// ---- Enumeration ----

TEST_F(ProcessorProvider, NamesArePackagesInTheKernelsOrder) {
  setPackages(3);
  const Response response = names();
  EXPECT_TRUE(response.ok());
  EXPECT_THAT(response.paths,
              ElementsAre(keyedPath("cpu-0"), keyedPath("cpu-1"), keyedPath("cpu-2")));
  EXPECT_EQ(response.doneCount, 1);
  EXPECT_THAT(response.reports, IsEmpty());
}

TEST_F(ProcessorProvider, InstancesArePackagesInTheKernelsOrder) {
  setHost(R"("packages": [{"cores": [{}, {}, {}]}, {"cores": [{}]}])");
  const Response response = instances();
  EXPECT_TRUE(response.ok());
  EXPECT_THAT(devicesOf(response), ElementsAre("cpu-0", "cpu-1"));
  EXPECT_EQ(response.doneCount, 1);
  EXPECT_THAT(response.reports, IsEmpty());
  EXPECT_EQ(response.instances[0].property("NumberOfEnabledCores")->number(), 3U);
  EXPECT_EQ(response.instances[1].property("NumberOfEnabledCores")->number(), 1U);
}

TEST_F(ProcessorProvider, ClassNameIsComparedWithoutRegardToCase) {
  EXPECT_EQ(
      ask(Operation::kEnumerateInstances, orv::test::pathOf("orvane_PROCESSOR")).instances.size(),
      2U);
}

TEST_F(ProcessorProvider, OtherClassIsNothing) {
  expectNothing(ask(Operation::kEnumerateInstances, orv::test::pathOf("CIM_Processor")));
  expectNothing(ask(Operation::kEnumerateInstanceNames, orv::test::pathOf("CIM_Processor")));
  expectNothing(
      ask(Operation::kGetInstance, orv::test::pathOf("CIM_Processor", {{"DeviceID", "cpu-0"}})));
}

TEST_F(ProcessorProvider, HostWithoutPackagesIsNothing) {
  setPackages(0);
  expectNothing(names());
  expectNothing(instances());
}

TEST_F(ProcessorProvider, EveryRequestAsksAfresh) {
  EXPECT_EQ(names().paths.size(), 2U);
  setPackages(3);
  EXPECT_EQ(names().paths.size(), 3U);
}

TEST_F(ProcessorProvider, OtherOperationsAreNotSupported) {
  for (const Operation operation : {Operation::kCreateInstance, Operation::kModifyInstance,
                                    Operation::kDeleteInstance, Operation::kExecQuery}) {
    EXPECT_EQ(ask(operation, keyedPath("cpu-0")).rc, CMPI_RC_ERR_NOT_SUPPORTED);
  }
}

// ---- Properties ----

TEST_F(ProcessorProvider, KeysAreRepeatedAsProperties) {
  setPackages(1);
  const Instance processor = only();
  EXPECT_EQ(processor.path, keyedPath("cpu-0"));
  EXPECT_EQ(processor.property("SystemCreationClassName")->text(), "OMC_UnitaryComputerSystem");
  EXPECT_EQ(processor.property("SystemName")->text(), "host-7");
  EXPECT_EQ(processor.property("CreationClassName")->text(), kClass);
  EXPECT_EQ(processor.property("DeviceID")->text(), "cpu-0");
  EXPECT_EQ(processor.property("ElementName")->text(), "cpu-0");
}

TEST_F(ProcessorProvider, PropertiesAreSetInTheirOrder) {
  setPackages(1);
  EXPECT_THAT(
      only().setOrder,
      ElementsAre("SystemCreationClassName", "SystemName", "CreationClassName", "DeviceID",
                  "ElementName", "OperationalStatus", "Vendor", "NumberOfEnabledCores", "Stepping",
                  "ModelName", "OtherIdentifyingInfo", "IdentifyingDescriptions", "CPUStatus",
                  "Characteristics", "EnabledProcessorCharacteristics"));
}

TEST_F(ProcessorProvider, ValuesAndTypes) {
  setHost(R"("modelName": "Example CPU @ 2.60GHz",
             "packages": [{"cores": [{"stepping": 7, "featureEbx": 5}, {}]}])");
  const Instance processor = only();
  const auto uint16 = [](std::uint64_t value) { return Value::ofUnsigned(CMPI_uint16, value); };
  EXPECT_EQ(*processor.property("OperationalStatus"), Value::ofArray(CMPI_uint16, {uint16(2)}));
  EXPECT_EQ(*processor.property("Vendor"), uint16(2));
  EXPECT_EQ(*processor.property("NumberOfEnabledCores"), uint16(2));
  EXPECT_EQ(*processor.property("Stepping"), Value::ofString("7"));
  EXPECT_EQ(*processor.property("ModelName"), Value::ofString("Example CPU @ 2.60GHz"));
  EXPECT_EQ(*processor.property("OtherIdentifyingInfo"),
            Value::ofArray(CMPI_string, {Value::ofString("0x   5")}));
  EXPECT_EQ(*processor.property("IdentifyingDescriptions"),
            Value::ofArray(CMPI_string, {Value::ofString("Brand ID")}));
  EXPECT_EQ(*processor.property("CPUStatus"), uint16(1));
}

TEST_F(ProcessorProvider, CoreCountKeepsItsLowSixteenBits) {
  setHost(R"("packages": [{"coreCount": 65538, "cores": [{}]}])");
  EXPECT_EQ(only().property("NumberOfEnabledCores")->number(), 2U);
}

TEST_F(ProcessorProvider, PackageWithNoRunningCoreIsIdle) {
  setHost(R"("packages": [{"cores": [{"running": false}, {"running": false}]},
                          {"cores": [{"running": false}, {"running": true}]}])");
  const Response response = instances();
  EXPECT_EQ(response.instances.at(0).property("CPUStatus")->number(), 4U);
  EXPECT_EQ(response.instances.at(1).property("CPUStatus")->number(), 1U);
}

TEST_F(ProcessorProvider, Vendors) {
  setHost(R"("packages": [{"cores": [{"vendor": "GenuineIntel"}]},
                          {"cores": [{"vendor": "AuthenticAMD"}]},
                          {"cores": [{"vendor": "CyrixInstead"}]}])");
  const Response response = instances();
  EXPECT_EQ(response.instances.at(0).property("Vendor")->number(), 2U);
  EXPECT_EQ(response.instances.at(1).property("Vendor")->number(), 3U);
  EXPECT_EQ(response.instances.at(2).property("Vendor")->number(), 1U);
}

TEST_F(ProcessorProvider, OtherVendorHasNoBrandAndNoFeatures) {
  setHost(R"("hyperThreading": 1, "packages": [{"cores": [{"vendor": "CyrixInstead",
             "featureEbx": 255, "featureEcx": "0xffffffff", "extendedEcx": "0xffffffff",
             "extendedEdx": "0xffffffff"}]}])");
  const Instance processor = only();
  EXPECT_EQ(processor.property("OtherIdentifyingInfo")->array().at(0).text(), "0x   0");
  EXPECT_THAT(placesOf(processor, "Characteristics"), ElementsAre(-1, -1, 5, -1, 7));
}

// ---- Characteristics ----

struct PlaceCase {
  const char* core;
  const char* more;
  std::vector<int> codes;
  std::vector<int> states;
};

TEST_F(ProcessorProvider, AbsentCharacteristicsLeaveTheirPlaceNull) {
  const PlaceCase cases[] = {
      {"", R"(, "powerPolicy": "off")", {-1, -1, -1, -1, -1}, {-1, -1, -1, -1, -1}},
      {R"("extendedEdx": "0x20000000")",
       R"(, "powerPolicy": "off")",
       {2, -1, -1, -1, -1},
       {2, -1, -1, -1, -1}},
      {R"("featureEcx": "0x20")",
       R"(, "powerPolicy": "off")",
       {-1, 4, -1, -1, -1},
       {-1, 2, -1, -1, -1}},
      {R"("vendor": "AuthenticAMD", "extendedEcx": 4)",
       R"(, "powerPolicy": "off")",
       {-1, 4, -1, -1, -1},
       {-1, 2, -1, -1, -1}},
      {"",
       R"(, "powerPolicy": "off", "hyperThreading": 1)",
       {-1, -1, 5, -1, -1},
       {-1, -1, 2, -1, -1}},
      {R"("extendedEdx": "0x100000")",
       R"(, "powerPolicy": "off")",
       {-1, -1, -1, 6, -1},
       {-1, -1, -1, 2, -1}},
      {"", R"(, "powerPolicy": "static")", {-1, -1, -1, -1, 7}, {-1, -1, -1, -1, 3}},
      {kAllFeatures, R"(, "hyperThreading": 1)", {2, 4, 5, 6, 7}, {2, 2, 2, 2, 2}},
  };
  for (const PlaceCase& test : cases) {
    setCore(test.core, test.more);
    const Instance processor = only();
    EXPECT_EQ(placesOf(processor, "Characteristics"), test.codes) << test.core << test.more;
    EXPECT_EQ(placesOf(processor, "EnabledProcessorCharacteristics"), test.states)
        << test.core << test.more;
    EXPECT_EQ(processor.property("Characteristics")->type, CMPI_uint16A);
    EXPECT_EQ(processor.property("EnabledProcessorCharacteristics")->type, CMPI_uint16A);
  }
}

TEST_F(ProcessorProvider, PowerPolicyInEverySpelling) {
  const struct {
    const char* policy;
    int code;
    int state;
  } cases[] = {{"OFF", -1, -1},   {"off", -1, -1},   {"Off", -1, -1},
               {"Dynamic", 7, 2}, {"dynamic", 7, 2}, {"DYNAMIC", 7, 2},
               {"static", 7, 3},  {"custom", 7, 3},  {"", 7, 3}};
  for (const auto& test : cases) {
    setCore("", R"(, "powerPolicy": ")" + std::string(test.policy) + "\"");
    const Instance processor = only();
    EXPECT_EQ(placesOf(processor, "Characteristics").at(4), test.code) << test.policy;
    EXPECT_EQ(placesOf(processor, "EnabledProcessorCharacteristics").at(4), test.state)
        << test.policy;
  }
}

// ---- Property list ----

TEST_F(ProcessorProvider, PropertyListIsApplied) {
  const Response response =
      broker_.enumerateInstances(kNameSpace, kClass, {{"CPUStatus", "Stepping"}});
  ASSERT_EQ(response.instances.size(), 2U);
  EXPECT_THAT(response.instances[0].setOrder,
              ElementsAre("SystemCreationClassName", "SystemName", "CreationClassName", "DeviceID",
                          "Stepping", "CPUStatus"));
  const Response one = broker_.getInstance(keyedPath("cpu-1"), {{"Stepping"}});
  EXPECT_THAT(one.instances.at(0).setOrder,
              ElementsAre("SystemCreationClassName", "SystemName", "CreationClassName", "DeviceID",
                          "Stepping"));
}

// ---- One instance ----

TEST_F(ProcessorProvider, GetInstance) {
  const Response response = broker_.getInstance(keyedPath("cpu-1"));
  EXPECT_TRUE(response.ok());
  EXPECT_EQ(response.doneCount, 1);
  EXPECT_THAT(response.reports, IsEmpty());
  EXPECT_THAT(response.instances, ElementsAre(instances().instances.at(1)));
}

TEST_F(ProcessorProvider, OnlyTheDigitsBehindTheLastDashCount) {
  for (const char* id :
       {"cpu-1", "CPU-1", "anything-1", "a-b-1", "cpu-01", "x-0-1", "-1", "cpu--1"}) {
    EXPECT_THAT(devicesOf(ask(Operation::kGetInstance, keyedPath(id))), ElementsAre("cpu-1")) << id;
  }
}

TEST_F(ProcessorProvider, UnusableDeviceIdIsNotFound) {
  for (const char* id : {"",
                         "cpu",
                         "cpu1",
                         "1",
                         "cpu-",
                         "-",
                         "cpu-x",
                         "cpu-1x",
                         "cpu-x1",
                         "cpu- 1",
                         "cpu-1 ",
                         "cpu-+1",
                         "cpu-1.0",
                         "cpu-0x1",
                         "cpu-2",
                         "cpu-3",
                         "cpu-4294967295",
                         "cpu-4294967296",
                         "cpu-4294967297",
                         "cpu-18446744073709551616",
                         "cpu-18446744073709551617",
                         "cpu-99999999999999999999999999999999"}) {
    const Response response = ask(Operation::kGetInstance, keyedPath(id));
    EXPECT_EQ(response.rc, CMPI_RC_ERR_NOT_FOUND) << id;
    EXPECT_THAT(response.instances, IsEmpty()) << id;
    EXPECT_EQ(response.doneCount, 0) << id;
  }
}

TEST_F(ProcessorProvider, MissingOrUnreadableDeviceIdIsNotFound) {
  EXPECT_EQ(ask(Operation::kGetInstance, orv::test::pathOf(kClass)).rc, CMPI_RC_ERR_NOT_FOUND);
  for (const Value& value :
       {Value::ofNull(CMPI_string), Value::ofUnsigned(CMPI_uint64, 1), Value::ofBoolean(true)}) {
    ObjectPath path = orv::test::pathOf(kClass);
    path.keys.push_back({"DeviceID", value});
    EXPECT_EQ(ask(Operation::kGetInstance, path).rc, CMPI_RC_ERR_NOT_FOUND) << value;
  }
}

TEST_F(ProcessorProvider, GetInstanceOnAHostWithoutPackagesIsNotFound) {
  setPackages(0);
  EXPECT_EQ(broker_.getInstance(keyedPath("cpu-0")).rc, CMPI_RC_ERR_NOT_FOUND);
}

// ---- Failures of the kernel ----

TEST_F(ProcessorProvider, FailureOfEachNodeFailsTheQuery) {
  for (const char* fault :
       {R"("signatureOk": false)", R"("failNodes": [1444])", R"("failNodes": [605])",
        R"("failNodes": [606])", R"("failNodes": [608])", R"("failNodes": [607])",
        R"("failNodes": [800])", R"("failNodes": [801])", R"("failInstances": {"608": [1]})",
        R"("failInstances": {"607": [2]})", R"("failInstances": {"800": [2]})",
        R"("failInstances": {"801": [2]})"}) {
    setPackages(2, R"(, "hsi": {)" + std::string(fault) + "}");
    expectNothing(instances());
    expectNothing(names());
    const Response response = broker_.getInstance(keyedPath("cpu-0"));
    EXPECT_EQ(response.rc, CMPI_RC_ERR_NOT_FOUND) << fault;
    EXPECT_EQ(response.message, std::nullopt) << fault;
    EXPECT_EQ(response.doneCount, 0) << fault;
  }
}

TEST_F(ProcessorProvider, FaultsThatTheQueryDoesNotMeetDoNotMatter) {
  // The second core of a package whose first one runs, and another subsystem's node.
  setPackages(2, R"(, "hsi": {"failNodes": [214], "failInstances": {"800": [1], "607": [1]}})");
  EXPECT_EQ(instances().instances.size(), 2U);
}

TEST_F(ProcessorProvider, MoreCoresCountedThanListedIsAFailure) {
  setHost(R"("packages": [{"coreCount": 2, "cores": [{"running": false}]}])");
  expectNothing(instances());
  setHost(R"("packages": [{"coreCount": 4, "cores": [{}]}, {"cores": [{}]}])");
  expectNothing(instances());
}

TEST_F(ProcessorProvider, FewerCoresCountedThanListedMovesTheNextPackage) {
  setHost(R"("packages": [{"coreCount": 1, "cores": [{"stepping": 1}, {"stepping": 2}]},
                          {"coreCount": 1, "cores": [{"stepping": 3}]}])");
  const Response response = instances();
  EXPECT_EQ(response.instances.at(0).property("Stepping")->text(), "1");
  EXPECT_EQ(response.instances.at(1).property("Stepping")->text(), "2");
}

TEST_F(ProcessorProvider, UnreadableHostIsNothing) {
  host_.remove();
  expectNothing(instances());
  EXPECT_EQ(broker_.getInstance(keyedPath("cpu-0")).rc, CMPI_RC_ERR_NOT_FOUND);
}

}  // namespace
