// Network adapters of ten kinds: every value that is published, beside what ip, ethtool and sysfs
// say in the guest.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/guest/guest.h"
#include "tests/platform/linux/tool_output.h"

namespace orv::test {
namespace {

using LinuxHost::labelled;
using nlohmann::json;
using testing::IsEmpty;

// What ethtool says of one port, by its option.
using Texts = std::map<std::string, std::string>;

struct Link {
  json ip;
  Texts ethtool;
  std::string vendor;  // of sysfs, as text
  std::string device;
};

std::string name(const Link& link) { return link.ip["ifname"]; }

bool hasFlag(const Link& link, const std::string& flag) {
  const json& flags = link.ip["flags"];
  return std::find(flags.begin(), flags.end(), flag) != flags.end();
}

std::string said(const Link& link, const std::string& option, const std::string& label) {
  const std::string text = labelled(link.ethtool.at(option), label).value_or("");
  return text.substr(0, text.find_last_not_of(" \t") + 1);
}

// "aabbccddeeff" of "aa:bb:cc:dd:ee:ff", in capitals.
std::string digits(std::string address) {
  address.erase(std::remove(address.begin(), address.end(), ':'), address.end());
  for (char& c : address) c = static_cast<char>(std::toupper(c));
  return address;
}

std::string permanentAddress(const Link& link) {
  if (link.ip.contains("permaddr")) return digits(link.ip["permaddr"]);
  const std::string told = said(link, "-P", "Permanent address");
  const bool isTold = told.size() == 17 && told != "00:00:00:00:00:00";
  return digits(isTold ? told : link.ip["address"].get<std::string>());
}

// Modes such as "1000_FULL" of "1000baseT/Full" words, which go on over lines.
std::set<std::string> modes(const Link& link, const std::string& label) {
  std::set<std::string> found;
  const std::string& text = link.ethtool.at("");
  const std::size_t begin = text.find(label + " link modes:");
  if (begin == std::string::npos) return found;
  const std::size_t end = std::min(text.find(" pause frame", begin), text.find(label + " auto"));
  const std::string part = text.substr(begin, end - begin);
  const std::regex mode("([0-9]+)base[^/ ]*/(Half|Full)");
  for (std::sregex_iterator at(part.begin(), part.end(), mode), none; at != none; ++at) {
    found.insert((*at)[1].str() + ((*at)[2] == "Full" ? "_FULL" : "_HALF"));
  }
  return found;
}

std::set<std::string> withoutAutomatic(const json& published) {
  std::set<std::string> all;
  for (const json& mode : published) all.insert(mode);
  all.erase("AUTO_AUTO");
  return all;
}

json hexadecimal(const std::string& text, int width) {
  std::ostringstream out;
  out << std::hex << std::stoul(text, nullptr, 16);
  std::string number = out.str();
  number.insert(
      0, static_cast<std::size_t>(std::max<long>(0, width - static_cast<long>(number.size()))),
      '0');
  return "0x" + number;
}

// Bus, slot, function, vendor, device and segment of "0000:00:02.0".
json pciInformation(const Link& link) {
  const std::string place = said(link, "-i", "bus-info");
  std::smatch part;
  const std::regex form("([0-9a-f]{4}):([0-9a-f]{2}):([0-9a-f]{2})\\.([0-7])");
  if (!std::regex_match(place, part, form)) return nullptr;
  return json::array({hexadecimal(part[2], 2), hexadecimal(part[3], 2), hexadecimal(part[4], 2),
                      hexadecimal(link.vendor, 4), hexadecimal(link.device, 4),
                      hexadecimal(part[1], 4)});
}

json orNull(const json& properties, const char* property) {
  return properties.contains(property) ? properties[property] : json();
}

void expectPort(const json& published, const Link& link) {
  const json& port = published["properties"];
  const bool up = hasFlag(link, "UP");
  const bool lower = hasFlag(link, "LOWER_UP");
  EXPECT_EQ(port["Name"], name(link));
  EXPECT_EQ(port["EnabledState"], !up ? 3 : lower ? 2 : 6);
  EXPECT_EQ(port["OperationalStatus"], json::array({up && lower ? 2 : 10}));
  EXPECT_EQ(port["ActiveMaximumTransmissionUnit"], link.ip["mtu"]);
  EXPECT_EQ(port["PermanentAddress"], permanentAddress(link));
  const std::string speed = said(link, "", "Speed");
  EXPECT_EQ(port["Speed"], std::isdigit(speed[0]) != 0 ? std::stoul(speed) * 1'000'000 : 0UL);
  EXPECT_EQ(port["FullDuplex"], said(link, "", "Duplex") == "Full");
  EXPECT_EQ(port["AutoSense"], said(link, "", "Auto-negotiation") == "on" ? 1 : 0);
  EXPECT_EQ(withoutAutomatic(port["SupportedLinkModes"]), modes(link, "Supported"));
  EXPECT_EQ(withoutAutomatic(port["AdvertisedLinkModes"]), modes(link, "Advertised"));
  EXPECT_EQ(orNull(port, "OtherIdentifyingInfo"), pciInformation(link));
  const std::string wake = said(link, "", "Supports Wake-on");
  EXPECT_EQ(port["WOLSupported"].size(), wake == "d" ? 0 : wake.size());
}

void expectSoftware(const json& published, const Link& link, const std::string& kind,
                    const std::string& label) {
  const std::string begin = said(link, "-i", "driver") + kind;
  EXPECT_EQ(published["properties"]["ElementName"], begin);
  EXPECT_EQ(published["properties"]["VersionString"], begin + said(link, "-i", label));
}

struct SettingName {
  const char* property;
  const char* label;
};

constexpr SettingName kSettings[] = {{"statsBlockUsecs", "stats-block-usecs"},
                                     {"sampleInterval", "sample-interval"},
                                     {"pktRateLow", "pkt-rate-low"},
                                     {"pktRateHigh", "pkt-rate-high"},
                                     {"rxUsecs", "rx-usecs"},
                                     {"rxFrames", "rx-frames"},
                                     {"rxUsecsIrq", "rx-usecs-irq"},
                                     {"rxFramesIrq", "rx-frames-irq"},
                                     {"txUsecs", "tx-usecs"},
                                     {"txFrames", "tx-frames"},
                                     {"txUsecsIrq", "tx-usecs-irq"},
                                     {"txFramesIrq", "tx-frames-irq"},
                                     {"rxUsecsLow", "rx-usecs-low"},
                                     {"rxFrameLow", "rx-frames-low"},
                                     {"txUsecsLow", "tx-usecs-low"},
                                     {"txFrameLow", "tx-frames-low"},
                                     {"rxUsecsHigh", "rx-usecs-high"},
                                     {"rxFrameHigh", "rx-frames-high"},
                                     {"txUsecsHigh", "tx-usecs-high"},
                                     {"txFrameHigh", "tx-frames-high"}};

void expectCoalescing(const json& published, const Link& link) {
  for (const SettingName& setting : kSettings) {
    const std::string text = said(link, "-c", setting.label);
    const bool isNumber = !text.empty() && std::isdigit(text[0]) != 0;
    EXPECT_EQ(published["properties"][setting.property], isNumber ? std::stoul(text) : 0UL)
        << setting.label;
  }
}

struct CounterName {
  const char* property;
  const char* side;
  const char* counter;
};

constexpr CounterName kCounters[] = {{"packetsTx", "tx", "packets"},
                                     {"packetsRx", "rx", "packets"},
                                     {"bytesTx", "tx", "bytes"},
                                     {"bytesRx", "rx", "bytes"},
                                     {"errorsTx", "tx", "errors"},
                                     {"errorsRx", "rx", "errors"},
                                     {"droppedTx", "tx", "dropped"},
                                     {"droppedRx", "rx", "dropped"},
                                     {"RxLengthErrors", "rx", "length_errors"},
                                     {"RxCRCErrors", "rx", "crc_errors"},
                                     {"RxFrameErrors", "rx", "frame_errors"},
                                     {"RxFIFOErrors", "rx", "fifo_errors"},
                                     {"RxMissedErrors", "rx", "missed_errors"},
                                     {"TxAbortedErrors", "tx", "aborted_errors"},
                                     {"TxFIFOErrors", "tx", "fifo_errors"},
                                     {"TxCarrierErrors", "tx", "carrier_errors"},
                                     {"TxHeartbeatErrors", "tx", "heartbeat_errors"},
                                     {"TxWindowErrors", "tx", "window_errors"}};

// A counter that moved between two looks is somewhere between them.
void expectCounters(const json& published, const Link& before, const Link& after) {
  for (const CounterName& counter : kCounters) {
    const auto value = [&](const Link& link) -> unsigned long {
      return link.ip["stats64"][counter.side][counter.counter];
    };
    const unsigned long number = published["properties"][counter.property];
    EXPECT_LE(value(before), number) << counter.property;
    EXPECT_GE(value(after), number) << counter.property;
  }
}

class GuestPorts : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = Guest::reasonAgainst();
    if (!reason.empty()) GTEST_SKIP() << reason;
  }

  void boot(const std::vector<std::string>& adapters,
            const std::vector<std::string>& options = {}) {
    GuestHardware hardware;
    hardware.adapters = adapters;
    hardware.options = options;
    hardware.topology = "2";
    guest_ = std::make_unique<Guest>(hardware);
    guest_->load({"e1000e", "e1000", "8139cp", "virtio_net", "tulip", "pcnet32", "ne2k-pci", "e100",
                  "xhci_pci", "cdc_ether", "rndis_host", "cdc_subset"});
    do_("udevadm settle 2>/dev/null; sleep 1");
  }

  void do_(const std::string& command) const {
    const Outcome outcome = guest_->run(command);
    EXPECT_EQ(outcome.status, 0) << command << ": " << outcome.err;
  }

  /// Links that a device carries, in the kernel's order.
  std::vector<Link> links() const {
    const Outcome listed = guest_->run("ip -json -details -s -s link");
    EXPECT_EQ(listed.status, 0) << listed.err;
    const json all = json::parse(listed.out, nullptr, false);
    std::vector<Link> found;
    std::string script;
    for (const json& entry : all) {
      if (!entry.contains("parentbus")) continue;
      found.push_back(Link{entry, {}, "", ""});
      const std::string device = "/sys/class/net/" + name(found.back()) + "/device";
      for (const char* option : {"", "-i", "-c", "-P"}) {
        script += "ethtool " + std::string(option) + " " + name(found.back()) + "; echo '===='\n";
      }
      // Virtio hangs on a PCI device.
      for (const char* number : {"vendor", "device"}) {
        script += "[ -e " + device + "/subsystem/drivers/virtio_net ] && d=" + device +
                  "/.. || d=" + device + "; cat $d/" + number + "; echo '===='\n";
      }
    }
    std::string text = guest_->run(script).out;
    for (Link& link : found) {
      for (const char* option : {"", "-i", "-c", "-P"}) link.ethtool[option] = cut(text);
      link.vendor = cut(text);
      link.device = cut(text);
    }
    return found;
  }

  static std::string cut(std::string& text) {
    const std::size_t end = text.find("====\n");
    const std::string part = text.substr(0, end);
    text.erase(0, end == std::string::npos ? end : end + 5);
    return part;
  }

  /// Waits until this file of every named port's sysfs directory says so, at most 30 s: link states
  /// take a while.
  void waitForCarrier(const std::string& ports, const std::string& carrier) const {
    do_("for i in $(seq 30); do done=yes; for p in " + ports +
        "; do [ \"$(cat /sys/class/net/$p/carrier)\" = " + carrier +
        " ] || done=no; done; [ $done = yes ] && break; sleep 1; done; [ $done = yes ]");
  }

  void expectAgreement(const std::string& state) const {
    SCOPED_TRACE(state);
    const std::vector<Link> before = links();
    const json ports = guest_->orvcim("instances Orvane_EthernetPort");
    const json drivers = guest_->orvcim("instances Orvane_EPDriverSoftwareIdentity");
    const json firmware = guest_->orvcim("instances Orvane_EPFirmwareSoftwareIdentity");
    const json settings = guest_->orvcim("instances Orvane_EPCoalesceSettingData");
    const json counters = guest_->orvcim("instances Orvane_EPStatisticalInformation");
    const std::vector<Link> after = links();
    ASSERT_EQ(ports.size(), before.size());
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t number = 0; number < before.size(); ++number) {
      const Link& link = before[number];
      SCOPED_TRACE(name(link) + ", " + said(link, "-i", "driver"));
      expectPort(ports[number], link);
      expectSoftware(drivers[number], link, " driver ", "version");
      expectSoftware(firmware[number], link, " device firmware ", "firmware-version");
      expectCoalescing(settings[number], link);
      expectCounters(counters[number], link, after[number]);
    }
  }

  /// The port that this driver serves; empty when there is none.
  std::string portOf(const std::string& driver) const {
    for (const Link& link : links()) {
      if (said(link, "-i", "driver") == driver) return name(link);
    }
    return "";
  }

  std::unique_ptr<Guest> guest_;
};

const std::vector<std::string> kAdapters = {"e1000e",         "e1000",  "rtl8139",
                                            "virtio-net-pci", "tulip",  "pcnet",
                                            "ne2k_pci",       "i82550", "usb-net"};

TEST_F(GuestPorts, OfManyKindsAgreeWithTheTools) {
  boot(kAdapters, {"-device", "qemu-xhci"});
  std::set<std::string> drivers;
  for (const Link& link : links()) drivers.insert(said(link, "-i", "driver"));
  EXPECT_GE(drivers.size(), 7U) << testing::PrintToString(drivers);
  expectAgreement("as they come");
  do_("for p in /sys/class/net/eth* /sys/class/net/usb*; do "
      "[ -e $p ] && ip link set $(basename $p) up; done; sleep 1");
  expectAgreement("up");
}

TEST_F(GuestPorts, AgreeAfterTheirSettingsWereChanged) {
  boot({"e1000e", "virtio-net-pci", "pcnet"});
  const std::string e1000e = portOf("e1000e");
  ASSERT_NE(e1000e, "");
  do_("ip link set " + e1000e + " up");
  waitForCarrier(e1000e, "1");
  do_("ethtool -s " + e1000e + " speed 100 duplex full autoneg on; sleep 5");
  waitForCarrier(e1000e, "1");
  expectAgreement("speed");
  do_("ethtool -C " + e1000e + " rx-usecs 100");
  expectAgreement("coalescing");
  do_("ip link set " + e1000e + " mtu 1400; sleep 5");
  do_("ip link set " + e1000e + " down && ip link set " + e1000e + " address 02:00:00:00:00:77");
  expectAgreement("MTU and address");
  do_("ip link set " + e1000e + " name storage && ip link property add dev storage altname other");
  expectAgreement("names");
  EXPECT_THAT(guest_->orvcim("instances Orvane_KernelIPv4ProtocolEndpoint"), testing::SizeIs(0));
}

TEST_F(GuestPorts, AgreeWhenTheCableIsPulled) {
  boot({"virtio-net-pci", "virtio-net-pci"});
  do_("ip link set eth0 up; ip link set eth1 up");
  waitForCarrier("eth0 eth1", "1");
  expectAgreement("up");
  for (const char* port : {"nic0", "nic1"}) {
    guest_->command("set_link", {{"name", port}, {"up", false}});
  }
  waitForCarrier("eth0 eth1", "0");
  expectAgreement("without a cable");
}

TEST_F(GuestPorts, ComeAndGo) {
  boot({"e1000e"},
       {"-device", "pcie-root-port,id=port0,chassis=1", "-netdev", "hubport,id=spare,hubid=9"});
  expectAgreement("one");
  guest_->command(
      "device_add",
      {{"driver", "virtio-net-pci"}, {"id", "added"}, {"bus", "port0"}, {"netdev", "spare"}});
  do_("for i in 1 2 3 4 5 6 7 8 9 10; do [ -e /sys/class/net/eth1 ] && break; sleep 1; done");
  EXPECT_EQ(links().size(), 2U);
  expectAgreement("two");
  guest_->command("device_del", {{"id", "added"}});
  do_("for i in 1 2 3 4 5 6 7 8 9 10; do [ -e /sys/class/net/eth1 ] || break; sleep 1; done");
  EXPECT_EQ(links().size(), 1U);
  expectAgreement("one again");
}

// Four clients ask while drivers are unbound and bound, and ports renamed. Every instance is whole,
// or has its keys only.
TEST_F(GuestPorts, AreNeverHalfFilledWhileTheyComeAndGo) {
  boot({"e1000e", "virtio-net-pci"});
  const Outcome churn = guest_->run(
      "cd /tmp; place=$(basename $(readlink -f /sys/class/net/eth0/device)); "
      "driver=$(readlink -f /sys/class/net/eth0/device/driver); "
      "client() { for i in 1 2 3 4 5 6; do " ORV_BINARY_DIR "/bin/orvcim --schema " ORV_SOURCE_DIR
      "/schema instances Orvane_EthernetPort --format json >answer.$1.$i 2>/dev/null || "
      "echo \"status $? of $1.$i\"; done; }; "
      "for c in 1 2 3 4; do client $c & done; "
      "(while :; do echo $place >$driver/unbind; echo $place >$driver/bind; "
      "ip link set eth1 name moved; ip link set moved name eth1; done) >/dev/null 2>&1 & churn=$!; "
      "wait %1 %2 %3 %4; kill $churn; for f in answer.*; do cat $f; echo '===='; done",
      std::chrono::seconds(300));
  EXPECT_EQ(churn.status, 0) << churn.err;
  std::string text = churn.out;
  int answers = 0;
  for (std::string part = cut(text); !part.empty(); part = cut(text), ++answers) {
    const json instances = json::parse(part, nullptr, false);
    ASSERT_FALSE(instances.is_discarded()) << part;
    for (const json& instance : instances) {
      const json& properties = instance["properties"];
      const bool whole = properties.contains("WOLOptions") && properties.contains("Speed");
      const bool keysOnly = !properties.contains("Name") || properties["Name"].is_null();
      EXPECT_TRUE(whole || keysOnly) << instance.dump();
    }
  }
  EXPECT_EQ(answers, 24);
}

}  // namespace
}  // namespace orv::test
