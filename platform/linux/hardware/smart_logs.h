#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/hardware.h"

/// What disks report about their health, from the bytes that they answer with. The functions depend
/// on their arguments alone. Bytes that are too few or of another form change nothing.
namespace LinuxHost {

/// The SMART / Health Information log page of an NVMe controller, 512 bytes.
///
/// Sets critical warning, spare, its threshold, part of life used, temperature, media errors and
/// hours. A counter of 128 bits that does not fit becomes the largest number that does.
void decodeNvmeSmart(std::string_view log, Hardware::Disk& disk);

/// The SMART data of an ATA disk, 512 bytes that add up to 0. Sets temperature, pending and bad
/// sectors, hours.
void decodeAtaSmart(std::string_view page, Hardware::Disk& disk);

/// Log page 2Fh (informational exceptions) of a SCSI disk. Sets failure prediction and temperature.
void decodeScsiExceptions(std::string_view page, Hardware::Disk& disk);

/// Sense data of a SCSI command, in fixed or descriptor form.
struct Sense {
  std::uint8_t key = 0;
  std::uint8_t code = 0;       ///< additional sense code
  std::uint8_t qualifier = 0;  ///< additional sense code qualifier
};
std::optional<Sense> parseSense(std::string_view bytes);

/// Whether sense data says that the disk is in a low power condition or stopped.
bool tellsStandby(const Sense& sense);

/// The registers of a finished ATA command, from its sense data in descriptor form.
struct AtaRegisters {
  std::uint8_t count = 0;
  std::uint8_t lbaMiddle = 0;
  std::uint8_t lbaHigh = 0;
};
std::optional<AtaRegisters> ataRegisters(std::string_view sense);

/// The result of SMART RETURN STATUS, from the registers: 1 passed, 0 failed; absent for anything
/// else.
std::optional<std::uint16_t> smartPassed(const AtaRegisters& registers);

}  // namespace LinuxHost
