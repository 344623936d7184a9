#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "platform/fact.h"

/// The hardware of a host, as plain records.
///
/// Each record lists its facts. A fact whose name begins with a capital letter is published as the
/// CIM property of that name; the others identify the element, relate it to others, or are used by
/// the rules of its health. A value is absent when the host does not report it.
///
/// Every record of an element begins with three facts of the same meaning:
/// - `id` identifies the element on this host, and is the same after a restart of the host if the
///   hardware has an identity (serial number, WWN, PCI address, SMBIOS handle);
/// - `name` is for people, and mostly the kernel's name;
/// - `refused` says why the host could not be asked about all of the element's health (no
///   permission, asleep, no answer in time); empty when everything was answered.
namespace Hardware {

using platform::Fact;

struct System {
  std::string vendor;
  std::string product;
  std::string version;
  std::string serialNumber;
  std::string uuid;
  std::string firmware;         ///< vendor, version and date of the firmware
  std::string kernelRelease;    ///< for example 6.1.0-18-amd64
  std::string operatingSystem;  ///< for example Debian GNU/Linux 12 (bookworm)

  static constexpr auto facts() {
    return std::tuple{
        Fact{"vendor", &System::vendor},
        Fact{"product", &System::product},
        Fact{"version", &System::version},
        Fact{"serialNumber", &System::serialNumber},
        Fact{"uuid", &System::uuid},
        Fact{"firmware", &System::firmware, "vendor, version and date of the firmware"},
        Fact{"kernelRelease", &System::kernelRelease},
        Fact{"operatingSystem", &System::operatingSystem},
    };
  }
};
static_assert(platform::everyMemberIsAFact<System>());

/// Readings and limits are in thousandths of the unit, those of fans in revolutions per minute.
struct Sensor {
  std::string id;
  std::string name;
  std::string refused;
  std::string monitored;  ///< id of the disk, controller or supply it is part of; empty: the host
  std::uint16_t sensorType = 0;  ///< 2 temperature, 3 voltage, 4 current, 5 fan, 13 power
  std::optional<std::int32_t> reading;
  std::optional<std::int32_t> low;           ///< below it: degraded
  std::optional<std::int32_t> high;          ///< above it: degraded
  std::optional<std::int32_t> lowCritical;   ///< at or below it: critical
  std::optional<std::int32_t> highCritical;  ///< at or above it: critical
  bool limitAlarm = false;  ///< the chip reports that the low or high limit was passed
  bool alarm = false;       ///< the chip reports any other alarm
  bool fault = false;       ///< the chip reports that the sensor itself does not work

  static constexpr auto facts() {
    return std::tuple{
        Fact{"id", &Sensor::id},
        Fact{"name", &Sensor::name},
        Fact{"refused", &Sensor::refused},
        Fact{"monitored", &Sensor::monitored, "`id` of a disk or controller; empty: the host"},
        Fact{"SensorType", &Sensor::sensorType,
             "2 temperature, 3 voltage, 4 current, 5 fan, 13 power"},
        Fact{"CurrentReading", &Sensor::reading, "thousandths of the unit; fans: rev/min"},
        Fact{"LowerThresholdNonCritical", &Sensor::low},
        Fact{"UpperThresholdNonCritical", &Sensor::high},
        Fact{"LowerThresholdCritical", &Sensor::lowCritical},
        Fact{"UpperThresholdCritical", &Sensor::highCritical},
        Fact{"LimitAlarm", &Sensor::limitAlarm, "the chip's alarm of a non-critical limit"},
        Fact{"Alarm", &Sensor::alarm, "any other alarm of the chip"},
        Fact{"Fault", &Sensor::fault, "the sensor itself does not work"},
    };
  }
};

struct MemoryModule {
  std::string id;
  std::string name;
  std::string refused;
  std::string manufacturer;
  std::string serialNumber;
  std::string partNumber;
  std::string bank;
  std::optional<std::uint64_t> capacity;             ///< bytes
  std::optional<std::uint16_t> memoryType;           ///< as CIM_PhysicalMemory.MemoryType
  std::optional<std::uint16_t> formFactor;           ///< as CIM_Chip.FormFactor
  std::optional<std::uint16_t> totalWidth;           ///< bits
  std::optional<std::uint16_t> dataWidth;            ///< bits
  std::optional<std::uint32_t> transferRate;         ///< megatransfers per second
  std::optional<std::uint64_t> correctableErrors;    ///< since the kernel began to count
  std::optional<std::uint64_t> uncorrectableErrors;  ///< since the kernel began to count

  static constexpr auto facts() {
    return std::tuple{
        Fact{"id", &MemoryModule::id},
        Fact{"name", &MemoryModule::name},
        Fact{"refused", &MemoryModule::refused},
        Fact{"Manufacturer", &MemoryModule::manufacturer},
        Fact{"SerialNumber", &MemoryModule::serialNumber},
        Fact{"PartNumber", &MemoryModule::partNumber},
        Fact{"BankLabel", &MemoryModule::bank},
        Fact{"Capacity", &MemoryModule::capacity, "bytes"},
        Fact{"MemoryType", &MemoryModule::memoryType},
        Fact{"FormFactor", &MemoryModule::formFactor},
        Fact{"TotalWidth", &MemoryModule::totalWidth, "bits"},
        Fact{"DataWidth", &MemoryModule::dataWidth, "bits"},
        Fact{"TransferRate", &MemoryModule::transferRate, "megatransfers per second"},
        Fact{"CorrectableErrors", &MemoryModule::correctableErrors},
        Fact{"UncorrectableErrors", &MemoryModule::uncorrectableErrors},
    };
  }
};
static_assert(platform::everyMemberIsAFact<MemoryModule>());

/// A power supply that is not a battery.
struct PowerSupply {
  std::string id;
  std::string name;
  std::string refused;
  std::string type;                     ///< the kernel's word: Mains, UPS, USB, ...
  std::string health;                   ///< the kernel's word: Good, Overheat, ...
  std::optional<std::uint16_t> online;  ///< 0 without input, 1 or 2 with input

  static constexpr auto facts() {
    return std::tuple{
        Fact{"id", &PowerSupply::id},
        Fact{"name", &PowerSupply::name},
        Fact{"refused", &PowerSupply::refused},
        Fact{"SupplyType", &PowerSupply::type, "Mains, UPS, USB, ..."},
        Fact{"ReportedHealth", &PowerSupply::health, "Good, Overheat, Dead, ..."},
        Fact{"Online", &PowerSupply::online, "0: no input"},
    };
  }
};

struct Battery {
  std::string id;
  std::string name;
  std::string refused;
  std::string status;         ///< the kernel's word: Charging, Discharging, Full, ...
  std::string health;         ///< the kernel's word: Good, Dead, ...
  std::string capacityLevel;  ///< the kernel's word: Critical, Low, Normal, High, Full
  std::string manufacturer;
  std::string model;
  std::string serialNumber;
  std::optional<std::uint16_t> present;
  std::optional<std::uint16_t> charge;          ///< percent
  std::optional<std::uint32_t> cycles;          ///< charge cycles
  std::optional<std::uint32_t> designCapacity;  ///< milliwatt-hours
  std::optional<std::uint32_t> fullCapacity;    ///< milliwatt-hours
  std::optional<std::uint64_t> designVoltage;   ///< millivolts

  static constexpr auto facts() {
    return std::tuple{
        Fact{"id", &Battery::id},
        Fact{"name", &Battery::name},
        Fact{"refused", &Battery::refused},
        Fact{"ReportedStatus", &Battery::status, "Charging, Discharging, Full, ..."},
        Fact{"ReportedHealth", &Battery::health, "Good, Dead, Overheat, ..."},
        Fact{"CapacityLevel", &Battery::capacityLevel, "Critical, Low, Normal, High, Full"},
        Fact{"Manufacturer", &Battery::manufacturer},
        Fact{"Model", &Battery::model},
        Fact{"SerialNumber", &Battery::serialNumber},
        Fact{"present", &Battery::present, "0: the bay is empty"},
        Fact{"EstimatedChargeRemaining", &Battery::charge, "percent"},
        Fact{"RechargeCount", &Battery::cycles},
        Fact{"DesignCapacity", &Battery::designCapacity, "milliwatt-hours"},
        Fact{"FullChargeCapacity", &Battery::fullCapacity, "milliwatt-hours"},
        Fact{"DesignVoltage", &Battery::designVoltage, "millivolts"},
    };
  }
};

struct Disk {
  std::string id;
  std::string name;
  std::string refused;
  std::string model;
  std::string serialNumber;
  std::string firmware;
  std::string state;                  ///< the kernel's word: running, live, offline, dead, ...
  std::string failurePrediction;      ///< what a SCSI disk predicts; empty: nothing
  std::optional<std::uint64_t> size;  ///< thousands of bytes
  std::optional<std::uint16_t> criticalWarning;  ///< NVMe: bits of the SMART log
  std::optional<std::uint16_t> spare;            ///< NVMe: percent
  std::optional<std::uint16_t> spareThreshold;   ///< NVMe: percent
  std::optional<std::uint16_t> used;             ///< NVMe: percent of the expected life
  std::optional<std::uint16_t> smartPassed;      ///< ATA: overall status, 0 failed
  std::optional<std::int32_t> temperature;       ///< degrees Celsius
  std::optional<std::uint64_t> mediaErrors;      ///< NVMe: since manufacture
  std::optional<std::uint64_t> badSectors;       ///< ATA: pending and reallocated
  std::optional<std::uint64_t> pendingSectors;   ///< ATA
  std::optional<std::uint64_t> powerOnHours;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"id", &Disk::id},
        Fact{"name", &Disk::name},
        Fact{"refused", &Disk::refused},
        Fact{"Model", &Disk::model},
        Fact{"SerialNumber", &Disk::serialNumber},
        Fact{"FirmwareVersion", &Disk::firmware},
        Fact{"DeviceState", &Disk::state, "running, live, offline, dead, ..."},
        Fact{"FailurePrediction", &Disk::failurePrediction, "SCSI; empty: none"},
        Fact{"MaxMediaSize", &Disk::size, "thousands of bytes"},
        Fact{"CriticalWarning", &Disk::criticalWarning, "NVMe: bits of the SMART log"},
        Fact{"AvailableSpare", &Disk::spare, "NVMe: percent"},
        Fact{"AvailableSpareThreshold", &Disk::spareThreshold, "NVMe: percent"},
        Fact{"PercentageUsed", &Disk::used, "NVMe: percent of the expected life"},
        Fact{"SmartPassed", &Disk::smartPassed, "ATA: 0 failed, 1 passed"},
        Fact{"Temperature", &Disk::temperature, "degrees Celsius"},
        Fact{"MediaErrors", &Disk::mediaErrors, "NVMe: since manufacture"},
        Fact{"BadSectors", &Disk::badSectors, "ATA: pending and reallocated"},
        Fact{"PendingSectors", &Disk::pendingSectors, "ATA"},
        Fact{"PowerOnHours", &Disk::powerOnHours},
    };
  }
};
static_assert(platform::everyMemberIsAFact<Disk>());

/// A PCI function: a storage controller (PCI class 01) or a network controller (02).
struct PciFunction {
  std::string id;
  std::string name;
  std::string refused;
  std::string driver;
  std::string linkSpeed;  ///< the kernel's words, for example "8.0 GT/s PCIe"
  std::optional<std::uint16_t> vendorId;
  std::optional<std::uint16_t> deviceId;
  std::optional<std::uint16_t> linkWidth;          ///< lanes in use; 0: the link is down
  std::optional<std::uint16_t> maxLinkWidth;       ///< lanes
  std::optional<std::uint64_t> correctableErrors;  ///< AER, since the kernel began to count
  std::optional<std::uint64_t> nonFatalErrors;
  std::optional<std::uint64_t> fatalErrors;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"id", &PciFunction::id},
        Fact{"name", &PciFunction::name},
        Fact{"refused", &PciFunction::refused},
        Fact{"Driver", &PciFunction::driver},
        Fact{"LinkSpeed", &PciFunction::linkSpeed},
        Fact{"PCIVendorID", &PciFunction::vendorId},
        Fact{"PCIDeviceID", &PciFunction::deviceId},
        Fact{"LinkWidth", &PciFunction::linkWidth, "lanes; 0: the link is down"},
        Fact{"MaxLinkWidth", &PciFunction::maxLinkWidth, "lanes"},
        Fact{"CorrectableErrors", &PciFunction::correctableErrors},
        Fact{"NonFatalErrors", &PciFunction::nonFatalErrors},
        Fact{"FatalErrors", &PciFunction::fatalErrors},
    };
  }
};

/// A SATA port or a SAS phy.
struct StoragePort {
  std::string id;
  std::string name;
  std::string refused;
  std::string linkState;  ///< the kernel's words: "6.0 Gbps", "Unknown", "Link Rate Failed", ...
  std::optional<std::uint64_t> speed;           ///< bits per second; absent while the link is down
  std::optional<std::uint16_t> deviceAttached;  ///< 0 or 1
  std::optional<std::uint64_t> invalidDwords;
  std::optional<std::uint64_t> disparityErrors;
  std::optional<std::uint64_t> lossesOfSync;
  std::optional<std::uint64_t> resetProblems;

  static constexpr auto facts() {
    return std::tuple{
        Fact{"id", &StoragePort::id},
        Fact{"name", &StoragePort::name},
        Fact{"refused", &StoragePort::refused},
        Fact{"LinkState", &StoragePort::linkState},
        Fact{"Speed", &StoragePort::speed, "bits per second; absent: the link is down"},
        Fact{"deviceAttached", &StoragePort::deviceAttached, "0 or 1"},
        Fact{"InvalidDwordCount", &StoragePort::invalidDwords},
        Fact{"RunningDisparityErrorCount", &StoragePort::disparityErrors},
        Fact{"LossOfDwordSyncCount", &StoragePort::lossesOfSync},
        Fact{"PhyResetProblemCount", &StoragePort::resetProblems},
    };
  }
};

/// An md array.
struct Pool {
  std::string id;
  std::string name;
  std::string refused;
  std::string level;                   ///< raid0, raid1, ...
  std::string state;                   ///< the kernel's word: clean, active, inactive, broken, ...
  std::string syncAction;              ///< idle, resync, recover, check, ...
  std::optional<std::uint32_t> disks;  ///< members that the array should have
  std::optional<std::uint32_t> missing;  ///< members that it lacks
  std::optional<std::uint32_t> copies;   ///< raid10: copies of each block
  std::optional<std::uint64_t> size;     ///< bytes

  static constexpr auto facts() {
    return std::tuple{
        Fact{"id", &Pool::id},
        Fact{"name", &Pool::name},
        Fact{"refused", &Pool::refused},
        Fact{"Level", &Pool::level, "raid0, raid1, ..."},
        Fact{"ArrayState", &Pool::state, "clean, active, inactive, broken, ..."},
        Fact{"SyncAction", &Pool::syncAction, "idle, resync, recover, check, ..."},
        Fact{"MemberCount", &Pool::disks},
        Fact{"MissingMembers", &Pool::missing},
        Fact{"copies", &Pool::copies, "raid10: copies of each block; absent: 2"},
        Fact{"TotalManagedSpace", &Pool::size, "bytes"},
    };
  }
};

/// A mounted file system on a block device, or a logical volume.
struct Volume {
  std::string id;
  std::string name;
  std::string refused;
  std::string disk;  ///< id of the disk that holds it directly; empty otherwise
  std::string fileSystem;
  std::string mountPoint;                  ///< the first one
  std::optional<std::uint64_t> blockSize;  ///< bytes
  std::optional<std::uint64_t> blocks;
  std::optional<std::uint64_t> errors;  ///< recorded by the file system in itself
  bool readOnlyRemount = false;         ///< mounted for writing, but now read-only
  bool suspended = false;               ///< requests to it have to wait

  static constexpr auto facts() {
    return std::tuple{
        Fact{"id", &Volume::id},
        Fact{"name", &Volume::name},
        Fact{"refused", &Volume::refused},
        Fact{"disk", &Volume::disk, "`id` of the disk that holds it"},
        Fact{"FileSystemType", &Volume::fileSystem},
        Fact{"MountPoint", &Volume::mountPoint},
        Fact{"BlockSize", &Volume::blockSize, "bytes"},
        Fact{"NumberOfBlocks", &Volume::blocks},
        Fact{"FileSystemErrors", &Volume::errors},
        Fact{"ReadOnlyRemount", &Volume::readOnlyRemount},
        Fact{"Suspended", &Volume::suspended},
    };
  }
};

/// A member of an md array.
struct Extent {
  std::string id;
  std::string name;
  std::string refused;
  std::string pool;   ///< id of the array
  std::string disk;   ///< id of the disk that holds it; empty otherwise
  std::string state;  ///< the kernel's words: in_sync, faulty, spare, ..., separated by commas
  std::optional<std::uint64_t> blockSize;  ///< bytes
  std::optional<std::uint64_t> blocks;
  std::optional<std::uint64_t> errors;  ///< read errors that the array corrected

  static constexpr auto facts() {
    return std::tuple{
        Fact{"id", &Extent::id},
        Fact{"name", &Extent::name},
        Fact{"refused", &Extent::refused},
        Fact{"pool", &Extent::pool, "`id` of the array"},
        Fact{"disk", &Extent::disk, "`id` of the disk that holds it"},
        Fact{"MemberState", &Extent::state, "in_sync, faulty, spare, ..., separated by commas"},
        Fact{"BlockSize", &Extent::blockSize, "bytes"},
        Fact{"NumberOfBlocks", &Extent::blocks},
        Fact{"CorrectedErrors", &Extent::errors},
    };
  }
};

/// How much is asked of the host.
struct Query {
  /// False: only identities and relations are wanted, and no device is asked.
  bool health = true;
  /// The id of the only element that is wanted; empty: all. Others may be absent, or as without
  /// `health`.
  std::string onlyId;
};

/// What the host has of each kind, now; an empty list when it has none. Any thread may call.
///
/// Devices are asked by threads of their own. A call takes at most kAnswerLimitMilliseconds,
/// however many devices do not answer. A device that has not answered has the reason in `refused`,
/// and is not asked again until it has answered. Fails: std::bad_alloc, std::system_error when no
/// descriptor is left, and whatever a simulated host is told to throw.
System system();
std::vector<Sensor> sensors(const Query& query);
std::vector<MemoryModule> memoryModules(const Query& query);
std::vector<PowerSupply> powerSupplies(const Query& query);
std::vector<Battery> batteries(const Query& query);
std::vector<Disk> disks(const Query& query);
std::vector<PciFunction> storageControllers(const Query& query);
std::vector<PciFunction> networkControllers(const Query& query);
std::vector<StoragePort> storagePorts(const Query& query);
std::vector<Pool> pools(const Query& query);
std::vector<Volume> volumes(const Query& query);
std::vector<Extent> extents(const Query& query);

constexpr int kAnswerLimitMilliseconds = 2000;

}  // namespace Hardware
