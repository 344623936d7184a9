// The tool as its users meet it: the executable, its output, its exit status.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gnu/libc-version.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/simulated_host_file.h"
#include "tests/support/temporary_directory.h"
#include "tests/tool/program.h"
#include "tests/tool/tool_files.h"

namespace orv::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// On the simulated host of the example file.
Outcome orvcim(std::vector<std::string> arguments, const std::string& host = kExampleHost) {
  arguments.insert(arguments.begin(), {kOrvcim, "--simulate", host, "--schema", kSchema});
  return run(arguments);
}

Outcome orvcimAsGiven(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), kOrvcim);
  return run(arguments);
}

json orvcimJson(std::vector<std::string> arguments) {
  arguments.insert(arguments.end(), {"--format", "json"});
  const Outcome outcome = orvcim(std::move(arguments));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  return json::parse(outcome.out, nullptr, false);
}

std::vector<std::string> complaints(const Outcome& outcome) {
  std::vector<std::string> lines;
  std::istringstream in(outcome.err);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

const std::string kRegistration =
    "[T_A]\nprovider: P\nlocation: p\ntype: instance\nnamespace: root/cimv2\n";

// ---- What it prints ----

TEST(Orvcim, ListsTheServedClassesWithTheirNumberOfInstances) {
  const Outcome outcome = orvcim({"list"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, StartsWith("CLASS"));
  EXPECT_THAT(outcome.out, HasSubstr("Orvane_CIMHeartbeat"));
  const json list = orvcimJson({"list"});
  std::vector<std::string> registered;
  std::ifstream registration(kSchema + "/orvprovider.reg");
  for (std::string line; std::getline(registration, line);) {
    if (line.rfind('[', 0) == 0) registered.push_back(line.substr(1, line.find(']') - 1));
  }
  std::vector<std::string> listed;
  for (const json& row : list) listed.push_back(row["class"]);
  EXPECT_EQ(listed, registered);
  EXPECT_EQ(list[0],
            json({{"class", "Orvane_EthernetPort"}, {"kind", "instance"}, {"instances", 2}}));
  for (const json& row : list) {
    if (row["kind"] == "indication" || row["kind"] == "association") {
      EXPECT_TRUE(row["instances"].is_null()) << row;
    }
  }
}

TEST(Orvcim, StartLinesOfTheLibraryAreShownOnRequest) {
  EXPECT_EQ(orvcim({"list"}).err, "");
  const Outcome verbose = orvcim({"list", "--verbose"});
  EXPECT_EQ(verbose.status, 0);
  EXPECT_THAT(verbose.err, StartsWith("--- _Create_InstanceMI() "));
}

TEST(Orvcim, FindsTheSchemaOfItsSourceTreeByItself) {
  const Outcome outcome =
      run({kOrvcim, "--simulate", kExampleHost, "names", "Orvane_RollupHealthState"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const std::filesystem::path inBuildTree = ORV_BINARY_DIR "/share/orvprovider/schema";
  EXPECT_TRUE(std::filesystem::equivalent(inBuildTree, kSchema));
}

TEST(Orvcim, NamesAreObjectPathsThatGetTakes) {
  const Outcome names = orvcim({"names", "Orvane_EthernetPort"});
  ASSERT_EQ(names.status, 0) << names.err;
  const std::string first = names.out.substr(0, names.out.find('\n'));
  EXPECT_THAT(first, StartsWith("root/cimv2:Orvane_EthernetPort."));
  const Outcome get = orvcim({"get", first});
  EXPECT_EQ(get.status, 0) << get.err;
  EXPECT_THAT(get.out, StartsWith("instance of Orvane_EthernetPort {\n"));
  EXPECT_THAT(get.out, HasSubstr("  DeviceID = \"nic0\";\n"));
  EXPECT_THAT(get.out, HasSubstr("  Speed = 10000000000;\n"));
  EXPECT_THAT(get.out, HasSubstr("  EnabledState = 2;  // Enabled\n"));
}

TEST(Orvcim, NamesOfAssociationsAreTakenToo) {
  const json names = orvcimJson({"names", "Orvane_EPStatistics"});
  ASSERT_EQ(names.size(), 2u);
  const Outcome get = orvcim({"get", names[0]["path"].get<std::string>()});
  EXPECT_EQ(get.status, 0) << get.err;
  EXPECT_THAT(get.out, HasSubstr("Element = \"root/cimv2:Orvane_EthernetPort."));
}

TEST(Orvcim, PrintsOnlyTheWantedPropertiesAndKeys) {
  const json ports = orvcimJson({"instances", "Orvane_EthernetPort", "--property", "Speed", "MTU"});
  ASSERT_EQ(ports.size(), 2u);
  const json& properties = ports[0]["properties"];
  EXPECT_EQ(properties["Speed"], 10000000000u);
  EXPECT_EQ(properties["DeviceID"], "nic0");
  EXPECT_FALSE(properties.contains("PermanentAddress"));
}

TEST(Orvcim, PrintsTables) {
  const Outcome outcome =
      orvcim({"instances", "Orvane_EPCoalesceSettingData", "-p", "rxUsecs", "--format", "table"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, StartsWith("Orvane_EPCoalesceSettingData\n"));
  EXPECT_THAT(outcome.out, HasSubstr("Orvane:Orvane_EPCoalesceSettingData:nic0"));
}

TEST(Orvcim, NullPropertiesArePrintedOnRequest) {
  EXPECT_THAT(orvcim({"instances", "Orvane_EthernetPort"}).out, Not(HasSubstr("= NULL")));
  EXPECT_THAT(orvcim({"instances", "Orvane_EthernetPort", "--nulls"}).out, HasSubstr("= NULL"));
}

TEST(Orvcim, AClassWithoutInstancesPrintsNothing) {
  const TemporaryDirectory dir;
  const Outcome outcome =
      orvcim({"instances", "Orvane_EthernetPort"}, dir.write("host.json", "{}"));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "");
}

TEST(Orvcim, MetricsAreInTheTextFormatOfPrometheus) {
  const Outcome outcome = orvcim({"metrics"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  for (const char* line : {"# TYPE orvane_port_transmit_packets_total counter",
                           "orvane_port_transmit_packets_total{device=\"nic0\"} 6442450944",
                           "orvane_port_speed_bytes_per_second{device=\"nic0\"} 1250000000",
                           "orvane_ipv4_address_info{device=\"hk0\",address=\"10.0.0.7\",netmask="
                           "\"255.255.255.0\"} 1"}) {
    EXPECT_THAT(outcome.out, HasSubstr(std::string("\n") + line + "\n"));
  }
  EXPECT_THAT(outcome.out, Not(HasSubstr("orvane_port_up{device=\"nic1\"}"))) << "it cannot tell";
}

TEST(Orvcim, MetricsOfAHostThatFailsSayWhichClassesAreMissing) {
  const TemporaryDirectory dir;
  const Outcome outcome =
      orvcim({"metrics"}, dir.write("host.json", R"({"ports": {"throw": "nodemgr"}})"));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("orvcim: Orvane_EthernetPort: CMPI_RC_ERR_"));
  EXPECT_THAT(outcome.out, HasSubstr("orvane_class_success{class=\"Orvane_EthernetPort\"} 0\n"));
  EXPECT_THAT(outcome.out, HasSubstr("orvane_image_info{"));
}

// ---- The monitoring plugin ----

std::string hostWithErrors(int errors) {
  return R"({"systemName": "host-7", "ports": [{"name": "eth0", "enabled": true, "linkUp": true,
             "statistics": {"errorsRx": )" +
         std::to_string(errors) + "}}]}";
}

TEST(OrvcimCheck, AGoodHostIsOk) {
  const TemporaryDirectory dir;
  const Outcome outcome = orvcim({"check"}, dir.write("host.json", hostWithErrors(0)));
  EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
  EXPECT_THAT(outcome.out,
              StartsWith("ORVANE OK - health unknown; no latched record; 1 port up; heartbeat "));
  EXPECT_THAT(outcome.out, HasSubstr(" | 'health'=0;~:5;~:15;0 "));
  EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 1);
  EXPECT_EQ(outcome.err, "");
}

TEST(OrvcimCheck, ErrorsBetweenTwoRunsAreJudged) {
  const TemporaryDirectory dir;
  const std::string host = dir.write("host.json", hostWithErrors(0));
  const std::string state = dir.path() + "/state.json";
  EXPECT_EQ(orvcim({"check", "--state", state}, host).status, 0);
  // As if the first run had been a minute ago.
  std::ifstream in(state);
  json stored = json::parse(in);
  stored["time"] = stored["time"].get<double>() - 60;
  dir.write("state.json", stored.dump());
  dir.write("host.json", hostWithErrors(6000));
  const Outcome outcome = orvcim({"check", "--state", state}, host);
  EXPECT_EQ(outcome.status, 2) << outcome.out;
  EXPECT_THAT(outcome.out, StartsWith("ORVANE CRITICAL - port eth0: "));
  EXPECT_THAT(outcome.out, HasSubstr("errors per second"));
}

TEST(OrvcimCheck, ThresholdsAreOptions) {
  const TemporaryDirectory dir;
  const std::string host = dir.write("host.json", hostWithErrors(0));
  EXPECT_EQ(orvcim({"check", "--port", "eth0", "--port", "eth9"}, host).status, 1);
  EXPECT_EQ(orvcim({"check", "--port", "eth9", "--down-critical", "0"}, host).status, 2);
  EXPECT_EQ(orvcim({"check", "--port", "eth9", "--down-warning", ""}, host).status, 0);
  EXPECT_EQ(orvcim({"check", "--health-critical", "@0:4"}, host).status, 2);
}

TEST(OrvcimCheck, WhatCannotBeCheckedIsUnknown) {
  const TemporaryDirectory dir;
  const std::string host = dir.write("host.json", hostWithErrors(0));
  const auto expectUnknown = [](const Outcome& outcome, const std::string& reason) {
    EXPECT_EQ(outcome.status, 3) << outcome.out << outcome.err;
    EXPECT_THAT(outcome.out, StartsWith("ORVANE UNKNOWN - "));
    EXPECT_THAT(outcome.out, HasSubstr(reason));
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 1) << outcome.out;
  };
  expectUnknown(orvcim({"check", "--down-warning", "many"}, host),
                "--down-warning: \"many\" is not a range, such as 10, 10:, ~:10, 10:20 or @10:20");
  expectUnknown(orvcim({"check", "--nonsense"}, host), "--nonsense");
  expectUnknown(orvcim({"check", "--down-warning"}, host), "--down-warning");
  expectUnknown(orvcim({"check"}, dir.path() + "/none.json"), "none.json");
  expectUnknown(orvcim({"check", "--state", dir.path() + "/none/state"}, host),
                "cannot be written");
  expectUnknown(orvcim({"check", "--namespace", "root/none"}, host),
                "CMPI_RC_ERR_INVALID_NAMESPACE");
  expectUnknown(orvcim({"check"}, dir.write("failing.json", R"({"ports": {"throw": "nodemgr"}})")),
                "Orvane_EthernetPort cannot be read");
}

// ---- Associations ----

std::vector<std::string> classesOf(const json& instances) {
  std::vector<std::string> classes;
  for (const json& one : instances) classes.push_back(one["class"]);
  return classes;
}

const std::string kPort =
    "Orvane_EthernetPort.SystemCreationClassName=\"OMC_UnitaryComputerSystem\","
    "SystemName=\"host-7\",CreationClassName=\"Orvane_EthernetPort\",DeviceID=\"nic0\"";

TEST(Orvcim, AssociatorsLeadFromAPortToItsSatellitesAndBack) {
  const json satellites = orvcimJson({"associators", kPort});
  EXPECT_THAT(
      classesOf(satellites),
      testing::IsSupersetOf({"Orvane_EPDriverSoftwareIdentity", "Orvane_EPFirmwareSoftwareIdentity",
                             "Orvane_EPStatisticalInformation", "Orvane_EPCoalesceSettingData"}));
  for (const json& satellite : satellites) {
    const json back = orvcimJson({"associators", satellite["path"].get<std::string>()});
    ASSERT_EQ(back.size(), 1u);
    EXPECT_EQ(back[0]["properties"]["DeviceID"], "nic0");
  }
}

TEST(Orvcim, AssociationFiltersReachTheProvider) {
  EXPECT_THAT(
      classesOf(orvcimJson({"associator-names", kPort, "--assoc-class", "Orvane_EPStatistics"})),
      testing::ElementsAre("Orvane_EPStatisticalInformation"));
  EXPECT_THAT(
      classesOf(orvcimJson({"associator-names", kPort, "--result-class", "CIM_SoftwareIdentity"})),
      testing::ElementsAre("Orvane_EPDriverSoftwareIdentity", "Orvane_EPFirmwareSoftwareIdentity"));
  EXPECT_THAT(classesOf(orvcimJson({"reference-names", kPort, "--role", "Element"})),
              testing::ElementsAre("Orvane_EPStatistics"));
  EXPECT_THAT(classesOf(orvcimJson(
                  {"references", kPort, "--result-class", "Orvane_EPCoalesceElementSettingData"})),
              testing::ElementsAre("Orvane_EPCoalesceElementSettingData"));
  EXPECT_THAT(classesOf(orvcimJson({"associator-names", kPort, "--result-role", "Stats"})),
              testing::ElementsAre("Orvane_EPStatisticalInformation"));
}

// ---- Errors that providers and the broker answer ----

void expectCimError(const Outcome& outcome, const std::string& line) {
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "");
  ASSERT_EQ(complaints(outcome).size(), 1u) << outcome.err;
  EXPECT_EQ(complaints(outcome)[0], "orvcim: " + line);
}

TEST(OrvcimErrors, AMissingClassIsACimError) {
  const Outcome outcome = orvcim({"instances", "Orvane_Nothing"});
  EXPECT_EQ(outcome.status, 1);
  ASSERT_EQ(complaints(outcome).size(), 1u) << outcome.err;
  EXPECT_THAT(complaints(outcome)[0], StartsWith("orvcim: CMPI_RC_ERR_INVALID_CLASS (5): "));
}

TEST(OrvcimErrors, AnUnknownNamespaceIsACimError) {
  const Outcome outcome = orvcim({"names", "Orvane_EthernetPort", "--namespace", "root/nothing"});
  EXPECT_EQ(outcome.status, 1);
  ASSERT_EQ(complaints(outcome).size(), 1u) << outcome.err;
  EXPECT_THAT(complaints(outcome)[0], StartsWith("orvcim: CMPI_RC_ERR_INVALID_NAMESPACE (3): "));
  EXPECT_EQ(orvcim({"list", "--namespace", "root/nothing"}).status, 1);
}

TEST(OrvcimErrors, TheProvidersTextIsShown) {
  expectCimError(orvcim({"get", "Orvane_EPStatistics.Stats=\"x\""}),
                 "CMPI_RC_ERR_INVALID_PARAMETER (4): DeviceID specified is not valid");
  expectCimError(orvcim({"get", "Orvane_EthernetPort.SystemName=\"x\""}),
                 "CMPI_RC_ERR_NOT_FOUND (6): Specified DeviceID is not found");
}

TEST(OrvcimErrors, AnInstanceThatIsNotThereIsNotFound) {
  const Outcome outcome = orvcim({"get", "Orvane_EthernetPort.DeviceID=\"nic9\""});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("CMPI_RC_ERR_NOT_FOUND (6)"));
}

TEST(OrvcimErrors, AFailingHostFailsTheListButNotItsOtherClasses) {
  const TemporaryDirectory dir;
  const std::string host = dir.write("host.json", R"({"ports": {"throw": "nodemgr"}})");
  expectCimError(orvcim({"names", "Orvane_EthernetPort"}, host),
                 "CMPI_RC_ERR_FAILED (1): Failed to get pnics information");
  const Outcome list = orvcim({"list"}, host);
  EXPECT_EQ(list.status, 1);
  EXPECT_THAT(list.out, HasSubstr("Orvane_Processor"));
  EXPECT_THAT(list.err, HasSubstr("orvcim: Orvane_EthernetPort: CMPI_RC_ERR_FAILED (1): Failed to "
                                  "get pnics information\n"));
}

TEST(OrvcimErrors, OutputThatCannotBeWrittenIsNoSuccess) {
  const Outcome outcome = run({"/bin/sh", "-c",
                               kOrvcim + " names Orvane_EthernetPort --simulate " + kExampleHost +
                                   " --schema " + kSchema + " >/dev/full"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("orvcim: standard output cannot be written\n"));
}

// ---- Input that cannot be used ----

void expectBadInput(const Outcome& outcome, const std::string& text) {
  EXPECT_EQ(outcome.status, 2) << outcome.err;
  EXPECT_EQ(outcome.out, "");
  ASSERT_EQ(complaints(outcome).size(), 1u) << outcome.err;
  EXPECT_THAT(complaints(outcome)[0], StartsWith("orvcim: "));
  EXPECT_THAT(complaints(outcome)[0], HasSubstr(text));
}

TEST(OrvcimBadInput, WrongUsage) {
  EXPECT_EQ(orvcimAsGiven({}).status, 2);
  EXPECT_EQ(orvcimAsGiven({"frobnicate"}).status, 2);
  EXPECT_EQ(orvcimAsGiven({"names"}).status, 2);
  EXPECT_EQ(orvcimAsGiven({"list", "--format", "xml"}).status, 2);
  EXPECT_EQ(orvcimAsGiven({"list", "--format", "xml"}).out, "");
}

TEST(OrvcimBadInput, HelpExplains) {
  const Outcome outcome = orvcimAsGiven({"--help"});
  EXPECT_EQ(outcome.status, 0);
  for (const char* word : {"list", "names", "instances", "get", "associators", "watch", "health",
                           "--format", "--simulate", "Exit status"}) {
    EXPECT_THAT(outcome.out, HasSubstr(word));
  }
}

TEST(OrvcimBadInput, AMissingLibrary) {
  expectBadInput(orvcimAsGiven({"list", "--schema", kSchema, "--library", "/nonexistent/x.so"}),
                 "library /nonexistent/x.so is not there");
}

TEST(OrvcimBadInput, AFileThatIsNoLibrary) {
  const TemporaryDirectory dir;
  const std::string file = dir.write("x.so", "not a library");
  expectBadInput(orvcimAsGiven({"list", "--schema", kSchema, "--library", file}),
                 "library " + file + " cannot be loaded: ");
}

TEST(OrvcimBadInput, ALibraryThatIsNoProvider) {
  Dl_info info{};
  ASSERT_NE(dladdr(reinterpret_cast<void*>(&gnu_get_libc_version), &info), 0);
  expectBadInput(orvcimAsGiven({"list", "--schema", kSchema, "--library", info.dli_fname}),
                 "is not a provider library");
}

TEST(OrvcimBadInput, AMissingSchema) {
  expectBadInput(orvcimAsGiven({"list", "--schema", "/nonexistent"}), "/nonexistent: ");
}

TEST(OrvcimBadInput, MalformedMof) {
  const TemporaryDirectory dir;
  dir.write("a.mof", "class T_A {\n  string 5;\n};\n");
  dir.write("a.reg", kRegistration);
  expectBadInput(orvcimAsGiven({"list", "--schema", dir.path()}),
                 dir.path() + "/a.mof:2: expected the property's name, not \"5\"");
}

TEST(OrvcimBadInput, MalformedRegistration) {
  const TemporaryDirectory dir;
  dir.write("a.mof", "class T_A {};\n");
  dir.write("a.reg", "[T_A]\ncolour: red\n");
  expectBadInput(orvcimAsGiven({"list", "--schema", dir.path()}),
                 dir.path() + "/a.reg:2: unknown key \"colour\"");
}

TEST(OrvcimBadInput, ASchemaWithoutRegistration) {
  const TemporaryDirectory dir;
  dir.write("a.mof", "class T_A {};\n");
  expectBadInput(orvcimAsGiven({"list", "--schema", dir.path()}), "holds no *.reg file");
}

TEST(OrvcimBadInput, MalformedHostFile) {
  const TemporaryDirectory dir;
  const std::string host = dir.write("host.json", "{\n \"ports\": [}\n");
  expectBadInput(orvcim({"list"}, host), "host file " + host + ": line 2, column 12: not JSON");
  const std::string misspelt = dir.write("misspelt.json", "{\"prts\": []}\n");
  expectBadInput(orvcim({"list"}, misspelt), "host file " + misspelt + ": /prts: unknown member");
  expectBadInput(orvcim({"list"}, "/nonexistent.json"),
                 "host file /nonexistent.json cannot be read");
}

TEST(OrvcimBadInput, AnObjectPathThatDoesNotParse) {
  expectBadInput(orvcim({"get", "Orvane_EthernetPort.DeviceID=nic0"}),
                 "object path, column 30: expected a quoted text, a number, true or false");
  expectBadInput(orvcim({"associators", "5"}), "object path, column 1: expected a class name");
}

TEST(OrvcimBadInput, WatchingWhatIsNoIndication) {
  expectBadInput(orvcim({"watch", "Orvane_EthernetPort"}),
                 "class Orvane_EthernetPort is not an indication");
  EXPECT_EQ(orvcim({"watch", "Orvane_Nothing"}).status, 1);
}

// ---- Watching ----

class OrvcimWatch : public testing::TestWithParam<int> {};

TEST_P(OrvcimWatch, PrintsHeartbeatsAndEndsWellOnASignal) {
  Program program({kOrvcim, "--simulate", kExampleHost, "--schema", kSchema, "--format", "json",
                   "watch", "Orvane_CIMHeartbeat", "Orvane_KernelIPChangedIndication"});
  ASSERT_TRUE(program.waitForOutput("\n"));
  program.signal(GetParam());
  const Outcome outcome = program.wait();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const json beat = json::parse(outcome.out.substr(0, outcome.out.find('\n')), nullptr, false);
  ASSERT_TRUE(beat.is_object()) << outcome.out;
  EXPECT_EQ(beat["class"], "Orvane_CIMHeartbeat");
  EXPECT_TRUE(beat["properties"]["stamp"].is_number_unsigned());
  EXPECT_NE(beat["properties"]["hostname"], "");
}

INSTANTIATE_TEST_SUITE_P(Signals, OrvcimWatch, testing::Values(SIGINT, SIGTERM));

// ---- Health ----

TEST(OrvcimHealth, AHostWithoutTroublesSaysSo) {
  const Outcome outcome = orvcim({"health"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out,
            "Health of the host: 0 (Unknown)\n\n"
            "No element has been seen in any health other than OK.\n");
}

class OrvcimHealthOfHardware : public testing::Test {
 protected:
  OrvcimHealthOfHardware() {
    setenv("ORV_HARDWARE_FILE", ORV_SOURCE_DIR "/tests/hardware_provider/example.txt", 1);
  }
  ~OrvcimHealthOfHardware() override { unsetenv("ORV_HARDWARE_FILE"); }

  static Outcome health(const std::vector<std::string>& more) {
    std::vector<std::string> arguments = {"health",
                                          "--schema",
                                          ORV_SOURCE_DIR "/tests/hardware_provider",
                                          "--library",
                                          ORV_BINARY_DIR "/lib/simulated/liborvprovider.so",
                                          "--library",
                                          ORV_BINARY_DIR "/lib/liborvhardware.so"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return orvcim(arguments);
  }
};

TEST_F(OrvcimHealthOfHardware, ShowsRollupAndRecordsInWordsAndNumbers) {
  const Outcome outcome = health({});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, StartsWith("Health of the host: 20 (Major failure)\n"));
  EXPECT_THAT(outcome.out, HasSubstr("CIM_Sensor"));
  EXPECT_THAT(outcome.out, HasSubstr("10 (Degraded/Warning)"));
  EXPECT_THAT(outcome.out, HasSubstr("Orvane_Battery"));
  EXPECT_THAT(outcome.out, HasSubstr("DeviceID=\"raid-0-battery\""));
}

TEST_F(OrvcimHealthOfHardware, ShowsThemAsJson) {
  const Outcome outcome = health({"--format", "json"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const json health = json::parse(outcome.out, nullptr, false);
  ASSERT_TRUE(health.is_object()) << outcome.out;
  EXPECT_EQ(health["rollup"]["properties"]["HealthState"], 20);
  ASSERT_EQ(health["records"].size(), 2u);
  EXPECT_EQ(health["records"][0]["properties"]["LatchedClassName"], "CIM_Sensor");
  EXPECT_EQ(health["records"][0]["properties"]["LatchedNamespace"], "root/cimv2");
  EXPECT_EQ(health["records"][1]["properties"]["HealthState"], 10);
}

// ---- Both libraries ----

constexpr const char* kWornDisk = R"({"systemName": "host-7", "hardware": {"disks": [
    {"id": "nvme-1", "name": "nvme0n1", "CriticalWarning": 1, "AvailableSpare": 3}]}})";

TEST(OrvcimHealthOfHost, NamesTheElementAndWhatIsWrongInWordsAndNumbers) {
  const SimulatedHostFile host(kWornDisk);
  const Outcome outcome = orvcimAsGiven({"--simulate", host.path(), "health"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, StartsWith("Health of the host: 20 (Major failure)\n"));
  EXPECT_THAT(outcome.out,
              HasSubstr("nvme0n1  critical warning: spare below threshold (3 %)  root/cimv2:"));
}

TEST(OrvcimHealthOfHost, TellsItAsJson) {
  const SimulatedHostFile host(kWornDisk);
  const Outcome outcome = orvcimAsGiven({"--simulate", host.path(), "health", "--format", "json"});
  const json health = json::parse(outcome.out, nullptr, false);
  ASSERT_TRUE(health.is_object()) << outcome.out;
  ASSERT_EQ(health["records"].size(), 1u);
  EXPECT_EQ(health["records"][0]["elementName"], "nvme0n1");
  EXPECT_EQ(health["records"][0]["now"], "20 (Major failure)");
  EXPECT_EQ(health["records"][0]["wrong"][0], "critical warning: spare below threshold (3 %)");
}

TEST(Orvcim, ServesTheClassesOfBothLibrariesWhereBothAreInstalled) {
  const Outcome outcome = orvcimAsGiven({"--simulate", kExampleHost, "list"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("Orvane_EthernetPort"));
  EXPECT_THAT(outcome.out, HasSubstr("OMC_UnitaryComputerSystem"));
}

TEST(Orvcim, LeadsFromTheSystemToPortsAndProcessorsAndBack) {
  const std::string system =
      R"(OMC_UnitaryComputerSystem.CreationClassName="OMC_UnitaryComputerSystem",Name="host-7")";
  const Outcome parts = orvcimAsGiven({"--simulate", kExampleHost, "associator-names", system});
  EXPECT_EQ(parts.status, 0) << parts.err;
  for (const char* part :
       {"Orvane_EthernetPort", "Orvane_Processor", "Orvane_HypervisorSoftwareIdentity"}) {
    EXPECT_THAT(parts.out, HasSubstr(part));
  }
  const std::string port =
      "Orvane_EthernetPort.SystemCreationClassName=\"OMC_UnitaryComputerSystem\","
      "SystemName=\"host-7\",CreationClassName=\"Orvane_EthernetPort\",DeviceID=\"nic0\"";
  const Outcome back = orvcimAsGiven(
      {"--simulate", kExampleHost, "associators", port, "--assoc-class", "Orvane_SystemDevice"});
  EXPECT_EQ(back.status, 0) << back.err;
  EXPECT_THAT(back.out, HasSubstr("instance of OMC_UnitaryComputerSystem"));
}

}  // namespace
}  // namespace orv::test
