#include "hardware/health_rules.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>
#include <tuple>
#include <utility>

#include "framework/rows.h"

namespace Hardware {
namespace {

/// A condition, the health of an element that meets it, and what is said about such an element.
/// Empty words mean that the element does not meet it.
template <typename Facts>
struct Rule {
  const char* condition;
  Health health;
  std::string (*words)(const Facts& facts, const Growth& growth);
};

constexpr const char* kNothing = "";

// ---- Words ----

template <typename Number>
std::string number(Number value) {
  return std::to_string(value);
}

/// A reading in its unit: "71.5 C", "12.096 V", "640 rpm".
std::string inUnit(const Sensor& sensor, std::int32_t value) {
  if (sensor.sensorType == 5) return number(value) + " rpm";
  char digits[32];
  std::snprintf(digits, sizeof digits, "%.3f", static_cast<double>(value) / 1000);
  std::string text = digits;
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  switch (sensor.sensorType) {
    case 2:
      return text + " C";
    case 3:
      return text + " V";
    case 4:
      return text + " A";
    case 13:
      return text + " W";
    default:
      return text;
  }
}

std::string readingOf(const Sensor& sensor) {
  return sensor.reading ? inUnit(sensor, *sensor.reading) : "no reading";
}

bool isOneOf(std::string_view text, std::initializer_list<std::string_view> words) {
  return std::find(words.begin(), words.end(), text) != words.end();
}

/// "3 new corrected errors since start (17 in all)"; empty without growth.
std::string grown(const Growth& growth, const char* counter, const char* what,
                  const std::optional<std::uint64_t>& value) {
  const std::uint64_t more = growth.of(counter, value);
  if (more == 0) return kNothing;
  return number(more) + " new " + what + " since start (" + number(*value) + " in all)";
}

// ---- Sensors ----

const Rule<Sensor> kSensorRules[] = {
    {"at or above the critical limit", kCritical,
     [](const Sensor& s, const Growth&) -> std::string {
       if (!s.reading || !s.highCritical || *s.reading < *s.highCritical) return kNothing;
       return readingOf(s) + ", critical from " + inUnit(s, *s.highCritical);
     }},
    {"at or below the lower critical limit", kCritical,
     [](const Sensor& s, const Growth&) -> std::string {
       if (!s.reading || !s.lowCritical || *s.reading > *s.lowCritical) return kNothing;
       return readingOf(s) + ", critical down from " + inUnit(s, *s.lowCritical);
     }},
    {"the chip's alarm, other than that of a non-critical limit", kCritical,
     [](const Sensor& s, const Growth&) -> std::string {
       return s.alarm ? "alarm of the chip (" + readingOf(s) + ")" : kNothing;
     }},
    {"the chip's fault flag: the sensor does not work", kMajor,
     [](const Sensor& s, const Growth&) -> std::string {
       return s.fault ? "sensor fault" : kNothing;
     }},
    {"above the maximum", kDegraded,
     [](const Sensor& s, const Growth&) -> std::string {
       if (!s.reading || !s.high || *s.reading <= *s.high) return kNothing;
       return readingOf(s) + ", maximum " + inUnit(s, *s.high);
     }},
    {"below the minimum", kDegraded,
     [](const Sensor& s, const Growth&) -> std::string {
       if (!s.reading || !s.low || *s.reading >= *s.low) return kNothing;
       return readingOf(s) + ", minimum " + inUnit(s, *s.low);
     }},
    {"the chip's alarm of a non-critical limit", kDegraded,
     [](const Sensor& s, const Growth&) -> std::string {
       return s.limitAlarm ? "limit alarm of the chip (" + readingOf(s) + ")" : kNothing;
     }},
};

// ---- Memory ----

const Rule<MemoryModule> kMemoryRules[] = {
    {"uncorrectable errors", kCritical,
     [](const MemoryModule& m, const Growth&) -> std::string {
       if (m.uncorrectableErrors.value_or(0) == 0) return kNothing;
       return number(*m.uncorrectableErrors) + " uncorrectable errors";
     }},
    {"new correctable errors since start", kDegraded,
     [](const MemoryModule& m, const Growth& growth) {
       return grown(growth, "correctable", "correctable errors", m.correctableErrors);
     }},
};

// ---- Power ----

struct HealthWord {
  std::string_view word;
  Health health;
};

/// The kernel's words for the health of a supply or battery. "Good" and "Unknown" report no fault.
constexpr HealthWord kHealthWords[] = {
    {"Dead", kCritical},
    {"Unspecified failure", kMajor},
    {"Overheat", kMajor},
    {"Over voltage", kMajor},
    {"Over current", kMajor},
    {"Watchdog timer expire", kMinor},
    {"Safety timer expire", kMinor},
    {"Hot", kDegraded},
    {"Cold", kDegraded},
    {"Calibration required", kDegraded},
};

std::string reported(const std::string& health, Health wanted) {
  for (const HealthWord& row : kHealthWords) {
    if (row.health == wanted && row.word == health) return "reports \"" + health + "\"";
  }
  return kNothing;
}

template <typename Facts, Health health>
std::string reportedAs(const Facts& facts, const Growth&) {
  return reported(facts.health, health);
}

template <typename Facts>
constexpr Rule<Facts> kReportedRules[] = {
    {"reports Dead", kCritical, reportedAs<Facts, kCritical>},
    {"reports Unspecified failure, Overheat, Over voltage or Over current", kMajor,
     reportedAs<Facts, kMajor>},
    {"reports Watchdog timer expire or Safety timer expire", kMinor, reportedAs<Facts, kMinor>},
    {"reports Hot, Cold or Calibration required", kDegraded, reportedAs<Facts, kDegraded>},
};

const Rule<PowerSupply> kPowerSupplyRules[] = {
    kReportedRules<PowerSupply>[0],
    kReportedRules<PowerSupply>[1],
    kReportedRules<PowerSupply>[2],
    kReportedRules<PowerSupply>[3],
    {
      "a mains supply without input", kDegraded,
          [](const PowerSupply& p, const Growth&) -> std::string {
            return p.type == "Mains" && p.online == 0 ? "offline: no input" : kNothing;
          }
    },
};

std::string chargeOf(const Battery& battery) {
  return battery.charge ? " (" + number(*battery.charge) + " %)" : kNothing;
}

const Rule<Battery> kBatteryRules[] = {
    kReportedRules<Battery>[0],
    {
      "capacity level Critical", kCritical, [](const Battery& b, const Growth&) -> std::string {
        return b.capacityLevel == "Critical" ? "charge critical" + chargeOf(b) : kNothing;
      }
    },
    kReportedRules<Battery>[1],
    kReportedRules<Battery>[2],
    kReportedRules<Battery>[3],
    {
      "capacity level Low", kDegraded, [](const Battery& b, const Growth&) -> std::string {
        return b.capacityLevel == "Low" ? "charge low" + chargeOf(b) : kNothing;
      }
    },
    {
      "status Discharging: the charge is not held in reserve", kDegraded,
          [](const Battery& b, const Growth&) -> std::string {
            return b.status == "Discharging" ? "discharging" + chargeOf(b) : kNothing;
          }
    },
};

// ---- Disks ----

template <unsigned bit>
std::string warning(const Disk& disk, const char* meaning) {
  if ((disk.criticalWarning.value_or(0) >> bit & 1) == 0) return kNothing;
  return std::string("critical warning: ") + meaning;
}

const Rule<Disk> kDiskRules[] = {
    {"the kernel has it offline, dead, blocked or failed", kCritical,
     [](const Disk& d, const Growth&) -> std::string {
       if (!isOneOf(d.state, {"offline", "transport-offline", "dead", "blocked", "failed",
                              "deleting", "deleting (no IO)", "cancel", "needs reset"})) {
         return kNothing;
       }
       return "device is " + d.state;
     }},
    {"ATA SMART: overall status failed", kCritical,
     [](const Disk& d, const Growth&) -> std::string {
       return d.smartPassed == 0 ? "SMART overall status: failed" : kNothing;
     }},
    {"NVMe critical warning, bit 2: reliability degraded", kCritical,
     [](const Disk& d, const Growth&) { return warning<2>(d, "reliability degraded"); }},
    {"NVMe critical warning, bit 3: media are read-only", kCritical,
     [](const Disk& d, const Growth&) { return warning<3>(d, "media are read-only"); }},
    {"NVMe critical warning, bit 0, or available spare: spare below threshold", kMajor,
     [](const Disk& d, const Growth&) -> std::string {
       const bool below = d.spare && d.spareThreshold && *d.spare < *d.spareThreshold;
       std::string words = warning<0>(d, "spare below threshold");
       if (words.empty() && !below) return kNothing;
       if (words.empty()) words = "spare below threshold";
       return d.spare ? words + " (" + number(*d.spare) + " %)" : words;
     }},
    {"NVMe critical warning, bit 4: backup of volatile memory failed", kMajor,
     [](const Disk& d, const Growth&) {
       return warning<4>(d, "backup of volatile memory failed");
     }},
    {"NVMe critical warning, bit 5: persistent memory region unreliable", kMajor,
     [](const Disk& d, const Growth&) {
       return warning<5>(d, "persistent memory region unreliable");
     }},
    {"SCSI: the disk predicts its failure", kMajor,
     [](const Disk& d, const Growth&) -> std::string {
       return d.failurePrediction.empty() ? kNothing : "predicts: " + d.failurePrediction;
     }},
    {"NVMe critical warning, bit 1: temperature", kMinor,
     [](const Disk& d, const Growth&) -> std::string {
       const std::string words = warning<1>(d, "temperature");
       return words.empty() || !d.temperature ? words
                                              : words + " (" + number(*d.temperature) + " C)";
     }},
    {"ATA SMART: pending sectors", kDegraded,
     [](const Disk& d, const Growth&) -> std::string {
       return d.pendingSectors.value_or(0) == 0 ? kNothing
                                                : number(*d.pendingSectors) + " pending sectors";
     }},
    {"NVMe: 100 % or more of the expected life used", kDegraded,
     [](const Disk& d, const Growth&) -> std::string {
       return d.used.value_or(0) < 100 ? kNothing
                                       : number(*d.used) + " % of the expected life used";
     }},
    {"NVMe: new media errors since start", kDegraded,
     [](const Disk& d, const Growth& growth) {
       return grown(growth, "media", "media errors", d.mediaErrors);
     }},
};

// ---- Controllers ----

const Rule<PciFunction> kControllerRules[] = {
    {"new fatal errors since start", kCritical,
     [](const PciFunction& p, const Growth& growth) {
       return grown(growth, "fatal", "fatal errors", p.fatalErrors);
     }},
    {"the PCI link is down", kMajor,
     [](const PciFunction& p, const Growth&) -> std::string {
       const bool down = p.linkWidth == 0 && p.maxLinkWidth.value_or(0) > 0;
       return down ? "PCI link down" : kNothing;
     }},
    {"new non-fatal errors since start", kMajor,
     [](const PciFunction& p, const Growth& growth) {
       return grown(growth, "nonfatal", "non-fatal errors", p.nonFatalErrors);
     }},
    {"new correctable errors since start", kDegraded,
     [](const PciFunction& p, const Growth& growth) {
       return grown(growth, "correctable", "correctable errors", p.correctableErrors);
     }},
};

// ---- Ports to disks ----

const Rule<StoragePort> kStoragePortRules[] = {
    {"the link rate could not be negotiated", kMajor,
     [](const StoragePort& p, const Growth&) -> std::string {
       return p.linkState == "Link Rate Failed" ? "link rate failed" : kNothing;
     }},
    {"the link is down, with a device attached or up since start", kMajor,
     [](const StoragePort& p, const Growth& growth) -> std::string {
       const bool expected = growth.everHeld("link", p.speed.has_value()) || p.deviceAttached == 1;
       const bool known = p.refused.empty();
       return !p.speed && expected && known ? "link down" : kNothing;
     }},
    {"new invalid dwords since start", kDegraded,
     [](const StoragePort& p, const Growth& growth) {
       return grown(growth, "dwords", "invalid dwords", p.invalidDwords);
     }},
    {"new disparity errors since start", kDegraded,
     [](const StoragePort& p, const Growth& growth) {
       return grown(growth, "disparity", "disparity errors", p.disparityErrors);
     }},
    {"new losses of synchronisation since start", kDegraded,
     [](const StoragePort& p, const Growth& growth) {
       return grown(growth, "sync", "losses of synchronisation", p.lossesOfSync);
     }},
    {"new reset problems since start", kDegraded,
     [](const StoragePort& p, const Growth& growth) {
       return grown(growth, "reset", "reset problems", p.resetProblems);
     }},
};

// ---- Arrays ----

/// The most members that an array can lose and still hold its data. For raid10 that depends on
/// which ones; but as many as hold all blocks once must be left. Without a layout it is taken to
/// have two copies, as by default.
std::uint32_t tolerated(const Pool& pool) {
  const std::uint32_t disks = pool.disks.value_or(0);
  if (pool.level == "raid1" && disks > 0) return disks - 1;
  if (pool.level == "raid4" || pool.level == "raid5") return 1;
  if (pool.level == "raid6") return 2;
  if (pool.level == "raid10" && disks > 0) {
    const std::uint32_t copies = std::max<std::uint32_t>(pool.copies.value_or(2), 1);
    const std::uint32_t needed = (disks - 1) / copies + 1;
    return disks - needed;
  }
  return 0;
}

std::string missingOf(const Pool& pool) {
  return number(*pool.missing) + " of " + number(pool.disks.value_or(0)) + " members missing";
}

bool hasFailed(const Pool& pool) { return pool.missing.value_or(0) > tolerated(pool); }

const Rule<Pool> kPoolRules[] = {
    {"array broken or inactive", kCritical,
     [](const Pool& p, const Growth&) -> std::string {
       return isOneOf(p.state, {"broken", "inactive"}) ? "array is " + p.state : kNothing;
     }},
    {"more members missing than the array's level tolerates", kCritical,
     [](const Pool& p, const Growth&) {
       return hasFailed(p) ? "array failed: " + missingOf(p) : kNothing;
     }},
    {"members missing", kDegraded,
     [](const Pool& p, const Growth&) -> std::string {
       if (p.missing.value_or(0) == 0 || hasFailed(p)) return kNothing;
       const bool rebuilding = p.syncAction == "recover" || p.syncAction == "resync";
       return "array degraded: " + missingOf(p) + (rebuilding ? ", rebuilding" : "");
     }},
};

const Rule<Volume> kVolumeRules[] = {
    {"file system mounted for writing has become read-only", kMajor,
     [](const Volume& v, const Growth&) -> std::string {
       return v.readOnlyRemount ? "file system at " + v.mountPoint + " became read-only" : kNothing;
     }},
    {"errors recorded in the file system", kMajor,
     [](const Volume& v, const Growth&) -> std::string {
       return v.errors.value_or(0) == 0 ? kNothing : number(*v.errors) + " file system errors";
     }},
    {"logical volume suspended", kDegraded,
     [](const Volume& v, const Growth&) -> std::string {
       return v.suspended ? "suspended: requests wait" : kNothing;
     }},
};

/// Whether `word` is in a list of words separated by commas.
bool hasWord(std::string_view list, std::string_view word) {
  while (!list.empty()) {
    const std::string_view next = list.substr(0, list.find(','));
    if (next == word) return true;
    list.remove_prefix(std::min(list.size(), next.size() + 1));
  }
  return false;
}

const Rule<Extent> kExtentRules[] = {
    {"member faulty", kCritical,
     [](const Extent& e, const Growth&) -> std::string {
       return hasWord(e.state, "faulty") ? "member is faulty" : kNothing;
     }},
    {"member blocked", kMajor,
     [](const Extent& e, const Growth&) -> std::string {
       return hasWord(e.state, "blocked") ? "member is blocked" : kNothing;
     }},
    {"member has write errors, or its replacement is wanted", kDegraded,
     [](const Extent& e, const Growth&) -> std::string {
       if (hasWord(e.state, "write_error")) return "write errors";
       return hasWord(e.state, "want_replacement") ? "replacement wanted" : kNothing;
     }},
    {"new corrected read errors since start", kDegraded,
     [](const Extent& e, const Growth& growth) {
       return grown(growth, "corrected", "corrected read errors", e.errors);
     }},
};

/// The rules of a kind of element.
template <typename Facts>
struct Rules {
  const char* element;
  ORV::Rows<Rule<Facts>> rows;  ///< the worst first, so the words are in that order too
};

constexpr std::tuple kRules{
    Rules<Sensor>{"sensor", kSensorRules},
    Rules<MemoryModule>{"memory module", kMemoryRules},
    Rules<PowerSupply>{"power supply", kPowerSupplyRules},
    Rules<Battery>{"battery", kBatteryRules},
    Rules<Disk>{"disk", kDiskRules},
    Rules<PciFunction>{"controller", kControllerRules},
    Rules<StoragePort>{"port to disks", kStoragePortRules},
    Rules<Pool>{"array", kPoolRules},
    Rules<Volume>{"volume", kVolumeRules},
    Rules<Extent>{"array member", kExtentRules},
};

template <typename Facts>
void document(const Rules<Facts>& rules, std::vector<DocumentedRule>& documented) {
  for (const Rule<Facts>& rule : rules.rows) {
    documented.push_back({rules.element, rule.condition, rule.health});
  }
}

}  // namespace

template <typename Facts>
Judgement judge(const Facts& facts, const Growth& growth) {
  Judgement judgement;
  for (const Rule<Facts>& rule : std::get<Rules<Facts>>(kRules).rows) {
    std::string words = rule.words(facts, growth);
    if (words.empty()) continue;
    judgement.health = std::max(judgement.health, rule.health);
    judgement.words.push_back(std::move(words));
  }
  if (facts.refused.empty()) return judgement;
  if (judgement.words.empty()) judgement.health = kUnknown;
  judgement.words.push_back(facts.refused);
  return judgement;
}

template Judgement judge(const Sensor&, const Growth&);
template Judgement judge(const MemoryModule&, const Growth&);
template Judgement judge(const PowerSupply&, const Growth&);
template Judgement judge(const Battery&, const Growth&);
template Judgement judge(const Disk&, const Growth&);
template Judgement judge(const PciFunction&, const Growth&);
template Judgement judge(const StoragePort&, const Growth&);
template Judgement judge(const Pool&, const Growth&);
template Judgement judge(const Volume&, const Growth&);
template Judgement judge(const Extent&, const Growth&);

std::uint16_t operationalStatusOf(Health health) {
  if (health == kUnknown) return 0;
  if (health <= kOk) return 2;             // OK
  if (health <= kDegraded) return 3;       // Degraded
  if (health < kNonRecoverable) return 6;  // Error
  return 7;                                // Non-Recoverable Error
}

std::vector<DocumentedRule> documentedRules() {
  std::vector<DocumentedRule> rules;
  std::apply([&](const auto&... each) { (document(each, rules), ...); }, kRules);
  return rules;
}

}  // namespace Hardware
