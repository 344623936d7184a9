// Addresses of interfaces of many kinds: what is published beside what ip says in the guest, and
// what is told when they change.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/guest/guest.h"

namespace orv::test {
namespace {

using nlohmann::json;
using testing::UnorderedElementsAreArray;

constexpr char kIpv4Class[] = "Orvane_KernelIPv4ProtocolEndpoint";
constexpr char kIpv6Class[] = "Orvane_KernelIPv6ProtocolEndpoint";

// "255.255.240.0" of 20.
std::string netmask(int prefix) {
  std::string text;
  for (int byte = 0; byte < 4; ++byte) {
    const int bits = std::clamp(prefix - 8 * byte, 0, 8);
    text += (byte == 0 ? "" : ".") + std::to_string(256 - (1 << (8 - bits)));
  }
  return text;
}

json endpoint(const std::string& className, const std::string& interface, int protocol) {
  return {{"SystemCreationClassName", "OMC_UnitaryComputerSystem"},
          {"SystemName", "guest"},
          {"CreationClassName", className},
          {"Name", interface},
          {"ElementName", interface},
          {"NameFormat", "Hykernel Interface Name"},
          {"ProtocolIFType", protocol}};
}

json ipv4Endpoint(const std::string& interface, const json& address) {
  json expected = endpoint(kIpv4Class, interface, 4096);
  expected["IPv4Address"] = address["local"];
  expected["SubnetMask"] = netmask(address["prefixlen"]);
  return expected;
}

json ipv6Endpoint(const std::string& interface, const json& address) {
  json expected = endpoint(kIpv6Class, interface, 4097);
  expected["IPv6Address"] = address["local"];
  expected["PrefixLength"] = address["prefixlen"];
  return expected;
}

// Of each interface but loopback, in the kernel's order, the first IPv4 address and all IPv6
// addresses.
void addExpected(const json& links, json& ipv4, json& ipv6) {
  for (const json& link : links) {
    if (link.empty()) continue;
    const json& flags = link["flags"];
    if (std::find(flags.begin(), flags.end(), "LOOPBACK") != flags.end()) continue;
    bool hasIpv4 = false;
    for (const json& address : link["addr_info"]) {
      if (address["family"] == "inet6") {
        ipv6.push_back(ipv6Endpoint(link["ifname"], address));
      } else if (!hasIpv4) {
        ipv4.push_back(ipv4Endpoint(link["ifname"], address));
        hasIpv4 = true;
      }
    }
  }
}

json propertiesOf(const json& instances) {
  json all = json::array();
  for (const json& instance : instances) all.push_back(instance["properties"]);
  return all;
}

// "eth0 10.0.0.1/255.255.255.0 -> 10.0.0.2/255.255.255.0"; of IPv6 with the prefix length.
std::string changeOf(const json& indication) {
  const auto text = [](const json& embedded) -> std::string {
    const json& properties = embedded["properties"];
    if (properties.contains("IPv4Address")) {
      return properties["IPv4Address"].get<std::string>() + "/" +
             properties["SubnetMask"].get<std::string>();
    }
    return properties["IPv6ddress"].get<std::string>() + "/" +
           std::to_string(properties["PrefixLength"].get<int>());
  };
  const json& properties = indication["properties"];
  return properties["SourceInstance"]["properties"]["Name"].get<std::string>() + " " +
         text(properties["PreviousInstance"]) + " -> " + text(properties["SourceInstance"]);
}

// An interface of each kind, by the arguments of "ip link add" that make it.
struct Kind {
  const char* name;
  const char* made;
};

constexpr Kind kKinds[] = {
    {"eth0.7", "link eth0 name eth0.7 type vlan id 7"},
    {"bond0", "bond0 type bond mode active-backup"},
    {"br0", "br0 type bridge"},
    {"mac0", "link eth0 name mac0 type macvlan mode bridge"},
    {"vrf0", "vrf0 type vrf table 10"},
    {"gre1", "gre1 type gre local 192.0.2.1 remote 192.0.2.2"},
    {"sit1", "sit1 type sit local 192.0.2.1 remote 192.0.2.3"},
    {"ipip1", "ipip1 type ipip local 192.0.2.1 remote 192.0.2.4"},
    {"vx0", "vx0 type vxlan id 42 dstport 4789 local 192.0.2.1 dev eth0"},
    {"inVrf", "inVrf type dummy"},
    {"dummy0", "dummy0 type dummy"},
};

// Interfaces of one change each.
const std::vector<std::string> kPlaces = {"deprecated", "beside",  "removed",    "netmask",
                                          "prefix",     "second",  "oldname",    "anew",
                                          "twoToOne",   "lowered", "relabelled", "marker"};

class GuestAddresses : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = Guest::reasonAgainst();
    if (!reason.empty()) GTEST_SKIP() << reason;
    GuestHardware hardware;
    hardware.adapters = {"virtio-net-pci", "virtio-net-pci"};
    guest_ = std::make_unique<Guest>(hardware);
    guest_->load({"virtio_net", "8021q", "bonding", "bridge", "macvlan", "vrf", "ip_gre", "sit",
                  "ipip", "vxlan", "dummy"});
    do_("for i in $(seq 50); do [ -e /sys/class/net/eth1 ] && exit 0; sleep 0.2; done; exit 1");
  }

  void do_(const std::string& command) const {
    const Outcome outcome = guest_->run(command);
    EXPECT_EQ(outcome.status, 0) << command << ": " << outcome.out << outcome.err;
  }
  /// Commands of ip, all at once.
  void ip(const std::string& commands) const {
    do_("cat >/tmp/commands <<'END'\n" + commands + "END\nip -batch /tmp/commands");
  }

  void makeInterfaces() const {
    // No address but those that the test sets.
    do_("echo 1 >/proc/sys/net/ipv6/conf/default/addr_gen_mode; "
        "for f in /proc/sys/net/ipv6/conf/*/addr_gen_mode; do echo 1 >$f; done");
    guest_->run("ip link del bond0; ip link del dummy0");  // that came with their modules
    std::string commands = "link set eth0 up\n";
    for (const Kind& kind : kKinds) commands += std::string("link add ") + kind.made + "\n";
    commands += "link set eth1 master bond0\nlink set inVrf master vrf0\n";
    for (const std::string& name : kPlaces) commands += "link add " + name + " type dummy\n";
    for (const Kind& kind : kKinds) commands += std::string("link set ") + kind.name + " up\n";
    for (const std::string& name : kPlaces) commands += "link set " + name + " up\n";
    ip(commands);
  }

  void expectAgreement(const std::string& state, std::size_t ipv4, std::size_t ipv6) const {
    SCOPED_TRACE(state);
    const json links = json::parse(guest_->run("ip -json -details address").out, nullptr, false);
    const json answers =
        guest_->instances({kIpv4Class, kIpv6Class, "Orvane_KernelIPProtocolEndpoint"});
    json expectedIpv4 = json::array();
    json expectedIpv6 = json::array();
    addExpected(links, expectedIpv4, expectedIpv6);
    EXPECT_EQ(expectedIpv4.size(), ipv4);
    EXPECT_EQ(expectedIpv6.size(), ipv6);
    EXPECT_EQ(propertiesOf(answers[kIpv4Class]), expectedIpv4);
    EXPECT_EQ(propertiesOf(answers[kIpv6Class]), expectedIpv6);
    EXPECT_EQ(answers["Orvane_KernelIPProtocolEndpoint"].size(), ipv4 + ipv6);
  }

  // Commands that give each kind its address of a round, or take it.
  static std::string eachKind(const std::string& verb, int round) {
    std::string commands;
    int number = 0;
    for (const Kind& kind : kKinds) {
      const std::string n = std::to_string(++number);
      const std::string r = std::to_string(round);
      commands += "address " + verb + " 10." + n + "." + r + ".1/24 dev " + kind.name + "\n";
      commands += "address " + verb + " 2001:db8:" + n + "::" + r + "/64 dev " + kind.name +
                  (verb == "add" ? " nodad\n" : "\n");
    }
    return commands;
  }

  static std::vector<std::string> changesOfEachKind(int from, int to) {
    std::vector<std::string> changes;
    int number = 0;
    for (const Kind& kind : kKinds) {
      const std::string n = std::to_string(++number);
      const auto ipv4 = [&](int round) {
        return "10." + n + "." + std::to_string(round) + ".1/255.255.255.0";
      };
      const auto ipv6 = [&](int round) {
        return "2001:db8:" + n + "::" + std::to_string(round) + "/64";
      };
      changes.push_back(std::string(kind.name) + " " + ipv4(from) + " -> " + ipv4(to));
      changes.push_back(std::string(kind.name) + " " + ipv6(from) + " -> " + ipv6(to));
    }
    return changes;
  }

  void watch() const {
    do_(ORV_BINARY_DIR "/bin/orvcim --schema " ORV_SOURCE_DIR "/schema --library " ORV_BINARY_DIR
                       "/lib/quick/liborvprovider.so watch Orvane_KernelIPChangedIndication "
                       "--format json >/tmp/told 2>/tmp/errors &");
    do_("for i in $(seq 150); do grep -q watching /tmp/errors && exit 0; sleep 0.2; done; "
        "cat /tmp/errors; exit 1");
  }

  /// What has been told so far, without the changes of the marker.
  std::vector<std::string> told() const {
    std::istringstream text(guest_->run("cat /tmp/told").out);
    std::vector<std::string> changes;
    for (json indication; text >> std::ws && !text.eof();) {
      text >> indication;
      const std::string change = changeOf(indication);
      if (change.rfind("marker ", 0) != 0) changes.push_back(change);
    }
    return changes;
  }

  /// Waits for the end of a look that sees everything that was changed before. A look between the
  /// marker's two commands sees no replacement, hence several attempts.
  void waitForALook() {
    for (int attempt = 0; attempt < 4; ++attempt) {
      const std::string before = "10.99.0." + std::to_string(marker_);
      const std::string after = "10.99.0." + std::to_string(++marker_);
      ip("address del " + before + "/24 dev marker\naddress add " + after + "/24 dev marker\n");
      const Outcome seen = guest_->run("for i in $(seq 40); do grep -q '\"" + after +
                                       "\"' /tmp/told && sleep 0.5 && exit 0; sleep 0.2; done; "
                                       "exit 1");
      if (seen.status == 0) return;
    }
    FAIL() << "no change of the marker is told: " << guest_->run("cat /tmp/told /tmp/errors").out;
  }

  std::unique_ptr<Guest> guest_;
  int marker_ = 1;
};

TEST_F(GuestAddresses, OfManyKindsAreThoseThatIpLists) {
  makeInterfaces();
  expectAgreement("without addresses", 0, 1);  // sit1 gives itself ::192.0.2.1
  ip(eachKind("add", 1));
  constexpr std::size_t kAll = std::size(kKinds);
  expectAgreement("one of each family on each kind", kAll, kAll + 1);

  ip("address add 192.0.2.1/24 dev eth0\n"
     "address add 192.0.2.9/24 dev eth0\n"                   // secondary
     "address add 198.51.100.1/20 dev eth0\n"                // another network
     "address add 203.0.113.1/32 dev eth0 label eth0:web\n"  // labelled
     "address add 203.0.113.5/30 dev relabelled label relabelled:a\n"
     "address add 203.0.113.9/31 dev deprecated valid_lft 600 preferred_lft 0\n"
     "address add 203.0.113.12/31 dev deprecated\n"
     "address add 2001:db8:a::1/64 dev deprecated nodad valid_lft 600 preferred_lft 0\n"
     "address add 2001:db8:a::2/128 dev deprecated nodad\n"
     "address add 10.50.0.1 peer 10.50.0.2/32 dev beside\n"  // of a point-to-point link
     "address add 2001:db8:b::1 peer 2001:db8:b::2/128 dev beside nodad\n"
     "address add 169.254.3.1/16 dev removed scope link\n"
     "address add fe80::7/10 dev removed nodad\n");
  expectAgreement("of every form", kAll + 5, kAll + 5);

  ip("address del 192.0.2.1/24 dev eth0\n"  // its secondaries go with it
     "link set removed down\n"              // takes the IPv6 addresses away
     "link set relabelled down\nlink set relabelled name other\n"
     "link del beside\n"
     "link set inVrf nomaster\n");  // the same
  expectAgreement("after changes", kAll + 4, kAll + 2);
}

TEST_F(GuestAddresses, AreToldOnceWhenTheyAreReplaced) {
  makeInterfaces();
  ip(eachKind("add", 1) +
     "address add 10.99.0.1/24 dev marker\n"
     "address add 203.0.113.1/32 dev eth0 label eth0:web\n"
     "address add 203.0.113.2/32 dev eth0 label eth0:a\n"
     "address add 10.60.0.1/24 dev deprecated\n"
     "address add 10.61.0.1/24 dev beside\naddress add 2001:db8:61::1/64 dev beside nodad\n"
     "address add 10.62.0.1/24 dev removed\naddress add 2001:db8:62::1/64 dev removed nodad\n"
     "address add 10.63.0.1/24 dev netmask\n"
     "address add 2001:db8:64::1/64 dev prefix nodad\n"
     "address add 10.65.0.1/24 dev second\naddress add 10.65.0.2/24 dev second\n"
     "address add 10.66.0.1/24 dev oldname\n"
     "address add 10.67.0.1/24 dev anew\n"
     "address add 2001:db8:68::1/64 dev twoToOne nodad\n"
     "address add 2001:db8:68::2/64 dev twoToOne nodad\n"
     "address add 10.69.0.1/24 dev lowered\naddress add 2001:db8:69::1/64 dev lowered nodad\n");
  watch();
  waitForALook();
  EXPECT_THAT(told(), testing::IsEmpty());

  ip(eachKind("del", 1) + eachKind("add", 2) +
     "address del 203.0.113.1/32 dev eth0\naddress add 203.0.113.3/32 dev eth0 label eth0:web\n"
     "address del 203.0.113.2/32 dev eth0\naddress add 203.0.113.2/32 dev eth0 label eth0:b\n"
     "address change 10.60.0.1/24 dev deprecated valid_lft 600 preferred_lft 0\n"
     "address add 10.61.0.9/24 dev beside\naddress add 2001:db8:61::9/64 dev beside nodad\n"
     "address del 10.62.0.1/24 dev removed\naddress del 2001:db8:62::1/64 dev removed\n"
     "address del 10.63.0.1/24 dev netmask\naddress add 10.63.0.1/16 dev netmask\n"
     "address del 2001:db8:64::1/64 dev prefix\naddress add 2001:db8:64::1/48 dev prefix nodad\n"
     "address del 10.65.0.2/24 dev second\n"
     "link set oldname down\nlink set oldname name newname\nlink set newname up\n"
     "link del anew\nlink add anew type dummy\naddress add 10.67.0.2/24 dev anew\n"
     "address del 2001:db8:68::1/64 dev twoToOne\naddress del 2001:db8:68::2/64 dev twoToOne\n"
     "address add 2001:db8:68::3/64 dev twoToOne nodad\n"
     "link set lowered down\n");
  waitForALook();
  std::vector<std::string> expected = changesOfEachKind(1, 2);
  expected.insert(expected.end(),
                  {"eth0:web 203.0.113.1/255.255.255.255 -> 203.0.113.3/255.255.255.255",
                   "netmask 10.63.0.1/255.255.255.0 -> 10.63.0.1/255.255.0.0",
                   "anew 10.67.0.1/255.255.255.0 -> 10.67.0.2/255.255.255.0",
                   "twoToOne 2001:db8:68::1/64 -> 2001:db8:68::3/64",
                   "twoToOne 2001:db8:68::2/64 -> 2001:db8:68::3/64"});
  EXPECT_THAT(told(), UnorderedElementsAreArray(expected));

  ip(eachKind("del", 2) + eachKind("add", 3) +
     "address del 10.66.0.1/24 dev newname\naddress add 10.66.0.2/24 dev newname\n");
  waitForALook();
  const std::vector<std::string> more = changesOfEachKind(2, 3);
  expected.insert(expected.end(), more.begin(), more.end());
  expected.push_back("newname 10.66.0.1/255.255.255.0 -> 10.66.0.2/255.255.255.0");
  EXPECT_THAT(told(), UnorderedElementsAreArray(expected));
  EXPECT_THAT(guest_->run("cat /tmp/errors").out, testing::HasSubstr("watching"));
}

}  // namespace
}  // namespace orv::test
