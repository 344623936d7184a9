// Network adapters of ten kinds: every value that is published, beside what ip, ethtool and sysfs
// say in the guest.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/guest/guest.h"
#include "tests/guest/port_tools.h"

namespace orv::test {
namespace {

using nlohmann::json;
using testing::IsEmpty;

const std::vector<std::string> kPortClasses = {
    "Orvane_EthernetPort", "Orvane_EPDriverSoftwareIdentity", "Orvane_EPCoalesceSettingData",
    "Orvane_EPFirmwareSoftwareIdentity", "Orvane_EPStatisticalInformation"};

struct Association {
  const char* name;
  const char* portRole;
  const char* satelliteRole;
  const char* satellite;
  bool tellsStatus;
};

constexpr Association kAssociations[] = {
    {"Orvane_EPDriverElementSoftwareIdentity", "Dependent", "Antecedent",
     "Orvane_EPDriverSoftwareIdentity", true},
    {"Orvane_EPFirmwareElementSoftwareIdentity", "Dependent", "Antecedent",
     "Orvane_EPFirmwareSoftwareIdentity", true},
    {"Orvane_EPStatistics", "Element", "Stats", "Orvane_EPStatisticalInformation", false},
    {"Orvane_EPCoalesceElementSettingData", "ManagedElement", "SettingData",
     "Orvane_EPCoalesceSettingData", false}};

json properties(const json& answers, const std::string& className, std::size_t number) {
  const json& instances = answers[className];
  return number < instances.size() ? instances[number]["properties"] : json();
}

// A counter that moved between two looks is somewhere between them; all else stays.
void expectBetween(const json& published, const json& before, const json& after) {
  EXPECT_EQ(published.size(), before.size()) << published << before;
  for (const auto& [property, value] : before.items()) {
    ASSERT_TRUE(published.contains(property)) << property;
    if (value.is_number()) {
      EXPECT_LE(value, published[property]) << property;
      EXPECT_GE(after[property], published[property]) << property;
    } else {
      EXPECT_EQ(published[property], value);
    }
  }
}

// Where the driver tells a counter of its own by the same name, it is that one. An e1000 counts a
// frame when it has left, which one without a cable never does; its driver, when it hands it over.
void expectCountersOfTheDriver(const json& published, const PortByTools& before,
                               const PortByTools& after) {
  const auto later = driverCounters(after);
  for (const auto& [property, value] : driverCounters(before)) {
    EXPECT_LE(value, published[property].get<unsigned long>()) << property;
    if (property == "packetsTx" && before.said("-i", "driver") == "e1000") continue;
    EXPECT_GE(later.at(property), published[property].get<unsigned long>()) << property;
  }
}

class GuestPorts : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = Guest::reasonAgainst();
    if (!reason.empty()) GTEST_SKIP() << reason;
  }

  void boot(const std::vector<std::string>& adapters, const std::vector<std::string>& options = {},
            std::size_t more = 0) {
    GuestHardware hardware;
    hardware.adapters = adapters;
    hardware.options = options;
    hardware.topology = "2";
    guest_ = std::make_unique<Guest>(hardware);
    guest_->load({"e1000e", "e1000", "8139cp", "virtio_net", "tulip", "pcnet32", "ne2k-pci", "e100",
                  "xhci_pci", "cdc_ether", "rndis_host", "cdc_subset"});
    waitForPorts(adapters.size() + more);
  }

  void do_(const std::string& command) const {
    const Outcome outcome = guest_->run(command);
    EXPECT_EQ(outcome.status, 0) << command << ": " << outcome.out << outcome.err;
  }

  /// Waits until a command of the shell succeeds, at most 30 s.
  void waitUntil(const std::string& condition) const {
    do_("for i in $(seq 150); do " + condition + " && exit 0; sleep 0.2; done; exit 1");
  }
  void waitForPorts(std::size_t number) const {
    waitUntil("set -- /sys/class/net/*/device; [ $# = " + std::to_string(number) + " ]");
  }
  /// Link states take a while.
  void waitForCarrier(const std::string& ports, const std::string& carrier) const {
    for (std::istringstream names(ports); names;) {
      std::string name;
      if (names >> name) {
        waitUntil("[ \"$(cat /sys/class/net/" + name + "/carrier)\" = " + carrier + " ]");
      }
    }
  }

  std::vector<PortByTools> links() const { return portsByTools(*guest_); }

  // What is published, and what the tools tell before and after it.
  struct Seen {
    std::vector<PortByTools> before;
    json answers;
    std::vector<PortByTools> after;

    bool duringAChange() const {
      return !std::equal(before.begin(), before.end(), after.begin(), after.end(),
                         areInTheSameState);
    }
  };
  // A link that is set up while it is looked at, which may take long, is looked at again.
  Seen look() const {
    Seen seen;
    for (int attempt = 0; attempt < 10; ++attempt) {
      seen = {links(), guest_->instances(kPortClasses), statesByTools(*guest_)};
      if (!seen.duringAChange()) break;
    }
    return seen;
  }

  void expectAgreement(const std::string& state) const {
    SCOPED_TRACE(state);
    const std::string host = "guest";
    const Seen seen = look();
    const std::vector<PortByTools>& before = seen.before;
    const json& answers = seen.answers;
    ASSERT_EQ(seen.after.size(), before.size());
    for (const std::string& name : kPortClasses) ASSERT_EQ(answers[name].size(), before.size());
    for (std::size_t number = 0; number < before.size(); ++number) {
      const PortByTools& port = before[number];
      SCOPED_TRACE(port.name() + ", " + port.said("-i", "driver"));
      const auto published = [&](const char* name) { return properties(answers, name, number); };
      EXPECT_EQ(published("Orvane_EthernetPort"), expectedPort(port, host));
      EXPECT_EQ(published("Orvane_EPDriverSoftwareIdentity"), expectedDriver(port));
      EXPECT_EQ(published("Orvane_EPFirmwareSoftwareIdentity"), expectedFirmware(port));
      EXPECT_EQ(published("Orvane_EPCoalesceSettingData"), expectedCoalescing(port));
      const json statistics = published("Orvane_EPStatisticalInformation");
      expectBetween(statistics, expectedStatistics(port), expectedStatistics(seen.after[number]));
      expectCountersOfTheDriver(statistics, port, seen.after[number]);
    }
  }

  /// Each association class ties each port to its satellite.
  void expectAssociations() const {
    std::vector<std::string> classes = {"Orvane_EthernetPort"};
    for (const Association& association : kAssociations) {
      classes.insert(classes.end(), {association.name, association.satellite});
    }
    const json answers = guest_->instances(classes);
    for (const Association& association : kAssociations) {
      SCOPED_TRACE(association.name);
      const json& ports = answers["Orvane_EthernetPort"];
      ASSERT_EQ(answers[association.name].size(), ports.size());
      for (std::size_t number = 0; number < ports.size(); ++number) {
        const std::string name = ports[number]["properties"]["DeviceID"];
        json expected = {
            {association.portRole, "root/cimv2:Orvane_EthernetPort.DeviceID=\"" + name +
                                       "\",SystemCreationClassName=\"OMC_UnitaryComputerSystem\","
                                       "SystemName=\"guest\","
                                       "CreationClassName=\"Orvane_EthernetPort\""},
            {association.satelliteRole, answers[association.satellite][number]["path"]}};
        if (association.tellsStatus) expected["ElementSoftwareStatus"] = {2};
        EXPECT_EQ(properties(answers, association.name, number), expected);
      }
    }
  }

  void pullCables(std::size_t number, bool pull) const {
    for (std::size_t cable = 0; cable < number; ++cable) {
      guest_->command("set_link", {{"name", "nic" + std::to_string(cable)}, {"up", !pull}});
    }
  }

  void plug(bool in) const {
    if (in) {
      guest_->command(
          "device_add",
          {{"driver", "virtio-net-pci"}, {"id", "added"}, {"bus", "port0"}, {"netdev", "spare"}});
    } else {
      guest_->command("device_del", {{"id", "added"}});
    }
  }

  /// Whether getInstance knows a port of that name.
  bool isPort(const std::string& name) const {
    const Outcome outcome =
        guest_->run(ORV_BINARY_DIR "/bin/orvcim --schema " ORV_SOURCE_DIR
                                   "/schema get 'Orvane_EthernetPort.DeviceID=\"" +
                    name + "\"'");
    EXPECT_TRUE(outcome.status == 0 || outcome.err.find("NOT_FOUND") != std::string::npos)
        << outcome.err;
    return outcome.status == 0;
  }

  /// The port that this driver serves.
  std::string portOf(const std::string& driver) const {
    const Outcome found = guest_->run(
        "for p in /sys/class/net/*; do [ \"$(basename $(readlink "
        "$p/device/driver))\" = " +
        driver + " ] && basename $p; done");
    EXPECT_FALSE(found.out.empty()) << driver;
    return found.out.substr(0, found.out.find('\n'));
  }

  std::unique_ptr<Guest> guest_;
};

// Each with its driver, in the order of the kernel's indices as far as they are on PCI.
const std::vector<std::string> kAdapters = {"e1000e",         "e1000",  "rtl8139",
                                            "virtio-net-pci", "tulip",  "pcnet",
                                            "ne2k_pci",       "i82550", "usb-net"};
const std::set<std::string> kDrivers = {"e1000e",  "e1000",    "8139cp", "virtio_net", "tulip",
                                        "pcnet32", "ne2k-pci", "e100",   "cdc_ether"};

// A root port into which an adapter can be plugged, and a cable for it.
const std::vector<std::string> kSpare = {"-device", "pcie-root-port,id=port0,chassis=1", "-netdev",
                                         "hubport,id=spare,hubid=99"};

TEST_F(GuestPorts, OfManyKindsAgreeWithTheToolsInEveryState) {
  std::vector<std::string> options = {"-device", "qemu-xhci"};
  options.insert(options.end(), kSpare.begin(), kSpare.end());
  boot(kAdapters, options);
  std::set<std::string> drivers;
  for (const PortByTools& port : links()) drivers.insert(port.said("-i", "driver"));
  EXPECT_EQ(drivers, kDrivers);
  expectAgreement("as they come");
  expectAssociations();

  const std::string e1000e = portOf("e1000e"), e1000 = portOf("e1000"), rtl = portOf("8139cp"),
                    virtio = portOf("virtio_net"), tulip = portOf("tulip"),
                    pcnet = portOf("pcnet32"), i82550 = portOf("e100");
  do_("for p in /sys/class/net/*/device; do ip link set $(basename $(dirname $p)) up; done");
  waitForCarrier(e1000e + " " + e1000 + " " + rtl + " " + virtio + " " + pcnet + " " + i82550, "1");
  expectAgreement("up");

  do_("ethtool -s " + e1000e + " speed 100 duplex full autoneg on");
  do_("ethtool -C " + e1000e + " rx-usecs 100");
  do_("ethtool -s " + e1000 + " autoneg off speed 10 duplex half");
  do_("ethtool -s " + i82550 + " wol g && ethtool -s " + rtl + " wol pumbg");
  do_("ip link set " + virtio + " mtu 1400 address 02:00:00:00:00:77");
  do_("ip link set " + pcnet + " down && ip link set " + pcnet + " address 02:00:00:00:00:78");
  do_("ip link set " + tulip + " down && ip link set " + tulip +
      " name storage && ip link property add dev storage altname another");
  waitForCarrier(e1000e, "1");
  expectAgreement("after their settings were changed");
  EXPECT_TRUE(isPort("storage"));
  EXPECT_FALSE(isPort("another"));
  EXPECT_FALSE(isPort(tulip));

  pullCables(kAdapters.size(), true);
  waitForCarrier(virtio, "0");
  expectAgreement("without cables");
  pullCables(kAdapters.size(), false);
  waitForCarrier(virtio, "1");

  plug(true);
  waitForPorts(kAdapters.size() + 1);
  expectAgreement("with one more");
  plug(false);
  waitForPorts(kAdapters.size());
  do_("for p in /sys/class/net/*/device; do ip link set $(basename $(dirname $p)) down; done");
  expectAgreement("without it, and down");
}

bool canMakeTaps() {
  const int device = open("/dev/net/tun", O_RDWR | O_CLOEXEC);
  close(device);
  return device >= 0;
}

// The emulator's cables have one queue; only a tap of the kernel has several.
TEST_F(GuestPorts, WithFourQueuesAgreeAfterTheyWereChanged) {
  if (!canMakeTaps()) GTEST_SKIP() << "this process may not open /dev/net/tun";
  boot({},
       {"-netdev", "tap,id=four,queues=4,script=no,downscript=no,vhost=off", "-device",
        "virtio-net-pci,netdev=four,mq=on,vectors=10"},
       1);
  const std::string port = portOf("virtio_net");
  for (const char* queues : {"4", "2", "1"}) {
    do_("ethtool -L " + port + " combined " + queues);
    const std::string counts = guest_->run("ethtool -l " + port).out;
    EXPECT_THAT(counts, testing::ContainsRegex("Combined:[[:space:]]*4"));
    EXPECT_THAT(counts, testing::ContainsRegex(std::string("Current hardware settings:.*Combined:"
                                                           "[[:space:]]*") +
                                               queues));
    expectAgreement(queues);
  }
}

// Four clients ask without a pause while cables are pulled, an adapter is plugged in and out,
// another one's driver is unbound and bound, and a third one renamed. Each answer is a success,
// each instance is whole or has its keys only, and the process that is asked does not grow.
TEST_F(GuestPorts, AreNeverHalfFilledWhileTheyComeAndGo) {
  boot({"e1000e", "virtio-net-pci"}, kSpare);
  do_("ip link set eth0 up");  // a port that is up cannot be renamed
  // With one arena of the allocator, what grows is the library's.
  do_(std::string("cd /tmp; (MALLOC_ARENA_MAX=1 ") + kGuestClient +
      " storm 24 >report 2>errors; touch done) >/dev/null 2>&1 &");
  do_("place=$(basename $(readlink -f /sys/class/net/eth0/device)); "
      "driver=$(readlink -f /sys/class/net/eth0/device/driver); "
      "(while [ ! -e /tmp/done ]; do echo $place >$driver/unbind; echo $place >$driver/bind && "
      "echo bound >>/tmp/counts; ip link set eth0 up; done) >/dev/null 2>&1 & "
      "(while [ ! -e /tmp/done ]; do ip link set eth1 name moved; ip link set moved name eth1 && "
      "echo renamed >>/tmp/counts; done) >/dev/null 2>&1 &");
  const auto isDone = [&] { return guest_->run("[ -e /tmp/done ]").status == 0; };
  int plugged = 0;
  for (bool in = true; !isDone(); in = !in) {
    plug(in);
    pullCables(2, in);
    waitUntil(std::string("[ ") + (in ? "" : "! ") + "-e /sys/bus/pci/devices/0000:01:00.0 ]");
    plugged += in ? 1 : 0;
  }
  const json report = json::parse(guest_->run("cat /tmp/report").out, nullptr, false);
  const std::string counts = guest_->run("sort /tmp/counts | uniq -c").out;
  std::cout << report << "\n" << counts << plugged << " plugged in\n";
  EXPECT_THAT(counts, testing::AllOf(testing::HasSubstr("bound"), testing::HasSubstr("renamed")));
  ASSERT_FALSE(report.is_discarded()) << guest_->run("cat /tmp/errors").out;
  EXPECT_THAT(report["wrong"], IsEmpty());
  EXPECT_GT(report["requests"], 100);
  EXPECT_GT(plugged, 0);
  EXPECT_GT(report["residentBefore"], 0);
  EXPECT_LE(report["residentAfter"].get<long>(), report["residentBefore"].get<long>() + 1024);
}

}  // namespace
}  // namespace orv::test
