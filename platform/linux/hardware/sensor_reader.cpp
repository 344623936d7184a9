#include <sensors/error.h>
#include <sensors/sensors.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>

#include "platform/linux/hardware/kernel_texts.h"
#include "platform/linux/hardware/readers.h"
#include "platform/linux/sysfs.h"

namespace LinuxHost {
namespace {

using Hardware::Sensor;

struct SensorKind {
  sensors_feature_type feature;
  std::uint16_t sensorType;
  double scale;  ///< a unit has so many of the published parts
};

constexpr SensorKind kSensorKinds[] = {
    {SENSORS_FEATURE_TEMP, 2, 1000},   {SENSORS_FEATURE_IN, 3, 1000},
    {SENSORS_FEATURE_CURR, 4, 1000},   {SENSORS_FEATURE_FAN, 5, 1},
    {SENSORS_FEATURE_POWER, 13, 1000},
};

// ---- libsensors, whose state is one for the process ----

void dropParseError(const char*, const char*, int) {}

/// Without this, libsensors would end the process. Only functions of its own are between its caller
/// and this one.
void throwNoMemory(const char*, const char*) { throw std::bad_alloc(); }

/// The chips as libsensors knows them. Whoever asks a chip holds this object, so that the chips
/// stay.
class LibSensors {
 public:
  explicit LibSensors(std::string found) : found_(std::move(found)) {
    sensors_parse_error_wfn = dropParseError;
    sensors_fatal_error = throwNoMemory;
    try {
      usable_ = sensors_init(nullptr) == 0;
    } catch (...) {
      sensors_cleanup();  // or what it has found would be there twice the next time
      throw;
    }
  }
  ~LibSensors() { sensors_cleanup(); }
  LibSensors(const LibSensors&) = delete;
  LibSensors& operator=(const LibSensors&) = delete;

  bool isUsable() const { return usable_; }
  /// What the directory of chips contained when they were looked for.
  const std::string& found() const { return found_; }

 private:
  std::string found_;
  bool usable_ = false;
};

/// Never destroyed: threads may still ask while the process exits.
struct CurrentChips {
  std::mutex mutex;  ///< guards `chips` and the making and ending of a LibSensors
  std::shared_ptr<LibSensors> chips;
};

CurrentChips& currentChips() {
  static auto* const current = new CurrentChips;
  return *current;
}

/// Which chips there are, and what each has. A number may belong to another chip the next time.
std::string chipDirectory(const HostPaths& paths) {
  const std::string directory = paths.sys + "/class/hwmon";
  std::string found;
  for (const std::string& number : entriesOf(directory)) {
    const std::string chip = directory + "/" + number;
    found += number + " " + resolved(chip) + " " + textIn(chip + "/name") + "\n";
    for (const std::string& entry : entriesOf(chip)) found += entry + "\n";
  }
  return found;
}

/// The chips that there are now. While anyone asks a chip, those found before: libsensors cannot
/// look for others without forgetting the ones that it has.
std::shared_ptr<LibSensors> chipsOfNow(const HostPaths& paths) {
  CurrentChips& current = currentChips();
  const std::string found = chipDirectory(paths);
  const std::lock_guard lock(current.mutex);
  const bool inUse = current.chips.use_count() > 1;
  const bool usable = current.chips != nullptr && current.chips->isUsable();
  if (inUse || (usable && current.chips->found() == found)) return current.chips;
  current.chips.reset();
  current.chips = std::make_shared<LibSensors>(found);
  return current.chips;
}

/// Releases the chips with the mutex held, since the last holder ends them.
class ChipsHeld {
 public:
  explicit ChipsHeld(std::shared_ptr<LibSensors> chips) : chips_(std::move(chips)) {}
  ChipsHeld(const ChipsHeld&) = default;
  ChipsHeld& operator=(const ChipsHeld&) = delete;
  ~ChipsHeld() {
    const std::lock_guard lock(currentChips().mutex);
    chips_.reset();
  }

 private:
  std::shared_ptr<LibSensors> chips_;
};

// ---- One chip ----

std::string chipName(const sensors_chip_name& chip) {
  char name[200];
  const int size = sensors_snprintf_chip_name(name, sizeof name, &chip);
  return size > 0 ? cleanText(name) : "";
}

const SensorKind* kindOf(const sensors_feature& feature) {
  for (const SensorKind& kind : kSensorKinds) {
    if (kind.feature == feature.type) return &kind;
  }
  return nullptr;
}

/// A chip, with what is known about it before it is asked.
struct Chip {
  const sensors_chip_name* name = nullptr;
  std::string text;
  std::vector<const sensors_feature*> features;
  std::vector<Sensor> sensors;  ///< one for each feature
};

class ChipReader {
 public:
  explicit ChipReader(const sensors_chip_name& chip) : chip_(chip) {}

  /// Reads the values of a feature, which have the same names for every kind; sets `refused` when
  /// its reading cannot be read.
  void read(const sensors_feature& feature, const SensorKind& kind, Sensor& sensor) const {
    int error = 0;
    double value = 0;
    const bool has = valueOf(feature, "input", value, error) ||
                     (error == 0 && valueOf(feature, "average", value, error));
    if (has) sensor.reading = scaled(value, kind.scale);
    sensor.low = limit(feature, "min", kind.scale);
    sensor.high = limit(feature, "max", kind.scale);
    if (!sensor.high) sensor.high = limit(feature, "cap", kind.scale);
    sensor.lowCritical = limit(feature, "lcrit", kind.scale);
    sensor.highCritical = limit(feature, "crit", kind.scale);
    for (const char* alarm : {"min_alarm", "max_alarm"}) sensor.limitAlarm |= flag(feature, alarm);
    for (const char* alarm : {"alarm", "crit_alarm", "lcrit_alarm", "emergency_alarm"}) {
      sensor.alarm |= flag(feature, alarm);
    }
    sensor.fault = flag(feature, "fault");
    if (error != 0) sensor.refused = std::string("not read: ") + sensors_strerror(error);
  }

 private:
  /// The value of that name, for example temp1_max for "max"; null when the chip has none.
  const sensors_subfeature* find(const sensors_feature& feature, const char* name) const {
    const std::string whole = std::string(feature.name) + "_" + name;
    int number = 0;
    const sensors_subfeature* found = nullptr;
    do {
      found = sensors_get_all_subfeatures(&chip_, &feature, &number);
    } while (found != nullptr && found->name != whole);
    return found;
  }

  /// False when the chip has no such value, and when it cannot be read; then `error` is set.
  bool valueOf(const sensors_feature& feature, const char* name, double& value, int& error) const {
    const sensors_subfeature* subfeature = find(feature, name);
    if (subfeature == nullptr || (subfeature->flags & SENSORS_MODE_R) == 0) return false;
    error = sensors_get_value(&chip_, subfeature->number, &value);
    return error == 0;
  }

  /// Absent when it does not fit: chips without a limit report an absurd one.
  static std::optional<std::int32_t> scaled(double value, double scale) {
    const double parts = std::round(value * scale);
    if (!(std::abs(parts) < 2e9)) return std::nullopt;
    return static_cast<std::int32_t>(parts);
  }

  std::optional<std::int32_t> limit(const sensors_feature& feature, const char* name,
                                    double scale) const {
    double value = 0;
    int error = 0;
    return valueOf(feature, name, value, error) ? scaled(value, scale) : std::nullopt;
  }

  bool flag(const sensors_feature& feature, const char* name) const {
    double value = 0;
    int error = 0;
    return valueOf(feature, name, value, error) && value != 0;
  }

  const sensors_chip_name& chip_;
};

Sensor identityOf(const Chip& chip, const sensors_feature& feature, const SensorKind& kind) {
  Sensor sensor;
  sensor.id = keyText(chip.text + "/" + feature.name);
  sensor.sensorType = kind.sensorType;
  const std::unique_ptr<char, decltype(&std::free)> label(sensors_get_label(chip.name, &feature),
                                                          &std::free);
  const std::string text = cleanText(label != nullptr ? label.get() : feature.name);
  sensor.name = chip.text + " " + text;
  return sensor;
}

std::vector<Chip> chipsWithSensors() {
  std::vector<Chip> chips;
  int position = 0;
  while (const sensors_chip_name* name = sensors_get_detected_chips(nullptr, &position)) {
    Chip chip;
    chip.name = name;
    chip.text = chipName(*name);
    int number = 0;
    while (const sensors_feature* feature = sensors_get_features(name, &number)) {
      const SensorKind* const kind = kindOf(*feature);
      if (kind == nullptr) continue;
      chip.features.push_back(feature);
      chip.sensors.push_back(identityOf(chip, *feature, *kind));
    }
    if (!chip.sensors.empty()) chips.push_back(std::move(chip));
  }
  return chips;
}

// ---- What a chip belongs to ----

bool isPciAddress(std::string_view text) {
  return text.size() == 12 && text[4] == ':' && text[7] == ':' && text[10] == '.';
}

/// The disk whose device is the chip's device; null when there is none.
const BlockDevice* diskOf(const std::string& chipDevice, const BlockDevices& disks) {
  for (const BlockDevice& disk : disks.all()) {
    if (!disk.hardware.empty() && disk.hardware == chipDevice) return &disk;
  }
  return nullptr;
}

/// The id of the disk, controller, supply or battery that the chip is part of; empty for the host.
std::string monitoredBy(const std::string& chipDevice, const BlockDevice* disk) {
  if (disk != nullptr) return disk->id;
  const std::string_view name = baseName(chipDevice);
  const bool isSupply = chipDevice.find("/power_supply/") != std::string::npos;
  return isSupply || isPciAddress(name) ? keyText(name) : "";
}

/// Everything that is asked of one chip. A disk that is asleep is not asked for its temperature.
std::vector<Sensor> askChip(const Chip& chip, const HostPaths& paths, const std::string& hardware,
                            const std::string& diskName) {
  std::vector<Sensor> sensors = chip.sensors;
  const bool isDiskChip = std::string_view(chip.name->prefix) == "drivetemp";
  const std::string asleep =
      isDiskChip && !diskName.empty() ? asleepReason(paths, hardware, diskName) : "";
  for (std::size_t i = 0; i < sensors.size(); ++i) {
    if (asleep.empty()) {
      ChipReader(*chip.name).read(*chip.features[i], *kindOf(*chip.features[i]), sensors[i]);
    } else {
      sensors[i].refused = asleep;
    }
  }
  return sensors;
}

/// Whether the query wants this chip's values.
bool isWanted(const Chip& chip, const Hardware::Query& query) {
  if (!query.health) return false;
  if (query.onlyId.empty()) return true;
  for (const Sensor& sensor : chip.sensors) {
    if (sensor.id == query.onlyId) return true;
  }
  return false;
}

}  // namespace

std::vector<Sensor> readSensors(const HostPaths& paths, const UdevLookup& lookup,
                                const Hardware::Query& query, DeviceWorkers& workers) {
  const ChipsHeld held(chipsOfNow(paths));
  std::vector<Chip> chips = chipsWithSensors();
  if (chips.empty()) return {};

  const BlockDevices disks(paths, lookup);
  std::vector<DeviceWorkers::Question<std::vector<Sensor>>> questions;
  std::vector<std::size_t> positions;
  for (std::size_t i = 0; i < chips.size(); ++i) {
    Chip& chip = chips[i];
    const std::string device = resolved(std::string(chip.name->path) + "/device");
    const BlockDevice* const disk = diskOf(device, disks);
    for (Sensor& sensor : chip.sensors) sensor.monitored = monitoredBy(device, disk);
    if (!isWanted(chip, query)) continue;
    positions.push_back(i);
    questions.push_back(
        {"chip " + chip.text, [held, chip, paths, hardware = disk != nullptr ? disk->hardware : "",
                               name = disk != nullptr ? disk->name : ""] {
           return askChip(chip, paths, hardware, name);
         }});
  }
  const auto outcomes = workers.ask(std::move(questions));
  for (std::size_t i = 0; i < positions.size(); ++i) {
    std::vector<Sensor>& sensors = chips[positions[i]].sensors;
    if (outcomes[i].answer != nullptr) {
      sensors = *outcomes[i].answer;
    } else {
      for (Sensor& sensor : sensors) sensor.refused = outcomes[i].refused;
    }
  }
  std::vector<Sensor> all;
  for (const Chip& chip : chips) all.insert(all.end(), chip.sensors.begin(), chip.sensors.end());
  return all;
}

}  // namespace LinuxHost
