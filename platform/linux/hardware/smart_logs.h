#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/hardware.h"

/// What disks report of their health, from the bytes that they answer with: functions of their
/// arguments. Bytes that are too short, or of another form, change nothing.
namespace LinuxHost {

/// The SMART / Health Information log page of an NVMe controller, 512 bytes.
///
/// Sets critical warning, spare, threshold, part of life used, temperature, media errors and hours.
/// Counters of 128 bits that do not fit are the largest that does.
void decodeNvmeSmart(std::string_view log, Hardware::Disk& disk);

/// The SMART data of an ATA disk, 512 bytes that add up to 0. Sets temperature, pending and bad
/// sectors, hours.
void decodeAtaSmart(std::string_view page, Hardware::Disk& disk);

/// Log page 2Fh (informational exceptions) of a SCSI disk. Sets prediction and temperature.
void decodeScsiExceptions(std::string_view page, Hardware::Disk& disk);

/// Sense data of a SCSI command: fixed or descriptor form.
struct Sense {
  std::uint8_t key = 0;
  std::uint8_t code = 0;       ///< additional sense code
  std::uint8_t qualifier = 0;  ///< additional sense code qualifier
};
std::optional<Sense> parseSense(std::string_view bytes);

/// Whether sense data says that the disk is in a low power condition or stopped.
bool tellsStandby(const Sense& sense);

/// Registers of a finished ATA command, from its sense data in descriptor form.
struct AtaRegisters {
  std::uint8_t count = 0;
  std::uint8_t lbaMiddle = 0;
  std::uint8_t lbaHigh = 0;
};
std::optional<AtaRegisters> ataRegisters(std::string_view sense);

/// What SMART RETURN STATUS has left in the registers: 1 passed, 0 failed; absent for anything
/// else.
std::optional<std::uint16_t> smartPassed(const AtaRegisters& registers);

}  // namespace LinuxHost
