#include "platform/linux/hardware/disk_commands.h"

#include <atasmart.h>
#include <fcntl.h>
#include <libnvme.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
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

/// Device kinds without SMART say so in one of these ways: that is no refusal.
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

/// CHECK POWER MODE through the SCSI layer, its registers asked back.
ScsiAnswer checkPowerMode(const FileDescriptor& file) {
  std::array<unsigned char, 16> command{};
  command[0] = 0x85;    // ATA PASS-THROUGH (16)
  command[1] = 3 << 1;  // no data
  command[2] = 1 << 5;  // registers asked back
  command[14] = 0xE5;   // CHECK POWER MODE
  return scsiCommand(file, command, 0);
}

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

// ---- ATA ----

struct FreeDisk {
  void operator()(SkDisk* disk) const { sk_disk_free(disk); }
};
using AtaDisk = std::unique_ptr<SkDisk, FreeDisk>;

void readSmart(SkDisk* ata, Hardware::Disk& disk) {
  SkBool available = FALSE;
  if (sk_disk_smart_is_available(ata, &available) < 0 || !available) return;
  SkBool good = FALSE;
  const bool asked = sk_disk_smart_status(ata, &good) >= 0;
  if (sk_disk_smart_read_data(ata) < 0 && !asked) {
    disk.refused = notRead(errno);
    return;
  }
  const void* blob = nullptr;
  std::size_t size = 0;
  if (sk_disk_get_blob(ata, &blob, &size) < 0) return;
  decodeAtaSmart({static_cast<const char*>(blob), size}, disk);
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
  const std::optional<std::uint8_t> count = ataCount(checkPowerMode(file).sense);
  return count && isStandbyCount(*count);
}

void askAta(const std::string& device, Hardware::Disk& disk) {
  {
    const FileDescriptor file = openDevice(device, disk);
    if (!file.isOpen()) return;
    const ScsiAnswer answer = checkPowerMode(file);
    if (answer.error != 0) {
      if (!hasNoSmart(answer.error)) disk.refused = notRead(answer.error);
      return;
    }
    const std::optional<std::uint8_t> count = ataCount(answer.sense);
    if (!count) {
      // Not known to be awake: whatever is asked next might wake it.
      disk.refused = "SMART not read: the disk does not tell its power mode";
      return;
    }
    if (isStandbyCount(*count)) {
      disk.refused = kAsleep;
      return;
    }
  }
  SkDisk* opened = nullptr;
  if (sk_disk_open(device.c_str(), &opened) < 0) {
    disk.refused = notRead(errno);
    return;
  }
  const AtaDisk ata(opened);
  readSmart(ata.get(), disk);
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
