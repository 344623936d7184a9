#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace LinuxHost {

/// One memory device (structure type 17) of an SMBIOS table. Texts are made readable, and empty
/// when the firmware gives none.
struct SmbiosMemoryDevice {
  std::uint16_t handle = 0;
  std::string locator;  ///< as printed on the board: "DIMM_A1"
  std::string bank;
  std::string manufacturer;
  std::string serialNumber;
  std::string partNumber;
  std::optional<std::uint64_t> capacity;      ///< bytes; 0: the slot is empty; absent: unknown
  std::uint8_t type = 0;                      ///< in SMBIOS numbers
  std::uint8_t formFactor = 0;                ///< in SMBIOS numbers
  std::optional<std::uint16_t> totalWidth;    ///< bits
  std::optional<std::uint16_t> dataWidth;     ///< bits
  std::optional<std::uint32_t> transferRate;  ///< megatransfers per second
};

/// The memory devices of a table, in its order, as far as the table is well formed.
///
///     table     = structure*
///     structure = type[1] length[1] handle[2, little-endian] fields strings
///     strings   = (text NUL)* NUL | NUL NUL       numbered from 1; length counts what is before
std::vector<SmbiosMemoryDevice> parseMemoryDevices(std::string_view table);

/// CIM_PhysicalMemory.MemoryType and CIM_Chip.FormFactor for the numbers of SMBIOS; absent when CIM
/// has no such value.
std::optional<std::uint16_t> cimMemoryType(std::uint8_t smbiosType);
std::optional<std::uint16_t> cimFormFactor(std::uint8_t smbiosFormFactor);

}  // namespace LinuxHost
