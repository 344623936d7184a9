#include "tests/guest/port_tools.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <regex>
#include <set>
#include <sstream>
#include <utility>

#include "tests/platform/linux/tool_output.h"

namespace orv::test {
namespace {

using LinuxHost::labelled;
using nlohmann::json;

constexpr char kEndOfPart[] = "====\n";

std::string cut(std::string& text) {
  const std::size_t end = text.find(kEndOfPart);
  const std::string part = text.substr(0, end);
  text.erase(0, end == std::string::npos ? end : end + sizeof kEndOfPart - 1);
  return part;
}

bool isNumber(const std::string& text) { return !text.empty() && std::isdigit(text[0]) != 0; }

unsigned long numberOrZero(const std::string& text) {
  return isNumber(text) ? std::stoul(text) : 0;
}

bool hasFlag(const PortByTools& port, const std::string& flag) {
  const json& flags = port.ip["flags"];
  return std::find(flags.begin(), flags.end(), flag) != flags.end();
}

// "AABBCCDDEEFF" of "aa:bb:cc:dd:ee:ff".
std::string digits(std::string address) {
  address.erase(std::remove(address.begin(), address.end(), ':'), address.end());
  for (char& c : address) c = static_cast<char>(std::toupper(c));
  return address;
}

std::string permanentAddress(const PortByTools& port) {
  const std::string told = port.said("-P", "Permanent address");
  const bool isTold = told.size() == 17 && told != "00:00:00:00:00:00";
  const json& ip = port.ip;
  if (ip.contains("permaddr")) {
    EXPECT_EQ(ip["permaddr"], told);
    return digits(ip["permaddr"]);
  }
  return digits(isTold ? told : ip["address"].get<std::string>());
}

// Modes such as "1000_FULL" of "1000baseT/Full" words, which go on over lines; by speed, half
// duplex first.
json modes(const PortByTools& port, const std::string& label) {
  const std::string& text = port.ethtool.at("");
  const std::size_t begin = text.find(label + " link modes:");
  if (begin == std::string::npos) return json::array();
  const std::size_t end = std::min(text.find(" pause frame", begin), text.find(label + " auto"));
  const std::string part = text.substr(begin, end - begin);
  std::set<std::pair<unsigned long, bool>> found;
  const std::regex mode("([0-9]+)base[^/ ]*/(Half|Full)");
  for (std::sregex_iterator at(part.begin(), part.end(), mode), none; at != none; ++at) {
    found.emplace(std::stoul((*at)[1]), (*at)[2] == "Full");
  }
  json texts = json::array();
  for (const auto& [speed, full] : found) {
    texts.push_back(std::to_string(speed) + (full ? "_FULL" : "_HALF"));
  }
  return texts;
}

std::string hexadecimal(const std::string& text, std::size_t width) {
  std::ostringstream out;
  out << std::hex << std::stoul(text, nullptr, 16);
  const std::string number = out.str();
  return "0x" + std::string(width - std::min(width, number.size()), '0') + number;
}

// Bus, slot, function, vendor, device and segment of "0000:00:02.0"; null for another bus.
json pciInformation(const PortByTools& port) {
  const std::string place = port.said("-i", "bus-info");
  std::smatch part;
  const std::regex form("([0-9a-f]{4}):([0-9a-f]{2}):([0-9a-f]{2})\\.([0-7])");
  if (!std::regex_match(place, part, form)) return nullptr;
  return json::array({hexadecimal(part[2], 2), hexadecimal(part[3], 2), hexadecimal(part[4], 2),
                      hexadecimal(port.vendor, 4), hexadecimal(port.device, 4),
                      hexadecimal(part[1], 4)});
}

// A row for each thing that ethtool says, and the value that is published for it.
struct Meaning {
  const char* text;
  unsigned value;
};

constexpr Meaning kMedia[] = {{"TP", 1}, {"AUI", 2}, {"MII", 3}, {"FIBRE", 5}, {"BNC", 4}};

json supportedPorts(const PortByTools& port) {
  std::istringstream told(port.said("", "Supported ports"));
  std::set<std::string> words;
  for (std::string word; told >> word;) words.insert(word);
  json values = json::array();
  for (const Meaning& medium : kMedia) {
    if (words.count(medium.text) != 0) values.push_back(medium.value);
  }
  return values;
}

constexpr Meaning kWakeModes[] = {{"p", 2}, {"u", 3}, {"m", 4}, {"b", 5},
                                  {"a", 6}, {"g", 7}, {"s", 0}, {"f", 1}};

json wakeModes(const PortByTools& port, const std::string& label) {
  const std::string letters = port.said("", label);
  json values = json::array();
  for (const Meaning& mode : kWakeModes) {
    if (letters.find(mode.text) != std::string::npos) values.push_back(mode.value);
  }
  return values;
}

// 50 of twisted pair at 10 megabits per second and so on. A driver without link settings says no
// medium and no speed.
unsigned portType(const std::string& medium, unsigned long speed) {
  const std::map<std::pair<std::string, unsigned long>, unsigned> types = {
      {{"Twisted Pair", 10}, 50},
      {{"Twisted Pair", 100}, 52},
      {{"Twisted Pair", 1000}, 53},
      {{"FIBRE", 100}, 100},
      {{"FIBRE", 1000}, 102}};
  const auto found = types.find({medium, speed});
  return found == types.end() ? 0 : found->second;
}

unsigned transceiver(const std::string& text) {
  return text == "internal" ? 1 : text == "external" ? 2 : 0;
}

struct Queues {
  unsigned long most = 0;
  unsigned long used = 0;
};

// Receive and combined channels; the queues in sysfs where the driver counts none.
Queues receiveQueues(const PortByTools& port) {
  const std::string& text = port.ethtool.at("-l");
  const std::size_t current = text.find("Current hardware settings:");
  if (current == std::string::npos) return {port.receiveQueues, port.receiveQueues};
  const auto sum = [](const std::string& part) {
    return numberOrZero(labelled(part, "RX").value_or("")) +
           numberOrZero(labelled(part, "Combined").value_or(""));
  };
  return {sum(text.substr(0, current)), sum(text.substr(current))};
}

json loadBalancing(unsigned long queues) { return json::array({queues > 1 ? 5 : 0}); }

json software(const PortByTools& port, const std::string& className, const std::string& kind,
              const std::string& label) {
  const std::string begin = port.said("-i", "driver") + kind;
  return {{"InstanceID", "Orvane:" + className + ":" + port.name()},
          {"ElementName", begin},
          {"VersionString", begin + port.said("-i", label)}};
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
                                     {"rxFrameLow", "rx-frame-low"},
                                     {"txUsecsLow", "tx-usecs-low"},
                                     {"txFrameLow", "tx-frame-low"},
                                     {"rxUsecsHigh", "rx-usecs-high"},
                                     {"rxFrameHigh", "rx-frame-high"},
                                     {"txUsecsHigh", "tx-usecs-high"},
                                     {"txFrameHigh", "tx-frame-high"}};

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
                                     {"RxOverErrors", "rx", "over_errors"},
                                     {"RxCRCErrors", "rx", "crc_errors"},
                                     {"RxFrameErrors", "rx", "frame_errors"},
                                     {"RxFIFOErrors", "rx", "fifo_errors"},
                                     {"RxMissedErrors", "rx", "missed_errors"},
                                     {"TxAbortedErrors", "tx", "aborted_errors"},
                                     {"TxFIFOErrors", "tx", "fifo_errors"},
                                     {"TxCarrierErrors", "tx", "carrier_errors"},
                                     {"TxHeartbeatErrors", "tx", "heartbeat_errors"},
                                     {"TxWindowErrors", "tx", "window_errors"}};

using Options = std::vector<const char*>;

const Options kAllOptions = {"", "-i", "-c", "-l", "-P", "-S"};

/// A script that prints what each tool says of each port, one part after the other. As few programs
/// as possible: each takes a while in a guest. Virtio hangs on a PCI device.
std::string questions(const json& links, const Options& options) {
  std::string script = "exec 2>/dev/null; end() { echo '===='; }\n";
  for (const json& link : links) {
    const std::string name = link["ifname"];
    const std::string entry = "/sys/class/net/" + name;
    for (const char* option : options) {
      script += "ethtool " + std::string(option) + " " + name + "; end\n";
    }
    script += "d=" + entry + "/device; [ -e $d/subsystem/drivers/virtio_net ] && d=$d/..\n";
    script += "v=; read v <$d/vendor; echo $v; end; v=; read v <$d/device; echo $v; end\n";
    script += "set -- " + entry + "/queues/rx-*; echo $#; end\n";
  }
  return script;
}

std::vector<PortByTools> look(Guest& guest, const Options& options) {
  const Outcome listed = guest.run("ip -json -details -s -s link");
  EXPECT_EQ(listed.status, 0) << listed.err;
  json links = json::parse(listed.out, nullptr, false);
  links.erase(std::remove_if(links.begin(), links.end(),
                             [](const json& link) { return !link.contains("parentbus"); }),
              links.end());
  std::string text = guest.run(questions(links, options)).out;
  std::vector<PortByTools> ports;
  for (const json& link : links) {
    PortByTools& port = ports.emplace_back();
    port.ip = link;
    for (const char* option : options) port.ethtool[option] = cut(text);
    port.vendor = cut(text);
    port.device = cut(text);
    port.receiveQueues = numberOrZero(cut(text));
  }
  return ports;
}

}  // namespace

std::string PortByTools::said(const std::string& option, const std::string& label) const {
  const std::string text = labelled(ethtool.at(option), label).value_or("");
  return text.substr(0, text.find_last_not_of(" \t") + 1);
}

std::vector<PortByTools> portsByTools(Guest& guest) { return look(guest, kAllOptions); }

std::vector<PortByTools> statesByTools(Guest& guest) { return look(guest, {"", "-S"}); }

bool areInTheSameState(const PortByTools& before, const PortByTools& after) {
  return before.ip["flags"] == after.ip["flags"] && before.ethtool.at("") == after.ethtool.at("");
}

json expectedPort(const PortByTools& port, const std::string& host) {
  const std::string name = port.name();
  const bool up = hasFlag(port, "UP");
  const bool lower = hasFlag(port, "LOWER_UP");
  const std::string address = permanentAddress(port);
  const unsigned long speed = numberOrZero(port.said("", "Speed"));
  const Queues queues = receiveQueues(port);
  json expected = {
      {"SystemCreationClassName", "OMC_UnitaryComputerSystem"},
      {"SystemName", host},
      {"CreationClassName", "Orvane_EthernetPort"},
      {"DeviceID", name},
      {"Name", name},
      {"ElementName", name},
      {"Caption", name},
      {"PortType", portType(port.said("", "Port"), speed)},
      {"AutoSense", port.said("", "Auto-negotiation") == "on" ? 1 : 0},
      {"Speed", speed * 1'000'000},
      {"LinkTechnology", 2},
      {"PermanentAddress", address},
      {"NetworkAddresses", json::array({address})},
      {"RequestedState", 5},
      {"EnabledState", !up     ? 3
                       : lower ? 2
                               : 6},
      {"OperationalStatus", json::array({up && lower ? 2 : 10})},
      {"Capabilities", loadBalancing(queues.most)},
      {"EnabledCapabilities", loadBalancing(queues.used)},
      {"FullDuplex", port.said("", "Duplex") == "Full"},
      {"ActiveMaximumTransmissionUnit", port.ip["mtu"]},
      {"SupportedPorts", supportedPorts(port)},
      {"SupportedLinkModes", modes(port, "Supported")},
      {"AdvertisedLinkModes", modes(port, "Advertised")},
      {"AdvertisedAutoNegotiation", port.said("", "Advertised auto-negotiation") == "Yes"},
      {"PhysicalAddress", numberOrZero(port.said("", "PHYAD"))},
      {"Transceiver", transceiver(port.said("", "Transceiver"))},
      {"WOLSupported", wakeModes(port, "Supports Wake-on")},
      {"WOLOptions", wakeModes(port, "Wake-on")}};
  const json pci = pciInformation(port);
  if (pci.is_null()) return expected;
  expected["OtherIdentifyingInfo"] = pci;
  expected["IdentifyingDescriptions"] = {"PCI Bus",    "PCI Slot",     "PCI Function",
                                         "PCI Vendor", "PCI DeviceID", "PCI Segment"};
  return expected;
}

json expectedDriver(const PortByTools& port) {
  return software(port, "Orvane_EPDriverSoftwareIdentity", " driver ", "version");
}

json expectedFirmware(const PortByTools& port) {
  return software(port, "Orvane_EPFirmwareSoftwareIdentity", " device firmware ",
                  "firmware-version");
}

json expectedCoalescing(const PortByTools& port) {
  json expected = {{"InstanceID", "Orvane:Orvane_EPCoalesceSettingData:" + port.name()},
                   {"ElementName", port.name()}};
  const std::string adaptive = port.said("-c", "Adaptive RX");  // "off  TX: off"
  expected["adaptiveRX"] = adaptive.rfind("on", 0) == 0;
  expected["adaptiveTX"] = adaptive.find("TX: on") != std::string::npos;
  const bool isTold = !port.ethtool.at("-c").empty() && !adaptive.empty();
  for (const SettingName& setting : kSettings) {
    const auto text = labelled(port.ethtool.at("-c"), setting.label);
    EXPECT_EQ(text.has_value(), isTold) << setting.label;
    expected[setting.property] = numberOrZero(text.value_or(""));
  }
  return expected;
}

json expectedStatistics(const PortByTools& port) {
  const std::string name = port.name();
  json expected = {{"InstanceID", "Orvane:Orvane_EPStatisticalInformation:" + name},
                   {"Name", name},
                   {"ElementName", name},
                   {"Caption", name},
                   {"Description", name + " statistics"}};
  for (const CounterName& counter : kCounters) {
    expected[counter.property] = port.ip["stats64"][counter.side][counter.counter];
  }
  return expected;
}

std::map<std::string, unsigned long> driverCounters(const PortByTools& port) {
  std::map<std::string, unsigned long> counters;
  for (const CounterName& counter : kCounters) {
    // Adapters count the bytes of a frame that the kernel does not see.
    if (std::string(counter.counter) == "bytes") continue;
    const std::string text =
        port.said("-S", std::string(counter.side) + "_" + std::string(counter.counter));
    if (isNumber(text)) counters[counter.property] = std::stoul(text);
  }
  return counters;
}

}  // namespace orv::test
