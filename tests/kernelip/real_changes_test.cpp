#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kernelip/kernel_ip_indication.h"
#include "tests/kernelip/network_namespace.h"
#include "tests/support/recording_broker.h"

extern "C" CMPIInstanceMI* KernelIPProtocolEndpointProvider_Create_InstanceMI(const CMPIBroker*,
                                                                              const CMPIContext*,
                                                                              CMPIStatus*);

namespace {

using orv::broker::Instance;
using orv::test::addressesThatIpLists;
using orv::test::ip;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

/// Changes real addresses in a network of its own.
class RealChanges : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = orv::test::reasonAgainstNetworkNamespaces();
    if (!reason.empty()) GTEST_SKIP() << reason;
    orv::test::enterNetworkNamespace();
  }

  void watch() { detector_.enableIndication(); }

  /// "interface previous -> source" for each indication of one pass.
  std::vector<std::string> pass() {
    const std::size_t before = broker_.deliveryCount();
    detector_.testAndSend(broker_.context(), broker_.broker());
    std::vector<std::string> changes;
    for (std::size_t index = before; index < broker_.deliveryCount(); ++index) {
      changes.push_back(textOf(broker_.deliveries()[index].indication));
    }
    return changes;
  }

  /// The addresses that the provider publishes, in the form of addressesThatIpLists.
  std::vector<std::string> endpoints(const std::string& className);

  orv::test::RecordingBroker broker_;
  ORV::KernelIpIndication detector_;

 private:
  static std::string addressOf(const Instance& endpoint) {
    const auto* ipv4 = endpoint.property("IPv4Address");
    if (ipv4 != nullptr && !ipv4->null) {
      return ipv4->text() + "/" + endpoint.property("SubnetMask")->text();
    }
    return endpoint.property("IPv6ddress")->text() + "/" +
           std::to_string(endpoint.property("PrefixLength")->number());
  }
  static std::string textOf(const Instance& indication) {
    const Instance& source = indication.property("SourceInstance")->instance();
    const Instance& previous = indication.property("PreviousInstance")->instance();
    return source.property("Name")->text() + " " + addressOf(previous) + " -> " + addressOf(source);
  }
};

int prefixOf(const std::string& netmask) {
  int bits = 0;
  int part = 0;
  for (const char c : netmask + ".") {
    if (c != '.') {
      part = part * 10 + (c - '0');
    } else {
      for (; part != 0; part &= part - 1) ++bits;
    }
  }
  return bits;
}

std::vector<std::string> RealChanges::endpoints(const std::string& className) {
  const CMPIContext* context = broker_.context().getEnc();
  CMPIInstanceMI* mi = KernelIPProtocolEndpointProvider_Create_InstanceMI(
      broker_.broker()->getEnc(), context, nullptr);
  orv::broker::ObjectPath path;
  path.nameSpace = "root/cimv2";
  path.className = className;
  orv::broker::RecordingResult result(broker_.scope());
  mi->ft->enumerateInstances(mi, context, result.record(), broker_.scope().make(path), nullptr);
  std::vector<std::string> texts;
  for (const Instance& endpoint : result.instances()) {
    const bool isIpv4 = endpoint.path.className == "Orvane_KernelIPv4ProtocolEndpoint";
    const std::string address = endpoint.property(isIpv4 ? "IPv4Address" : "IPv6Address")->text();
    const auto prefix = isIpv4 ? prefixOf(endpoint.property("SubnetMask")->text())
                               : static_cast<int>(endpoint.property("PrefixLength")->number());
    texts.push_back(endpoint.property("Name")->text() + " " + address + "/" +
                    std::to_string(prefix));
  }
  return texts;
}

TEST_F(RealChanges, AReplacedIpv4AddressIsSent) {
  ip("address add 192.0.2.1/24 dev left0");
  ip("address add 192.0.2.9/24 dev right0");
  watch();
  EXPECT_THAT(pass(), IsEmpty());
  ip("address del 192.0.2.1/24 dev left0");
  ip("address add 192.0.2.2/24 dev left0");
  EXPECT_THAT(pass(), ElementsAre("left0 192.0.2.1/255.255.255.0 -> 192.0.2.2/255.255.255.0"));
  EXPECT_THAT(pass(), IsEmpty());
}

TEST_F(RealChanges, AChangedNetmaskIsSent) {
  ip("address add 192.0.2.1/24 dev left0");
  watch();
  ip("address del 192.0.2.1/24 dev left0");
  ip("address add 192.0.2.1/16 dev left0");
  EXPECT_THAT(pass(), ElementsAre("left0 192.0.2.1/255.255.255.0 -> 192.0.2.1/255.255.0.0"));
}

TEST_F(RealChanges, AReplacedIpv6AddressIsSent) {
  ip("address add 2001:db8::1/64 dev left0 nodad");
  watch();
  ip("address del 2001:db8::1/64 dev left0");
  ip("address add 2001:db8::2/48 dev left0 nodad");
  EXPECT_THAT(pass(), ElementsAre("left0 2001:db8::1/64 -> 2001:db8::2/48"));
}

TEST_F(RealChanges, AChangedIpv6PrefixIsNotSent) {
  ip("address add 2001:db8::1/64 dev left0 nodad");
  watch();
  ip("address del 2001:db8::1/64 dev left0");
  ip("address add 2001:db8::1/48 dev left0 nodad");
  EXPECT_THAT(pass(), IsEmpty());
}

TEST_F(RealChanges, AnAddressAddedBesideASurvivorIsNotSent) {
  ip("address add 192.0.2.1/24 dev left0");
  ip("address add 2001:db8::1/64 dev left0 nodad");
  watch();
  ip("address add 192.0.2.2/24 dev left0");
  ip("address add 2001:db8::2/64 dev left0 nodad");
  EXPECT_THAT(pass(), IsEmpty());
}

TEST_F(RealChanges, ARemovedAddressIsNotSent) {
  ip("address add 192.0.2.1/24 dev left0");
  ip("address add 198.51.100.1/24 dev left0");
  ip("address add 2001:db8::1/64 dev left0 nodad");
  watch();
  ip("address del 192.0.2.1/24 dev left0");
  ip("address del 2001:db8::1/64 dev left0");
  EXPECT_THAT(pass(), IsEmpty());
}

TEST_F(RealChanges, AFamilyAddedWithAReplacementIsNotSent) {
  ip("address add 192.0.2.1/24 dev left0");
  watch();
  ip("address del 192.0.2.1/24 dev left0");
  ip("address add 192.0.2.2/24 dev left0");
  ip("address add 2001:db8::1/64 dev left0 nodad");
  EXPECT_THAT(pass(), ElementsAre("left0 192.0.2.1/255.255.255.0 -> 192.0.2.2/255.255.255.0"));
}

TEST_F(RealChanges, TwoIpv6AddressesReplacedByOneAreSentAsTwo) {
  ip("address add 2001:db8::1/64 dev left0 nodad");
  ip("address add 2001:db8::2/64 dev left0 nodad");
  watch();
  ip("address del 2001:db8::1/64 dev left0");
  ip("address del 2001:db8::2/64 dev left0");
  ip("address add 2001:db8::3/64 dev left0 nodad");
  EXPECT_THAT(pass(), testing::UnorderedElementsAre("left0 2001:db8::1/64 -> 2001:db8::3/64",
                                                    "left0 2001:db8::2/64 -> 2001:db8::3/64"));
}

TEST_F(RealChanges, AnInterfaceThatComesIsNotSentAndWatchedAfterwards) {
  watch();
  ip("link add come0 type veth peer name come1");
  ip("address add 192.0.2.1/24 dev come0");
  EXPECT_THAT(pass(), IsEmpty());
  ip("address del 192.0.2.1/24 dev come0");
  ip("address add 192.0.2.2/24 dev come0");
  EXPECT_THAT(pass(), ElementsAre("come0 192.0.2.1/255.255.255.0 -> 192.0.2.2/255.255.255.0"));
}

TEST_F(RealChanges, AnInterfaceThatGoesIsNotSent) {
  ip("address add 192.0.2.1/24 dev left0");
  ip("address add 2001:db8::1/64 dev right0 nodad");
  watch();
  ip("link del left0");
  EXPECT_THAT(pass(), IsEmpty());
}

TEST_F(RealChanges, AreSentTogetherInTheOrderOfNames) {
  ip("address add 192.0.2.1/24 dev right0");
  ip("address add 192.0.2.3/24 dev left0");
  watch();
  ip("address del 192.0.2.1/24 dev right0");
  ip("address del 192.0.2.3/24 dev left0");
  ip("address add 192.0.2.2/24 dev right0");
  ip("address add 192.0.2.4/24 dev left0");
  EXPECT_THAT(pass(), ElementsAre("left0 192.0.2.3/255.255.255.0 -> 192.0.2.4/255.255.255.0",
                                  "right0 192.0.2.1/255.255.255.0 -> 192.0.2.2/255.255.255.0"));
}

TEST_F(RealChanges, APeersAddressDoesNotSpoilThePrefixLength) {
  // The system's entry has the peer's socket address after the mask.
  ip("address add 2001:db8::1/64 dev left0 nodad");
  watch();
  ip("address del 2001:db8::1/64 dev left0");
  ip("address add 2001:db8::2 peer 2001:db8::3/64 dev left0 nodad");
  EXPECT_THAT(pass(), ElementsAre("left0 2001:db8::1/64 -> 2001:db8::2/64"));
}

TEST_F(RealChanges, EndpointsAreTheAddressesThatIpLists) {
  ip("address add 192.0.2.1/20 dev left0");
  ip("address add 192.0.2.9/24 dev right0");
  ip("address add 2001:db8::1/64 dev left0 nodad");
  ip("address add fe80::7/10 dev left0 nodad");
  ip("address add 2001:db8::9/127 dev right0 nodad");
  ip("link set lo up");
  const auto ipv4 = addressesThatIpLists(4);
  const auto ipv6 = addressesThatIpLists(6);
  ASSERT_EQ(2U, ipv4.size());
  ASSERT_EQ(3U, ipv6.size());
  EXPECT_THAT(endpoints("Orvane_KernelIPv4ProtocolEndpoint"), UnorderedElementsAreArray(ipv4));
  EXPECT_THAT(endpoints("Orvane_KernelIPv6ProtocolEndpoint"), UnorderedElementsAreArray(ipv6));
  EXPECT_EQ(5U, endpoints("CIM_IPProtocolEndpoint").size());
}

TEST_F(RealChanges, EndpointsOfANetworkWithoutAddressesAreNone) {
  EXPECT_THAT(endpoints("CIM_IPProtocolEndpoint"), IsEmpty());
}

}  // namespace
