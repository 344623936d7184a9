#include "platform/simulated/hsi_nodes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "platform/simulated/host_parser.h"

namespace simulated {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using List = std::unique_ptr<HSI_ParamList, decltype(&HSI_ParamListDestroy)>;

SimulatedHost parsedHost(std::string_view text) { return std::get<SimulatedHost>(parseHost(text)); }

List none() { return {HSI_ParamListCreate(1, 0), HSI_ParamListDestroy}; }

List named(std::initializer_list<const char*> names) {
  List list = none();
  for (const char* name : names) HSI_ParamListAddString(list.get(), name);
  return list;
}

List numbered(std::int32_t number) {
  List list = none();
  HSI_ParamListAddInt(list.get(), number);
  return list;
}

std::string text(const std::string& bytes, std::size_t offset, std::size_t size) {
  return bytes.substr(offset, size);
}

std::uint32_t word(const std::string& bytes, std::size_t offset) {
  std::uint32_t value = 0;
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

/// The node's bytes; the test fails when they cannot be read.
std::string read(const SimulatedHost& host, std::uint32_t node, const List& parameters,
                 std::size_t size) {
  std::string bytes(size, '\xee');
  EXPECT_EQ(readNode(host, node, parameters.get(), bytes.data(), size), 0) << node;
  return bytes;
}

/// 0 when the node can be read.
HSI_Status statusOfRead(const SimulatedHost& host, std::uint32_t node, const List& parameters,
                        std::size_t size) {
  std::string bytes(size, '\xee');
  const HSI_Status status = readNode(host, node, parameters.get(), bytes.data(), size);
  if (status != 0) {
    EXPECT_EQ(bytes, std::string(size, '\xee')) << "a failed read writes nothing";
  }
  return status;
}

List listed(const SimulatedHost& host, std::uint32_t node, const List& parameters) {
  HSI_ParamList* list = nullptr;
  EXPECT_EQ(listNode(host, node, parameters.get(), &list), 0) << node;
  return {list, HSI_ParamListDestroy};
}

std::vector<std::string> namesIn(const List& list) {
  std::vector<std::string> names;
  for (const HSI_Param& parameter : list->parameters) names.push_back(parameter.text);
  return names;
}

std::vector<std::int32_t> numbersIn(const List& list) {
  std::vector<std::int32_t> numbers;
  for (const HSI_Param& parameter : list->parameters) {
    EXPECT_FALSE(parameter.isText);
    numbers.push_back(parameter.number);
  }
  return numbers;
}

HSI_Status statusOfList(const SimulatedHost& host, std::uint32_t node, const List& parameters) {
  HSI_ParamList* list = nullptr;
  const HSI_Status status = listNode(host, node, parameters.get(), &list);
  EXPECT_EQ(list != nullptr, status == 0);
  HSI_ParamListDestroy(list);
  return status;
}

constexpr std::string_view kInterfaces = R"({"interfaces": [
    {"name": "hk0", "ipv4": {"address": "10.0.0.7", "netmask": "255.255.254.0"},
     "ipv6": [{"address": "fe80::1", "prefixLength": 64}, {"id": "b", "address": "fe80::2"}]},
    {"name": "hk1", "ipv4": {"address": "10.0.1.7", "netmask": null}},
    {"name": "hk2", "ipv4": null}]})";

constexpr std::string_view kProcessors = R"({"processors": {
    "powerPolicy": "balanced", "hyperThreading": 2, "modelName": "A CPU",
    "packages": [
      {"cores": [{"stepping": 7, "featureEbx": 1, "featureEcx": 2, "extendedEcx": 3,
                  "extendedEdx": 4}, {"running": false}], "coreCount": 5},
      {"cores": [{"vendor": "AuthenticAMD"}]}]}})";

TEST(HsiInterfaces, AreListedInTheOrderOfTheFile) {
  EXPECT_THAT(namesIn(listed(parsedHost(kInterfaces), 214, none())),
              ElementsAre("hk0", "hk1", "hk2"));
  EXPECT_THAT(namesIn(listed(parsedHost("{}"), 214, none())), IsEmpty());
}

TEST(HsiInterfaces, ParametersMayBeNullForANodeWithoutInstances) {
  HSI_ParamList* list = nullptr;
  ASSERT_EQ(listNode(parsedHost(kInterfaces), 214, nullptr, &list), 0);
  EXPECT_EQ(HSI_ParamListUsedCount(list), 3U);
  HSI_ParamListDestroy(list);
  std::array<char, 36> bytes{};
  EXPECT_EQ(readNode(parsedHost("{}"), 605, nullptr, bytes.data(), bytes.size()), 0);
}

TEST(HsiInterfaces, Ipv4IsFourBytesInNetworkOrder) {
  const SimulatedHost host = parsedHost(kInterfaces);
  EXPECT_EQ(read(host, 239, named({"hk0"}), 4), std::string("\x0a\x00\x00\x07", 4));
  EXPECT_EQ(read(host, 239, named({"hk1"}), 4), std::string("\x0a\x00\x01\x07", 4));
  EXPECT_EQ(read(host, 240, named({"hk0"}), 4), std::string("\xff\xff\xfe\x00", 4));
}

TEST(HsiInterfaces, NullIpv4FailsTheAddressAndTheNetmask) {
  const SimulatedHost host = parsedHost(kInterfaces);
  EXPECT_NE(statusOfRead(host, 239, named({"hk2"}), 4), 0);
  EXPECT_NE(statusOfRead(host, 240, named({"hk2"}), 4), 0);
}

TEST(HsiInterfaces, NullNetmaskFailsTheNetmaskAlone) {
  const SimulatedHost host = parsedHost(kInterfaces);
  EXPECT_EQ(statusOfRead(host, 239, named({"hk1"}), 4), 0);
  EXPECT_NE(statusOfRead(host, 240, named({"hk1"}), 4), 0);
}

TEST(HsiInterfaces, Ipv6AddressesAreListedByIdentifier) {
  const SimulatedHost host = parsedHost(kInterfaces);
  EXPECT_THAT(namesIn(listed(host, 243, named({"hk0"}))), ElementsAre("fe80::1", "b"));
  EXPECT_THAT(namesIn(listed(host, 243, named({"hk1"}))), IsEmpty());
  EXPECT_NE(statusOfList(host, 243, named({"hk9"})), 0);
}

TEST(HsiInterfaces, Ipv6ValueIsTextAndPrefixLength) {
  const SimulatedHost host = parsedHost(kInterfaces);
  const std::string first = read(host, 244, named({"hk0", "fe80::1"}), 68);
  EXPECT_STREQ(first.c_str(), "fe80::1");
  EXPECT_EQ(word(first, 48), 64U);
  const std::string second = read(host, 244, named({"hk0", "b"}), 68);
  EXPECT_STREQ(second.c_str(), "fe80::2");
  EXPECT_EQ(word(second, 48), 0U);
  EXPECT_NE(statusOfRead(host, 244, named({"hk0", "fe80::2"}), 68), 0) << "the id counts";
  EXPECT_NE(statusOfRead(host, 244, named({"hk1", "b"}), 68), 0) << "of another interface";
}

TEST(HsiInterfaces, Ipv6TextIsCutToItsField) {
  const SimulatedHost host = parsedHost(
      R"({"interfaces": [{"name": "hk0", "ipv6": [{"id": "a", "prefixLength": 65,
          "address": "0123456789012345678901234567890123456789012345678901234567890"}]}]})");
  const std::string value = read(host, 244, named({"hk0", "a"}), 68);
  EXPECT_EQ(text(value, 0, 48), "012345678901234567890123456789012345678901234567");
  EXPECT_EQ(word(value, 48), 65U);
}

TEST(HsiProcessors, TopologyBeginsWithHyperThreading) {
  const std::string value = read(parsedHost(kProcessors), 605, none(), 36);
  EXPECT_EQ(word(value, 0), 2U);
  EXPECT_EQ(text(value, 4, 32), std::string(32, '\0'));
}

TEST(HsiProcessors, ModelNameFillsItsNodeWithoutNul) {
  EXPECT_STREQ(read(parsedHost(kProcessors), 606, none(), 48).c_str(), "A CPU");
  const SimulatedHost host = parsedHost(
      R"({"processors": {"modelName": "0123456789012345678901234567890123456789012345678901"}})");
  EXPECT_EQ(read(host, 606, none(), 48), "012345678901234567890123456789012345678901234567");
}

TEST(HsiProcessors, PowerPolicyStandsFromByteEight) {
  const std::string value = read(parsedHost(kProcessors), 1444, none(), 588);
  EXPECT_EQ(text(value, 0, 8), std::string(8, '\0'));
  EXPECT_STREQ(value.c_str() + 8, "balanced");
}

TEST(HsiProcessors, PowerPolicyAlwaysEndsWithNul) {
  const SimulatedHost host =
      parsedHost(R"({"processors": {"powerPolicy": ")" + std::string(600, 'x') + "\"}}");
  const std::string value = read(host, 1444, none(), 588);
  EXPECT_EQ(text(value, 8, 579), std::string(579, 'x'));
  EXPECT_EQ(value[587], '\0');
}

TEST(HsiProcessors, CoresAreNumberedThroughAllPackages) {
  const SimulatedHost host = parsedHost(kProcessors);
  EXPECT_THAT(numbersIn(listed(host, 607, none())), ElementsAre(0, 1, 2));
  EXPECT_THAT(numbersIn(listed(host, 608, none())), ElementsAre(0, 1));
  EXPECT_THAT(numbersIn(listed(parsedHost("{}"), 608, none())), IsEmpty());
  EXPECT_THAT(numbersIn(listed(parsedHost("{}"), 607, none())), IsEmpty());
}

TEST(HsiProcessors, PackageTellsTheCountOfTheFile) {
  const SimulatedHost host = parsedHost(kProcessors);
  EXPECT_EQ(word(read(host, 608, numbered(0), 4), 0), 5U);
  EXPECT_EQ(word(read(host, 608, numbered(1), 4), 0), 1U);
}

TEST(HsiProcessors, CoreDataStandsAtItsOffsets) {
  std::string expected(200, '\0');
  expected[3] = 7;
  expected.replace(48, 4, "Genu").replace(52, 4, "ntel").replace(56, 4, "ineI");
  expected[64] = 1;
  expected[68] = 2;
  expected[100] = 3;
  expected[104] = 4;
  EXPECT_EQ(read(parsedHost(kProcessors), 607, numbered(0), 200), expected);
}

TEST(HsiProcessors, VendorRegistersAreEbxEcxEdx) {
  const std::string value = read(parsedHost(kProcessors), 607, numbered(2), 200);
  EXPECT_EQ(text(value, 48, 12), "AuthcAMDenti");
}

TEST(HsiProcessors, RunningIsByte64OfTheState) {
  const SimulatedHost host = parsedHost(kProcessors);
  EXPECT_NE(read(host, 800, numbered(0), 160)[64], 0);
  EXPECT_EQ(read(host, 800, numbered(1), 160), std::string(160, '\0'));
  EXPECT_NE(read(host, 800, numbered(2), 160)[64], 0);
}

TEST(HsiProcessors, DetailCanBeReadOfEveryCore) {
  const SimulatedHost host = parsedHost(kProcessors);
  for (std::int32_t core : {0, 1, 2}) EXPECT_EQ(statusOfRead(host, 801, numbered(core), 76), 0);
}

TEST(HsiProcessors, AnInstancePastTheEndOrNegativeFails) {
  const SimulatedHost host = parsedHost(kProcessors);
  EXPECT_NE(statusOfRead(host, 607, numbered(3), 200), 0);
  EXPECT_NE(statusOfRead(host, 607, numbered(-1), 200), 0);
  EXPECT_NE(statusOfRead(host, 608, numbered(2), 4), 0);
  EXPECT_NE(statusOfRead(host, 608, numbered(-1), 4), 0);
  EXPECT_NE(statusOfRead(host, 800, numbered(3), 160), 0);
  EXPECT_NE(statusOfRead(host, 801, numbered(3), 76), 0);
}

struct SizedNode {
  std::uint32_t node;
  std::size_t size;
};

List instanceOf(std::uint32_t node) {
  switch (node) {
    case 239:
    case 240:
      return named({"hk0"});
    case 244:
      return named({"hk0", "b"});
    case 607:
    case 608:
    case 800:
    case 801:
      return numbered(0);
    default:
      return none();
  }
}

constexpr SizedNode kSizedNodes[] = {{239, 4},   {240, 4}, {244, 68},  {605, 36}, {606, 48},
                                     {607, 200}, {608, 4}, {800, 160}, {801, 76}, {1444, 588}};

SimulatedHost fullHost() {
  SimulatedHost host = parsedHost(kProcessors);
  host.interfaces = parsedHost(kInterfaces).interfaces;
  return host;
}

TEST(HsiReads, OnlyTheExactSizeIsRight) {
  const SimulatedHost host = fullHost();
  for (const auto& [node, size] : kSizedNodes) {
    EXPECT_EQ(statusOfRead(host, node, instanceOf(node), size), 0) << node;
    EXPECT_NE(statusOfRead(host, node, instanceOf(node), size - 1), 0) << node;
    EXPECT_NE(statusOfRead(host, node, instanceOf(node), size + 1), 0) << node;
  }
}

TEST(HsiReads, NullValueFails) { EXPECT_NE(readNode(fullHost(), 605, nullptr, nullptr, 36), 0); }

TEST(HsiReads, TheNumberOfParametersMustFit) {
  const SimulatedHost host = fullHost();
  for (const auto& [node, size] : kSizedNodes) {
    const List more = instanceOf(node);
    HSI_ParamListAddString(more.get(), "hk0");
    EXPECT_NE(statusOfRead(host, node, more, size), 0) << node;
    const List fewer = instanceOf(node);
    if (HSI_ParamListRemoveLastParam(fewer.get()) != 0) continue;
    EXPECT_NE(statusOfRead(host, node, fewer, size), 0) << node;
  }
}

TEST(HsiReads, TheTypeOfTheParameterMustFit) {
  const SimulatedHost host = fullHost();
  EXPECT_NE(statusOfRead(host, 239, numbered(0), 4), 0);
  EXPECT_NE(statusOfRead(host, 607, named({"0"}), 200), 0);
  EXPECT_NE(statusOfRead(host, 608, named({"0"}), 4), 0);
}

TEST(HsiReads, NodesOfTheOtherKindAndUnknownOnesFail) {
  const SimulatedHost host = fullHost();
  EXPECT_NE(statusOfRead(host, 214, none(), 4), 0);
  EXPECT_NE(statusOfRead(host, 243, named({"hk0"}), 4), 0);
  EXPECT_NE(statusOfRead(host, 1, none(), 4), 0);
  EXPECT_NE(statusOfList(host, 605, none()), 0);
  EXPECT_NE(statusOfList(host, 800, none()), 0);
  EXPECT_NE(statusOfList(host, 1, none()), 0);
}

TEST(HsiLists, TheNumberOfParametersMustFit) {
  const SimulatedHost host = fullHost();
  for (std::uint32_t node : {214U, 607U, 608U}) EXPECT_NE(statusOfList(host, node, numbered(0)), 0);
  EXPECT_NE(statusOfList(host, 243, none()), 0);
  EXPECT_NE(listNode(host, 214, nullptr, nullptr), 0);
}

TEST(HsiFaults, AFailingNodeFailsEveryReadAndList) {
  for (const auto& [node, size] : kSizedNodes) {
    SimulatedHost host = fullHost();
    host.hsi.failNodes = {node};
    EXPECT_EQ(statusOfRead(host, node, instanceOf(node), size), 1) << node;
    for (const auto& [other, otherSize] : kSizedNodes) {
      if (other == node) continue;
      EXPECT_EQ(statusOfRead(host, other, instanceOf(other), otherSize), 0) << other;
    }
  }
  for (std::uint32_t node : {214U, 243U, 607U, 608U}) {
    SimulatedHost host = fullHost();
    host.hsi.failNodes = {node};
    EXPECT_EQ(statusOfList(host, node, node == 243 ? named({"hk0"}) : none()), 1) << node;
  }
}

TEST(HsiFaults, AFailingInterfaceFailsItsOwnReadAlone) {
  SimulatedHost host = fullHost();
  host.hsi =
      parsedHost(R"({"hsi": {"failInstances": {"239": ["hk1"], "240": ["hk0"], "243": ["hk2"]}}})")
          .hsi;
  EXPECT_EQ(statusOfRead(host, 239, named({"hk0"}), 4), 0);
  EXPECT_EQ(statusOfRead(host, 239, named({"hk1"}), 4), 1);
  EXPECT_EQ(statusOfRead(host, 240, named({"hk0"}), 4), 1);
  EXPECT_EQ(statusOfList(host, 243, named({"hk0"})), 0);
  EXPECT_EQ(statusOfList(host, 243, named({"hk2"})), 1);
}

TEST(HsiFaults, AFailingAddressIsNamedByItsIdentifier) {
  SimulatedHost host = fullHost();
  host.hsi = parsedHost(R"({"hsi": {"failInstances": {"244": ["b", "hk0"]}}})").hsi;
  EXPECT_EQ(statusOfRead(host, 244, named({"hk0", "fe80::1"}), 68), 0);
  EXPECT_EQ(statusOfRead(host, 244, named({"hk0", "b"}), 68), 1);
  EXPECT_THAT(namesIn(listed(host, 243, named({"hk0"}))), ElementsAre("fe80::1", "b"));
}

TEST(HsiFaults, AFailingPackageOrCoreIsNumbered) {
  const struct {
    const char* hsi;
    std::uint32_t node;
    std::size_t size;
  } kRows[] = {{R"({"hsi": {"failInstances": {"607": [1]}}})", 607, 200},
               {R"({"hsi": {"failInstances": {"608": [1]}}})", 608, 4},
               {R"({"hsi": {"failInstances": {"800": [1]}}})", 800, 160},
               {R"({"hsi": {"failInstances": {"801": [1]}}})", 801, 76}};
  for (const auto& row : kRows) {
    SimulatedHost host = fullHost();
    host.hsi = parsedHost(row.hsi).hsi;
    EXPECT_EQ(statusOfRead(host, row.node, numbered(0), row.size), 0) << row.node;
    EXPECT_EQ(statusOfRead(host, row.node, numbered(1), row.size), 1) << row.node;
  }
}

TEST(HsiFaults, FailingInstancesAreStillListed) {
  SimulatedHost host = fullHost();
  host.hsi = parsedHost(R"({"hsi": {"failInstances": {"607": [0], "608": [0]}}})").hsi;
  EXPECT_THAT(numbersIn(listed(host, 607, none())), ElementsAre(0, 1, 2));
  EXPECT_THAT(numbersIn(listed(host, 608, none())), ElementsAre(0, 1));
}

}  // namespace
}  // namespace simulated
