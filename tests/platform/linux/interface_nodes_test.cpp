#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/route_socket.h"
#include "platform/network_info.h"
#include "tests/platform/linux/kernel_information.h"
#include "tests/platform/linux/network_namespace.h"
#include "tests/platform/linux/tool_output.h"

// The interface nodes of the kernel information interface, on this machine and in network
// namespaces with links of the test's own, compared with what the ip command says.

namespace LinuxHost {
namespace {

using nlohmann::json;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

/// "10.0.0.7/24" of an interface, or nothing when it has no IPv4 address.
std::optional<std::string> ipv4Of(const std::string& name) {
  const auto address = nodeValue<4>(kHsiInterfaceIpv4, parameterList({name}));
  const auto mask = nodeValue<4>(kHsiInterfaceNetmask, parameterList({name}));
  EXPECT_EQ(address.has_value(), mask.has_value());
  if (!address || !mask) return {};
  char text[INET_ADDRSTRLEN];
  std::uint32_t bits = 0;
  std::memcpy(&bits, mask->data(), sizeof bits);
  inet_ntop(AF_INET, address->data(), text, sizeof text);
  return std::string(text) + "/" + std::to_string(__builtin_popcount(bits));
}

/// "fd00::2/64" of each IPv6 address of an interface.
std::vector<std::string> ipv6Of(const std::string& name) {
  std::vector<std::string> addresses;
  for (const std::string& id : nodeNames(kHsiInterfaceIpv6List, parameterList({name}))
                                   .value_or(std::vector<std::string>())) {
    const auto value =
        nodeValue<sizeof(HsiIpv6Address)>(kHsiInterfaceIpv6, parameterList({name, id}));
    if (!value) {
      ADD_FAILURE() << name << " lists " << id << " and does not know it";
      continue;
    }
    std::uint32_t prefixLength = 0;
    std::memcpy(&prefixLength, value->data() + 48, sizeof prefixLength);
    addresses.push_back(std::string(reinterpret_cast<const char*>(value->data())) + "/" +
                        std::to_string(prefixLength));
  }
  return addresses;
}

std::string withPrefix(const json& address) {
  return address["local"].get<std::string>() + "/" +
         std::to_string(address["prefixlen"].get<int>());
}

/// Compares every interface node with `ip -json address`; false when there is no such command.
bool compareWithIp() {
  const auto text = toolOutput("ip -json address");
  if (!text) return false;
  EXPECT_EQ(HSI_CheckSig(21), 0);
  std::vector<std::string> names;
  for (const json& link : json::parse(*text)) {
    if (link.empty()) continue;
    const auto flags = link["flags"].get<std::vector<std::string>>();
    if (std::find(flags.begin(), flags.end(), "LOOPBACK") != flags.end()) continue;
    const std::string name = link["ifname"];
    names.push_back(name);
    std::optional<std::string> ipv4;
    std::vector<std::string> ipv6;
    for (const json& address : link["addr_info"]) {
      if (address["family"] == "inet6") {
        ipv6.push_back(withPrefix(address));
      } else if (!ipv4) {
        ipv4 = withPrefix(address);
      }
    }
    EXPECT_EQ(ipv4Of(name), ipv4) << name;
    EXPECT_EQ(ipv6Of(name), ipv6) << name;
  }
  EXPECT_EQ(nodeNames(kHsiNetInterfaces), names);
  return true;
}

/// Whether every ip command succeeds.
bool ip(const std::vector<std::string>& commands) {
  return std::all_of(commands.begin(), commands.end(), [](const std::string& command) {
    const bool done = toolOutput("ip " + command).has_value();
    if (!done) ADD_FAILURE() << "ip " << command;
    return done;
  });
}

#define SKIP_WITHOUT_NAMESPACE(work)                                          \
  if (!toolOutput("ip -V")) GTEST_SKIP() << "no ip command";                  \
  if (const std::string refusal = inNetworkNamespace(work); !refusal.empty()) \
  GTEST_SKIP() << refusal

TEST(InterfaceNodes, AgreeWithIpOnThisMachine) {
  if (!compareWithIp()) GTEST_SKIP() << "no ip command";
}

TEST(InterfaceNodes, AgreeWithIpOnLinksOfTheTestsOwn) {
  SKIP_WITHOUT_NAMESPACE([] {
    ASSERT_TRUE(ip({"link set lo up", "link add orv0 type veth peer name orv1",
                    "addr add 10.0.0.7/24 dev orv0", "addr add 10.0.0.8/24 dev orv0",
                    "addr add 172.16.0.1/31 dev orv0", "addr add fd00::7/64 dev orv0",
                    "addr add fd00::8/128 dev orv0", "link set orv0 up", "link set orv1 up",
                    "link add orvbr0 type bridge"}));
    ASSERT_TRUE(compareWithIp());
    EXPECT_EQ(ipv4Of("orv0"), "10.0.0.7/24") << "the primary address";
    EXPECT_THAT(ipv6Of("orv0"), Contains("fd00::7/64"));
    EXPECT_EQ(ipv4Of("orv1"), std::nullopt);
    EXPECT_EQ(ipv4Of("lo"), std::nullopt);
  });
}

TEST(InterfaceNodes, TellTheOwnEndOfAPointToPointLink) {
  SKIP_WITHOUT_NAMESPACE([] {
    ASSERT_TRUE(
        ip({"link add orv0 type veth peer name orv1", "addr add 10.0.0.1 peer 10.0.0.2/32 dev orv0",
            "addr add fd00::1 peer fd00::2/128 dev orv0"}));
    ASSERT_EQ(HSI_CheckSig(21), 0);
    EXPECT_EQ(ipv4Of("orv0"), "10.0.0.1/32");
    EXPECT_THAT(ipv6Of("orv0"), ElementsAre("fd00::1/128"));
  });
}

TEST(InterfaceNodes, ShowOneStateUntilTheNextQueryBegins) {
  SKIP_WITHOUT_NAMESPACE([] {
    ASSERT_TRUE(ip({"link add orv0 type veth peer name orv1", "addr add 10.0.0.7/24 dev orv0"}));
    ASSERT_EQ(HSI_CheckSig(21), 0);
    EXPECT_EQ(ipv4Of("orv0"), "10.0.0.7/24");
    ASSERT_TRUE(ip({"addr flush dev orv0", "addr add 10.0.0.9/16 dev orv0"}));
    EXPECT_EQ(ipv4Of("orv0"), "10.0.0.7/24");
    ASSERT_EQ(HSI_CheckSig(21), 0);
    EXPECT_EQ(ipv4Of("orv0"), "10.0.0.9/16");
  });
}

TEST(InterfaceNodes, OfAHostWithLoopbackAloneAreNone) {
  SKIP_WITHOUT_NAMESPACE([] {
    ASSERT_TRUE(ip({"link set lo up"}));
    ASSERT_EQ(HSI_CheckSig(21), 0);
    EXPECT_THAT(nodeNames(kHsiNetInterfaces), Optional(IsEmpty()));
  });
}

TEST(InterfaceNodes, BelongToTheThreadThatAsks) {
  // Two namespaces at once, each with an interface of its own name.
  std::vector<std::string> refusals(2);
  std::vector<std::optional<std::vector<std::string>>> names(2);
  if (!toolOutput("ip -V")) GTEST_SKIP() << "no ip command";
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < 2; ++i) {
    threads.emplace_back([&, i] {
      refusals[i] = inNetworkNamespace([&, i] {
        const std::string mine = "orv" + std::to_string(i);
        ip({"link add " + mine + " type bridge"});
        for (int round = 0; round < 50; ++round) {
          HSI_CheckSig(21);
          names[i] = nodeNames(kHsiNetInterfaces);
        }
      });
    });
  }
  for (std::thread& thread : threads) thread.join();
  if (!refusals[0].empty()) GTEST_SKIP() << refusals[0];
  EXPECT_THAT(names[0], Optional(ElementsAre("orv0")));
  EXPECT_THAT(names[1], Optional(ElementsAre("orv1")));
}

TEST(RouteSocket, FindsALinkByEitherNameAndAnswersWithItsOwn) {
  SKIP_WITHOUT_NAMESPACE([] {
    ASSERT_TRUE(ip(
        {"link add orv0 type veth peer name orv1", "link property add dev orv0 altname orvother"}));
    RouteSocket socket;
    const auto byAlternative = socket.findLink("orvother");
    ASSERT_TRUE(byAlternative.has_value());
    EXPECT_EQ(byAlternative->name, "orv0");
    EXPECT_FALSE(socket.findLink("orv9").has_value());
    EXPECT_TRUE(socket.findLink("orv1").has_value()) << "after a refusal the socket still works";
  });
}

TEST(RouteSocket, HasRoomForALinkOfManyNames) {
  SKIP_WITHOUT_NAMESPACE([] {
    ASSERT_TRUE(ip({"link add orv0 type veth peer name orv1"}));
    for (int block = 0; block < 10; ++block) {  // 300 names of 120 bytes are 37 KiB
      std::string command = "link property add dev orv0";
      for (int i = 0; i < 30; ++i) {
        const std::string number = std::to_string(1000 + block * 30 + i);
        command += " altname " + number + std::string(116, 'x');
      }
      ASSERT_TRUE(ip({command}));
    }
    RouteSocket socket;
    const auto link = socket.findLink("orv0");
    ASSERT_TRUE(link.has_value());
    EXPECT_EQ(link->name, "orv0");
    EXPECT_TRUE(socket.findLink("orv1").has_value());
  });
}

TEST(RouteSocket, DumpsMoreLinksThanOneMessageHolds) {
  SKIP_WITHOUT_NAMESPACE([] {
    std::vector<std::string> commands;
    for (int i = 0; i < 60; ++i) {
      commands.push_back("link add orv" + std::to_string(i) + " type bridge");
    }
    ASSERT_TRUE(ip(commands));
    EXPECT_EQ(RouteSocket().dumpLinks().size(), 61U) << "loopback is one, too";
  });
}

TEST(HostPorts, DoNotIncludeAVeth) {
  SKIP_WITHOUT_NAMESPACE([] {
    ASSERT_TRUE(ip({"link add orv0 type veth peer name orv1", "link set orv0 up"}));
    HykCtl::Network::NetworkInfoImpl info;
    EXPECT_THAT(info.GetPnics(), IsEmpty());
    EXPECT_EQ(info.GetPnicByName("orv0"), nullptr);
  });
}

}  // namespace
}  // namespace LinuxHost
