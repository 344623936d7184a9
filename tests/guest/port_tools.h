#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/guest/guest.h"

/// What ip, ethtool and sysfs of a guest say of its ports, put as the instances that the library
/// should publish of them.
namespace orv::test {

struct PortByTools {
  nlohmann::json ip;                           ///< its entry of "ip -json -details -s -s link"
  std::map<std::string, std::string> ethtool;  ///< by option: "", "-i", "-c", "-l", "-P", "-S"
  std::string vendor;                          ///< of the PCI device in sysfs; may be empty
  std::string device;
  unsigned long receiveQueues = 0;  ///< in sysfs

  std::string name() const { return ip["ifname"]; }
  /// The text after "label:"; empty when ethtool does not say.
  std::string said(const std::string& option, const std::string& label) const;
};

/// The ports that a device carries, in the kernel's order.
std::vector<PortByTools> portsByTools(Guest& guest);
/// The same, with no more than their counters and the state of their links.
std::vector<PortByTools> statesByTools(Guest& guest);
/// Whether both tell the same state of the port's link.
bool areInTheSameState(const PortByTools& before, const PortByTools& after);

/// The properties of the port and of its satellites, each whole: what is not in the object is not
/// published. `host` is the name of the host.
nlohmann::json expectedPort(const PortByTools& port, const std::string& host);
nlohmann::json expectedDriver(const PortByTools& port);
nlohmann::json expectedFirmware(const PortByTools& port);
nlohmann::json expectedCoalescing(const PortByTools& port);
nlohmann::json expectedStatistics(const PortByTools& port);

/// Counters of "ethtool -S" that the driver tells under the name that ip gives them, by the
/// property that shows them; bytes left out.
std::map<std::string, unsigned long> driverCounters(const PortByTools& port);

}  // namespace orv::test
