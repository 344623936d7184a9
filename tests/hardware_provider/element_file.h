#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The hardware that the hardware provider serves, described in a text file:
///
///   # comment
///   CIM_Sensor 20 DeviceID=fan-1 ElementName="Fan 1"     an element and its HealthState
///   Orvane_StoragePool - InstanceID=pool-1               an element without a HealthState
///   Orvane_Battery fails 1 controller does not answer    requests for the class fail with status 1
///
/// one line each. A value is a word or stands in double quotes (no escapes); `Name#=5` sets a
/// number (uint64). Which properties are keys is the schema's business.
struct HardwareProperty {
  std::string name;
  std::string value;
  bool isNumber = false;
};

struct HardwareElement {
  std::string className;
  std::optional<std::uint16_t> healthState;
  std::vector<HardwareProperty> properties;
};

struct HardwareFailure {
  std::string className;
  int status = 1;
  std::string message;
};

struct Hardware {
  std::vector<HardwareElement> elements;
  std::vector<HardwareFailure> failures;
};

/// Fails: std::runtime_error with the line's number for a line of another form.
Hardware readHardware(std::istream& in);
