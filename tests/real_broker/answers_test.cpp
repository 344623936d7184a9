// What a client reads through the real broker is what our tool shows through the embedded one.

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/real_broker/broker_fixture.h"
#include "tests/support/wbemcli_text.h"

namespace orv::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

constexpr char kUrl[] = "http://localhost:5988/root/cimv2:";

// Properties that only the real broker shows: defaults of the CIM schema's classes, which the
// classes that the embedded broker reads do not repeat. docs/broker.md tells them.
const Properties kSchemaDefaults = {
    {"AddressOrigin", "0"},   {"ConsumedResourceUnits", "count"},
    {"EnabledDefault", "2"},  {"EnabledState", "5"},
    {"IsEntity", "FALSE"},    {"IsLargeBuildNumber", "FALSE"},
    {"Primordial", "FALSE"},  {"RemovalConditions", "2"},
    {"RequestedState", "12"}, {"TransitioningToState", "12"},
};

// What may differ between two questions: when the host was started is told to the second, and the
// roll-up is unknown until the health monitor has polled once.
bool mayDiffer(const std::string& property, const Properties& instance) {
  const auto name = instance.find("Name");
  const bool isRollup = name != instance.end() && name->second == "Orvane Rollup Health State";
  return property == "LastStartTime" || (isRollup && property == "HealthState");
}

bool agree(const Properties& real, const Properties& embedded) {
  Properties rest = embedded;
  for (const auto& [name, value] : real) {
    const auto same = embedded.find(name);
    if (same != embedded.end()) {
      if (same->second != value && !mayDiffer(name, real)) return false;
      rest.erase(name);
    } else {
      const auto byDefault = kSchemaDefaults.find(name);
      if (byDefault == kSchemaDefaults.end() || byDefault->second != value) return false;
    }
  }
  return rest.empty();
}

// Every instance of one has its own in the other.
testing::AssertionResult agree(const Instances& real, const Instances& embedded) {
  Instances rest = embedded;
  for (const Properties& instance : real) {
    const auto same = std::find_if(rest.begin(), rest.end(),
                                   [&](const Properties& other) { return agree(instance, other); });
    if (same == rest.end()) {
      return testing::AssertionFailure()
             << "only the real broker: " << testing::PrintToString(instance)
             << "\nof the others: " << testing::PrintToString(rest);
    }
    rest.erase(same);
  }
  if (rest.empty()) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "only the tool: " << testing::PrintToString(rest);
}

class RealAnswersTest : public RealBrokerTest, public testing::WithParamInterface<Library> {
 protected:
  void SetUp() override {
    RealBrokerTest::SetUp();
    if (!IsSkipped()) serve(GetParam());
  }

  std::string client(const std::string& operation, const std::string& object,
                     const std::vector<std::string>& options = {}) const {
    std::vector<std::string> arguments = {operation};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back(kUrl + object);
    const Outcome outcome = sandbox_->wbemcli(arguments);
    EXPECT_EQ(outcome.status, 0) << operation << " " << object << ": " << outcome.err;
    return outcome.out;
  }

  json tool(const std::vector<std::string>& arguments) const {
    std::vector<std::string> command = {ORV_BINARY_DIR "/bin/orvcim"};
    if (GetParam() == Library::kSimulatedHost) {
      command.insert(command.end(), {"--simulate", ORV_SOURCE_DIR "/tests/hosts/example.json"});
    }
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.insert(command.end(), {"--format", "json"});
    const Outcome outcome = sandbox_->run(command);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return json::parse(outcome.out, nullptr, false);
  }

  /// Our tool as a client of the real broker.
  Outcome remote(const std::vector<std::string>& arguments) const {
    std::vector<std::string> command = {ORV_BINARY_DIR "/bin/orvcim", "--url",
                                        "http://127.0.0.1:5988"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.insert(command.end(), {"--format", "json"});
    return sandbox_->run(command);
  }
  json remoteTool(const std::vector<std::string>& arguments) const {
    const Outcome outcome = remote(arguments);
    EXPECT_EQ(outcome.status, 0) << testing::PrintToString(arguments) << outcome.err;
    return json::parse(outcome.out, nullptr, false);
  }

  void expectToolsToAgree(const std::vector<std::string>& arguments) const {
    const json there = remoteTool(arguments);
    const json here = tool(arguments);
    const std::string what = testing::PrintToString(arguments);
    if (arguments.front().find("names") != std::string::npos) {
      EXPECT_EQ(pathsOfTool(there), pathsOfTool(here)) << what;
    } else {
      const auto list = [](const json& one) { return one.is_array() ? one : json::array({one}); };
      EXPECT_TRUE(agree(instancesOfTool(list(there)), instancesOfTool(list(here)))) << what;
    }
  }

  std::vector<std::string> servedClasses() const {
    std::vector<std::string> classes;
    for (const json& row : tool({"list"})) {
      if (row["kind"] != "indication") classes.push_back(row["class"]);
    }
    return classes;
  }

  /// Object paths of every instance that has plain keys, without the namespace.
  std::vector<std::string> objects() const {
    std::vector<std::string> all;
    for (const std::string& name : servedClasses()) {
      for (const json& path : tool({"names", name})) {
        const std::string text = path["path"];
        const std::string object = text.substr(text.find(':') + 1);
        const bool hasReferences = object.find("\\\"") != std::string::npos;
        if (!hasReferences) all.push_back(object);
      }
    }
    return all;
  }
};

TEST_P(RealAnswersTest, EnumerationsAgree) {
  std::vector<std::string> classes = servedClasses();
  EXPECT_GT(classes.size(), 15U);
  for (const char* parent : {"CIM_EthernetPort", "CIM_IPProtocolEndpoint", "CIM_Processor",
                             "CIM_SoftwareIdentity", "CIM_StatisticalInformation"}) {
    classes.emplace_back(parent);
  }
  for (const std::string& name : classes) {
    EXPECT_EQ(pathsOfClient(client("ein", name)), pathsOfTool(tool({"names", name}))) << name;
    EXPECT_TRUE(agree(instancesOfClient(client("ei", name, {"-nl"})),
                      instancesOfTool(tool({"instances", name}))))
        << name;
  }
}

TEST_P(RealAnswersTest, EveryNamedInstanceIsTheSame) {
  const std::vector<std::string> all = objects();
  EXPECT_GE(all.size(), 3U);
  for (const std::string& object : all) {
    EXPECT_TRUE(agree(instancesOfClient(client("gi", object, {"-nl"})),
                      instancesOfTool(json::array({tool({"get", "root/cimv2:" + object})}))))
        << object;
  }
}

TEST_P(RealAnswersTest, AssociationsAgree) {
  std::size_t found = 0;
  for (const std::string& object : objects()) {
    const std::string path = "root/cimv2:" + object;
    const json names = tool({"associator-names", path});
    found += names.size();
    EXPECT_EQ(pathsOfClient(client("ain", object)), pathsOfTool(names)) << object;
    EXPECT_EQ(pathsOfClient(client("rin", object)), pathsOfTool(tool({"reference-names", path})))
        << object;
    EXPECT_TRUE(agree(instancesOfClient(client("ai", object, {"-nl"})),
                      instancesOfTool(tool({"associators", path}))))
        << object;
    EXPECT_TRUE(agree(instancesOfClient(client("ri", object, {"-nl"})),
                      instancesOfTool(tool({"references", path}))))
        << object;
  }
  EXPECT_GE(found, GetParam() == Library::kSimulatedHost ? 9U : 0U);
}

TEST_P(RealAnswersTest, FailuresAgree) {
  for (const char* object :
       {"Orvane_EthernetPort.DeviceID=\"none\"", "Orvane_EthernetPort.SystemName=\"x\"",
        "Orvane_Processor.DeviceID=\"cpu-99\"",
        "Orvane_HypervisorSoftwareIdentity.InstanceID=\"x\"",
        "Orvane_EPStatisticalInformation.InstanceID=\"Orvane:x:y\"",
        "Orvane_KernelIPv4ProtocolEndpoint.Name=\"none\"", "Orvane_None.Name=\"x\""}) {
    const Outcome real = sandbox_->wbemcli({"gi", std::string(kUrl) + object});
    std::vector<std::string> command = {ORV_BINARY_DIR "/bin/orvcim"};
    if (GetParam() == Library::kSimulatedHost) {
      command.insert(command.end(), {"--simulate", ORV_SOURCE_DIR "/tests/hosts/example.json"});
    }
    command.insert(command.end(), {"get", std::string("root/cimv2:") + object});
    const Outcome embedded = sandbox_->run(command);
    EXPECT_NE(real.status, 0) << object;
    EXPECT_EQ(embedded.status, 1) << object;
    // "(6) CIM_ERR_NOT_FOUND: text" there, "CMPI_RC_ERR_NOT_FOUND (6): text" here. Where the
    // provider answers nothing, each broker has a text of its own.
    const std::string status = real.err.substr(real.err.find('('), 3);
    EXPECT_THAT(embedded.err, HasSubstr(status)) << object << ": " << real.err;
    const std::string said = real.err.substr(real.err.find("CIM_ERR_"));
    const std::string text =
        said.substr(said.find(": ") + 2, said.find('\n') - said.find(": ") - 2);
    const bool isOwn =
        text == "The requested object could not be found" || text == "Class not found";
    EXPECT_TRUE(isOwn || embedded.err.find(text) != std::string::npos) << object << ": " << text;
  }
}

TEST_P(RealAnswersTest, OurToolReadsTheSameThroughTheRealBroker) {
  for (const std::string& name : servedClasses()) {
    expectToolsToAgree({"names", name});
    expectToolsToAgree({"instances", name});
  }
  for (const std::string& object : objects()) {
    const std::string path = "root/cimv2:" + object;
    for (const char* command :
         {"get", "associators", "associator-names", "references", "reference-names"}) {
      expectToolsToAgree({command, path});
    }
  }
}

TEST_P(RealAnswersTest, OurToolHasWordsAndFailuresOfTheRealBroker) {
  const Outcome health = remote({"health"});
  EXPECT_EQ(health.status, 0) << health.err;
  EXPECT_THAT(health.out, HasSubstr("healthText"));
  const json list = remoteTool({"list"});
  EXPECT_TRUE(std::any_of(list.begin(), list.end(), [](const json& row) {
    return row["class"] == "Orvane_EthernetPort" && row["instances"].is_number();
  })) << list;
  const Outcome none = remote({"instances", "Orvane_None"});
  EXPECT_EQ(none.status, 1);
  EXPECT_THAT(none.err, HasSubstr("CMPI_RC_ERR_INVALID_CLASS (5)"));
  const Outcome elsewhere = remote({"names", "Orvane_Processor", "-n", "root/none"});
  EXPECT_EQ(elsewhere.status, 1);
  EXPECT_THAT(elsewhere.err, HasSubstr("CMPI_RC_ERR_INVALID_NAMESPACE (3)"));
}

std::string hostName(const testing::TestParamInfo<Library>& host) {
  return host.param == Library::kThisHost ? "ThisHost" : "SimulatedHost";
}

INSTANTIATE_TEST_SUITE_P(Hosts, RealAnswersTest,
                         testing::Values(Library::kThisHost, Library::kSimulatedHost), hostName);

}  // namespace
}  // namespace orv::test
