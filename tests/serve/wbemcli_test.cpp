// A client that is in use everywhere asks the running endpoint; its answers are those of the tool.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/wbemcli_text.h"
#include "tests/tool/program.h"

namespace orv::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

const std::string kOrvcim = ORV_BINARY_DIR "/bin/orvcim";
const std::string kSchema = ORV_SOURCE_DIR "/schema";
const std::string kExampleHost = ORV_SOURCE_DIR "/tests/hosts/example.json";

class WbemcliTest : public testing::Test {
 protected:
  void SetUp() override {
    if (run({"/bin/sh", "-c", "command -v wbemcli"}).status != 0) {
      GTEST_SKIP() << "wbemcli (package sblim-wbemcli) is not installed";
    }
  }

  /// Starts the endpoint; `host` is empty for the real one.
  void serve(const std::string& host) {
    global_ = {kOrvcim, "--schema", kSchema};
    if (!host.empty()) global_.insert(global_.end(), {"--simulate", host});
    std::vector<std::string> command = global_;
    command.insert(command.end(), {"serve", "--listen", "127.0.0.1:0"});
    server_ = std::make_unique<Program>(command);
    ASSERT_TRUE(server_->waitForOutput("orvcimd: serving "));
    const std::string& said = server_->output();
    const std::string before = "http://127.0.0.1:";
    const std::size_t at = said.find(before) + before.size();
    url_ = "http://localhost:" + said.substr(at, said.find('\n') - at) + "/root/cimv2:";
  }

  Outcome wbemcli(const std::string& operation, const std::string& object,
                  const std::vector<std::string>& options = {}) const {
    std::vector<std::string> command = {"/usr/bin/env", "wbemcli", operation};
    command.insert(command.end(), options.begin(), options.end());
    command.push_back(url_ + object);
    Outcome outcome = run(command);
    EXPECT_EQ(outcome.status, 0) << operation << " " << object << ": " << outcome.err;
    return outcome;
  }

  json tool(std::vector<std::string> arguments) const {
    std::vector<std::string> command = global_;
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.insert(command.end(), {"--format", "json"});
    const Outcome outcome = run(command);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return json::parse(outcome.out, nullptr, false);
  }

  /// Classes that have instances of their own.
  std::vector<std::string> servedClasses() const {
    std::vector<std::string> classes;
    for (const json& row : tool({"list"})) {
      if (row["kind"] != "indication") classes.push_back(row["class"]);
    }
    return classes;
  }

  void end(int signal = SIGTERM) {
    server_->signal(signal);
    const Outcome outcome = server_->wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    server_.reset();
  }

  std::vector<std::string> global_;
  std::unique_ptr<Program> server_;
  std::string url_;
};

TEST_F(WbemcliTest, EnumeratesEveryServedClassAsTheToolDoes) {
  serve(kExampleHost);
  std::size_t objects = 0;
  for (const std::string& name : servedClasses()) {
    const json paths = tool({"names", name});
    objects += paths.size();
    EXPECT_EQ(pathsOfClient(wbemcli("ein", name).out), pathsOfTool(paths)) << name;
    Instances expected = instancesOfTool(tool({"instances", name}));
    Instances got = instancesOfClient(wbemcli("ei", name, {"-nl"}).out);
    if (name == "Orvane_HypervisorSoftwareIdentity") {
      // When the host was last started is asked for at two times.
      const auto forget = [](const Instances& instances) {
        Instances rest;
        for (Properties properties : instances) {
          EXPECT_EQ(properties.erase("LastStartTime"), 1U);
          rest.insert(properties);
        }
        return rest;
      };
      expected = forget(expected);
      got = forget(got);
    }
    EXPECT_EQ(got, expected) << name;
  }
  EXPECT_GT(objects, 15U);
  end();
}

TEST_F(WbemcliTest, GetsEveryInstanceThatItNames) {
  serve(kExampleHost);
  for (const char* name :
       {"Orvane_EthernetPort", "Orvane_EPStatisticalInformation", "Orvane_EPDriverSoftwareIdentity",
        "Orvane_EPCoalesceSettingData", "Orvane_KernelIPv4ProtocolEndpoint",
        "Orvane_KernelIPv6ProtocolEndpoint", "Orvane_RollupHealthState", "Orvane_Processor"}) {
    const json paths = tool({"names", name});
    EXPECT_FALSE(paths.empty()) << name;
    for (const json& path : paths) {
      const std::string text = path["path"];
      const std::string object = text.substr(text.find(':') + 1);
      EXPECT_EQ(instancesOfClient(wbemcli("gi", object, {"-nl"}).out),
                instancesOfTool(json::array({tool({"get", text})})))
          << text;
    }
  }
  end();
}

TEST_F(WbemcliTest, TraversesTheAssociationsOfAPort) {
  serve(kExampleHost);
  for (const json& path : tool({"names", "Orvane_EthernetPort"})) {
    const std::string text = path["path"];
    const std::string object = text.substr(text.find(':') + 1);
    EXPECT_EQ(pathsOfClient(wbemcli("ain", object).out),
              pathsOfTool(tool({"associator-names", text})));
    EXPECT_EQ(pathsOfClient(wbemcli("rin", object).out),
              pathsOfTool(tool({"reference-names", text})));
    EXPECT_EQ(instancesOfClient(wbemcli("ai", object, {"-nl"}).out),
              instancesOfTool(tool({"associators", text})));
    EXPECT_EQ(instancesOfClient(wbemcli("ri", object, {"-nl"}).out),
              instancesOfTool(tool({"references", text})));
    EXPECT_EQ(
        pathsOfClient(wbemcli("ain", object, {"-ac", "Orvane_EPStatistics"}).out),
        pathsOfTool(tool({"associator-names", text, "--assoc-class", "Orvane_EPStatistics"})));
    EXPECT_EQ(pathsOfClient(wbemcli("ain", object, {"-arc", "CIM_SettingData"}).out),
              pathsOfTool(tool({"associator-names", text, "--result-class", "CIM_SettingData"})));
  }
  end();
}

TEST_F(WbemcliTest, ReadsClasses) {
  serve(kExampleHost);
  for (const std::string& name : servedClasses()) {
    EXPECT_THAT(wbemcli("gc", name, {"-nl"}).out, HasSubstr("root/cimv2:" + name)) << name;
  }
  EXPECT_THAT(wbemcli("gc", "Orvane_EPStatistics", {"-nl"}).out, HasSubstr("-Stats="));
  EXPECT_THAT(wbemcli("ec", "CIM_ElementSettingData", {"-nl"}).out,
              HasSubstr("Orvane_EPCoalesceElementSettingData"));
  const std::vector<std::string> below = linesOf(wbemcli("ecn", "CIM_EthernetPort").out);
  ASSERT_EQ(below.size(), 1U);
  EXPECT_THAT(below[0], testing::EndsWith("/root/cimv2:Orvane_EthernetPort"));
  end();
}

TEST_F(WbemcliTest, ShowsTheStatusAndTextOfAFailure) {
  serve(kExampleHost);
  const Outcome unknown = run({"/usr/bin/env", "wbemcli", "ein", url_ + "Orvane_Nothing"});
  EXPECT_NE(unknown.status, 0);
  EXPECT_THAT(unknown.err, HasSubstr("(5) CIM_ERR_INVALID_CLASS"));
  const Outcome missing =
      run({"/usr/bin/env", "wbemcli", "gi", url_ + "Orvane_EthernetPort.SystemName=\"x\""});
  EXPECT_THAT(missing.err, HasSubstr("(6) CIM_ERR_NOT_FOUND: Specified DeviceID is not found"));
  end();
}

TEST_F(WbemcliTest, MakesAndDeletesAFilter) {
  serve(kExampleHost);
  const std::string interop = url_.substr(0, url_.find("/root/")) + "/root/interop:";
  const std::string keys =
      "SystemCreationClassName=\"CIM_ComputerSystem\",SystemName=\"client\","
      "CreationClassName=\"CIM_IndicationFilter\",Name=\"f\"";
  const std::string path = interop + "CIM_IndicationFilter." + keys;
  const Outcome made = run({"/usr/bin/env", "wbemcli", "ci", path,
                            keys + ",Query=\"SELECT * FROM Orvane_CIMHeartbeat\","
                                   "QueryLanguage=\"WQL\",SourceNamespace=\"root/cimv2\""});
  EXPECT_EQ(made.status, 0) << made.err;
  const auto names = [&] {
    return run({"/usr/bin/env", "wbemcli", "ein", interop + "CIM_IndicationFilter"}).out;
  };
  EXPECT_THAT(names(), HasSubstr("Name=\"f\""));
  EXPECT_EQ(run({"/usr/bin/env", "wbemcli", "di", path}).status, 0);
  EXPECT_EQ(linesOf(names()).size(), 0U);
  end();
}

TEST_F(WbemcliTest, NamesOnThisHostAreThoseOfTheTool) {
  serve("");
  for (const std::string& name : servedClasses()) {
    EXPECT_EQ(pathsOfClient(wbemcli("ein", name).out), pathsOfTool(tool({"names", name}))) << name;
  }
  EXPECT_FALSE(instancesOfClient(wbemcli("ei", "Orvane_Processor", {"-nl"}).out).empty());
  end();
}

class ServeEnds : public testing::TestWithParam<int> {};

TEST_P(ServeEnds, WellOnASignal) {
  Program server({kOrvcim, "--schema", kSchema, "--simulate", kExampleHost, "serve", "--listen",
                  "127.0.0.1:0"});
  ASSERT_TRUE(server.waitForOutput("orvcimd: serving "));
  EXPECT_THAT(server.output(), testing::StartsWith("orvcimd: serving root/cimv2 at http://127."));
  EXPECT_EQ(linesOf(server.output()).size(), 1U);
  server.signal(GetParam());
  const Outcome outcome = server.wait();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
}

INSTANTIATE_TEST_SUITE_P(Signals, ServeEnds, testing::Values(SIGINT, SIGTERM));

TEST(ServeUsage, OtherHostsAreNotServedWithoutProof) {
  const std::pair<const char*, const char*> rows[] = {
      {"0.0.0.0:0", "other hosts are served only with"},
      {"[::]:0", "other hosts are served only with"},
      {"192.0.2.1:5988", "cannot listen on 192.0.2.1"},
      {"example.org:80", "not an address"},
  };
  for (const auto& [address, message] : rows) {
    const Outcome outcome = run(
        {kOrvcim, "--schema", kSchema, "--simulate", kExampleHost, "serve", "--listen", address});
    EXPECT_EQ(outcome.status, 2) << address;
    EXPECT_THAT(outcome.err, HasSubstr(message)) << address;
  }
}

TEST(ServeUsage, OptionsOfTheDaemonAreItsOptions) {
  const Outcome outcome = run({kOrvcim, "--schema", kSchema, "--simulate", kExampleHost, "serve",
                               "--state", "/nonexistent"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("/nonexistent is not a directory"));
  EXPECT_EQ(run({kOrvcim, "serve", "--nonsense"}).status, 2);
}

}  // namespace
}  // namespace orv::test
