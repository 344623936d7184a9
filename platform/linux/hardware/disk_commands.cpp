#include "platform/linux/hardware/disk_commands.h"

#include <fcntl.h>
#include <libnvme.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <system_error>

#include "platform/linux/file_descriptor.h"
#include "platform/linux/hardware/readers.h"
#include "platform/linux/hardware/smart_logs.h"

namespace LinuxHost {
namespace {

constexpr unsigned kCommandMilliseconds = 1500;  // the kernel's own limit for a command

std::string notRead(int error) {
  if (error == EPERM) error = EACCES;
  return "SMART not read: " + std::generic_category().message(error);
}

/// Whether a device says in this way that its kind has no SMART, which is not a refusal.
bool hasNoSmart(int error) {
  return error == ENOTTY || error == EINVAL || error == EOPNOTSUPP || error == ENOSYS;
}

FileDescriptor openDevice(const std::string& device, Hardware::Disk& disk) {
  FileDescriptor file(open(device.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file.isOpen()) disk.refused = notRead(errno);
  return file;
}

// ---- SCSI commands ----

struct ScsiAnswer {
  int error = 0;  ///< of the system call
  std::string sense;
  std::string data;
  bool good = false;
};

template <std::size_t size>
ScsiAnswer scsiCommand(const FileDescriptor& file, std::array<unsigned char, size> command,
                       std::size_t dataSize) {
  std::array<unsigned char, 64> sense{};
  ScsiAnswer answer;
  answer.data.resize(dataSize);
  sg_io_hdr request{};
  request.interface_id = 'S';
  request.dxfer_direction = dataSize == 0 ? SG_DXFER_NONE : SG_DXFER_FROM_DEV;
  request.cmd_len = static_cast<unsigned char>(command.size());
  request.cmdp = command.data();
  request.mx_sb_len = static_cast<unsigned char>(sense.size());
  request.sbp = sense.data();
  request.dxfer_len = static_cast<unsigned>(dataSize);
  request.dxferp = answer.data.data();
  request.timeout = kCommandMilliseconds;
  if (ioctl(file.number(), SG_IO, &request) != 0) {
    answer.error = errno;
    answer.data.clear();
    return answer;
  }
  answer.sense.assign(reinterpret_cast<const char*>(sense.data()), request.sb_len_wr);
  const std::size_t rest = request.resid > 0 ? static_cast<std::size_t>(request.resid) : 0;
  answer.data.resize(dataSize - std::min(dataSize, rest));
  answer.good = (request.info & SG_INFO_OK_MASK) == SG_INFO_OK;
  return answer;
}

/// An ATA command through the SCSI layer, with data of one sector, or without data and with its
/// registers returned.
ScsiAnswer ataCommand(const FileDescriptor& file, unsigned char command, unsigned char features,
                      std::size_t dataSize) {
  constexpr unsigned char kNoData = 3 << 1, kDataIn = 4 << 1;
  constexpr unsigned char kRegistersBack = 1 << 5;
  constexpr unsigned char kFromDevice = 1 << 3, kInBlocks = 1 << 2, kLengthInCount = 2;
  std::array<unsigned char, 16> bytes{};
  bytes[0] = 0x85;  // ATA PASS-THROUGH (16)
  bytes[1] = dataSize == 0 ? kNoData : kDataIn;
  bytes[2] = dataSize == 0 ? kRegistersBack : kFromDevice | kInBlocks | kLengthInCount;
  bytes[4] = features;
  bytes[6] = dataSize == 0 ? 0 : 1;
  bytes[10] = 0x4F;  // the signature of SMART, which other commands ignore
  bytes[12] = 0xC2;
  bytes[14] = command;
  return scsiCommand(file, bytes, dataSize);
}

ScsiAnswer checkPowerMode(const FileDescriptor& file) { return ataCommand(file, 0xE5, 0, 0); }

ScsiAnswer smartReturnStatus(const FileDescriptor& file) { return ataCommand(file, 0xB0, 0xDA, 0); }

ScsiAnswer smartReadData(const FileDescriptor& file) { return ataCommand(file, 0xB0, 0xD0, 512); }

bool isStandbyCount(std::uint8_t count) { return count == 0x00 || count == 0x01; }

ScsiAnswer requestSense(const FileDescriptor& file) {
  constexpr unsigned char kSize = 64;
  return scsiCommand(file, std::array<unsigned char, 6>{0x03, 0, 0, 0, kSize, 0}, kSize);
}

ScsiAnswer logSense(const FileDescriptor& file, unsigned char page) {
  constexpr unsigned char kSize = 64;
  const unsigned char current = 1 << 6;
  return scsiCommand(
      file,
      std::array<unsigned char, 10>{0x4D, 0, static_cast<unsigned char>(current | page), 0, 0, 0, 0,
                                    0, kSize, 0},
      kSize);
}

}  // namespace

void askNvme(const std::string& device, Hardware::Disk& disk) {
  const FileDescriptor file = openDevice(device, disk);
  if (!file.isOpen()) return;
  nvme_smart_log log{};
  const int status = nvme_get_log_smart(file.number(), NVME_NSID_ALL, false, &log);
  if (status == 0) {
    decodeNvmeSmart({reinterpret_cast<const char*>(&log), sizeof log}, disk);
  } else if (status < 0) {
    if (!hasNoSmart(errno)) disk.refused = notRead(errno);
  } else {
    disk.refused = "SMART not read: NVMe status " + std::to_string(status);
  }
}

bool isAtaInStandby(const std::string& device) {
  const FileDescriptor file(open(device.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file.isOpen()) return false;
  const std::optional<AtaRegisters> registers = ataRegisters(checkPowerMode(file).sense);
  return registers && isStandbyCount(registers->count);
}

void askAta(const std::string& device, Hardware::Disk& disk) {
  const FileDescriptor file = openDevice(device, disk);
  if (!file.isOpen()) return;
  const ScsiAnswer power = checkPowerMode(file);
  if (power.error != 0) {
    if (!hasNoSmart(power.error)) disk.refused = notRead(power.error);
    return;
  }
  const std::optional<AtaRegisters> registers = ataRegisters(power.sense);
  if (!registers) {
    // It may be asleep, and any other question might wake it.
    disk.refused = "SMART not read: the disk does not tell its power mode";
    return;
  }
  if (isStandbyCount(registers->count)) {
    disk.refused = kAsleep;
    return;
  }
  // A disk without SMART, or with SMART disabled, aborts these commands. That is neither an answer
  // nor a refusal.
  if (const auto status = ataRegisters(smartReturnStatus(file).sense)) {
    disk.smartPassed = smartPassed(*status);
  }
  const ScsiAnswer data = smartReadData(file);
  if (data.error == 0 && data.good) decodeAtaSmart(data.data, disk);
}

void askScsi(const std::string& device, Hardware::Disk& disk) {
  const FileDescriptor file = openDevice(device, disk);
  if (!file.isOpen()) return;
  const ScsiAnswer state = requestSense(file);
  if (state.error != 0) {
    if (!hasNoSmart(state.error)) disk.refused = notRead(state.error);
    return;
  }
  const std::optional<Sense> sense = parseSense(state.data);
  if (sense && tellsStandby(*sense)) {
    disk.refused = kAsleep;
    return;
  }
  const ScsiAnswer page = logSense(file, 0x2F);
  if (page.error == 0 && page.good) decodeScsiExceptions(page.data, disk);
}

}  // namespace LinuxHost
