#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "broker/values.h"

/// Property values as Prometheus wants them: numbers in base units, and texts for labels. Values
/// may come from any server: one whose type is not that of the schema gives no sample, not an
/// error.
namespace orv::metrics {

/// How a property becomes a number. Absent: there is no sample.
struct Conversion {
  const char* unit;  ///< of the number, for the reference page
  std::optional<double> (*apply)(const broker::Value& value);
};

extern const Conversion kAsIs;          ///< a number
extern const Conversion kFlag;          ///< a boolean, or a number: 1 unless it is 0
extern const Conversion kBytes;         ///< a number of bytes
extern const Conversion kBitRate;       ///< bits per second to bytes per second; 0 is unknown
extern const Conversion kMicroseconds;  ///< microseconds to seconds
extern const Conversion kSeconds;       ///< a number of seconds
extern const Conversion kPacketRate;    ///< packets per second
extern const Conversion kTime;          ///< a date-time to seconds since the epoch
extern const Conversion kHealth;        ///< DMTF's HealthState, 0 to 30
extern const Conversion kPortEnabled;   ///< EnabledState: 0 when it is Disabled
extern const Conversion kPortUp;        ///< EnabledState: 1 when it is Enabled, which needs a link
extern const Conversion kCpuRunning;    ///< CPUStatus: 1 when it is enabled

/// The number of an unsigned property. Absent for null and for another type.
std::optional<std::uint64_t> codeOf(const broker::Value& value);

/// How a property becomes the text of a label. Empty: there is no such label.
using LabelText = std::string (*)(const broker::Value& value);

std::string plainText(const broker::Value& value);
/// "02:1a:2b:ab:cd:ef" for "021A2BABCDEF"; any other text unchanged.
std::string macText(const broker::Value& value);
/// The device in an InstanceID: what follows its second colon; the whole text without one.
std::string lastPartText(const broker::Value& value);
/// The manufacturer of a processor, from Orvane_Processor.Vendor.
std::string vendorText(const broker::Value& value);
/// "running" or "alternate", from the InstanceID of a hypervisor's image.
std::string bankText(const broker::Value& value);

}  // namespace orv::metrics
