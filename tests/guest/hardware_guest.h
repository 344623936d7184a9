#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "tests/guest/guest.h"

namespace orv::test {

/// Values that the firmware's table (firmware.asl) reads, in the order in which they stand there.
enum class FirmwareValue {
  kTemperature,   ///< of the thermal zone, tenths of a kelvin
  kMainsInput,    ///< 1 or 0
  kBatteryState,  ///< bit 0 discharging, 1 charging, 2 critical
  kBatteryLeft,   ///< milliwatt-hours of 40,000
  kPower,         ///< that the meter measures, milliwatts
};

/// A disk of the mirror md0.
struct MirrorDisk {
  std::string device;  ///< the emulator's name of it; its image is there before and after it
  std::string image;
  std::string bus;
  std::string serial;
};
extern const MirrorDisk kMirrorDisks[2];

/// A guest with hardware that falls ill on command, and the service in it, which serves both
/// libraries. For its monitors a minute passes in a second (guest_times.cpp).
///
/// Disks nvme0n1 and sda; a network adapter and two disks on virtio, each below a PCI Express port;
/// a thermal zone, mains, a battery and a power meter of the firmware; on an SMBus a battery that
/// reports its health (sbs-battery), and a chip with two temperatures (lm90).
class HardwareGuest {
 public:
  /// Empty when there can be one.
  static std::string reasonAgainst();

  HardwareGuest();
  ~HardwareGuest();

  /// All values as they are in a healthy machine.
  void makeHealthy();
  void set(FirmwareValue value, std::uint32_t number);
  void setNvmeCriticalWarning(unsigned bits);
  /// Registers of the chips on the SMBus.
  void setSmartBattery(unsigned registerNumber, unsigned word);
  void setThermometer(unsigned registerNumber, unsigned byte);
  /// A device reports errors of PCI Express: uncorrectable ones (bits of their status register) as
  /// the emulator makes them, correctable ones, which it does not pass on, as the kernel makes
  /// them.
  void injectUncorrectableError(const std::string& device, std::uint32_t bits);
  void injectCorrectableError(unsigned bus);

  /// The mirror md0 of both disks.
  void makeMirror();
  void removeMirror();
  void unplug(const MirrorDisk& disk);
  void plugIn(const MirrorDisk& disk);
  /// The mirror lets go of what was unplugged, and copies itself to a disk.
  void replaceInMirror(const std::string& goneName, const MirrorDisk& disk);
  /// The kernel's name of the disk with the serial number; empty when it is not there.
  std::string nameOf(const MirrorDisk& disk);

  /// A service whose counters and latched records begin now.
  void startService();
  void stopService();
  bool isServed() const { return served_; }
  /// What it answers to GET: JSON of the instances of a class, and the text of metrics.
  nlohmann::json instances(const std::string& className);
  std::string metrics();

  /// The SMBus that the chips are on, as the kernel numbers it.
  const std::string& busNumber() const { return bus_; }

  /// Runs a command that is to succeed; its standard output.
  std::string do_(const std::string& command);

 private:
  class Page;

  void addChips();
  void setFirmwareHealthy();
  std::string write(unsigned chip, unsigned registerNumber, unsigned value, const char* size) const;
  std::string healthyChips() const;
  void makeLinksReportErrors();

  ScratchDirectory scratch_;
  std::unique_ptr<Page> page_;
  std::unique_ptr<Guest> guest_;
  std::string bus_;  ///< number of the SMBus
  bool served_ = false;
};

}  // namespace orv::test
