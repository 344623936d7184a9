#include "platform/linux/hardware/disk_commands.h"
#include "platform/linux/hardware/kernel_texts.h"
#include "platform/linux/hardware/readers.h"
#include "platform/linux/sysfs.h"

namespace LinuxHost {
namespace {

using Hardware::Disk;

bool isDigits(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

/// The directory of the NVMe controller of a namespace: its device or, below a subsystem with
/// several paths, the first controller there. Empty for other disks.
std::string nvmeController(const BlockDevice& disk) {
  const std::string& device = disk.hardware;
  const std::string name(baseName(device));
  if (beginsWith(name, "nvme-subsys")) {
    for (const std::string& entry : entriesOf(device)) {
      if (beginsWith(entry, "nvme") && isDigits(entry.substr(4))) {
        return resolved(device + "/" + entry);
      }
    }
    return "";
  }
  return beginsWith(name, "nvme") && isDigits(name.substr(4)) ? device : "";
}

bool isVirtio(const std::string& device) { return beginsWith(baseName(device), "virtio"); }

/// The device status of a virtio disk, in the words of other disks.
std::string virtioState(const std::string& text) {
  constexpr std::uint64_t kNeedsReset = 0x40;
  constexpr std::uint64_t kFailed = 0x80;
  const auto status = hexNumber(text);
  if (!status) return "";
  if ((*status & kFailed) != 0) return "failed";
  return (*status & kNeedsReset) != 0 ? "needs reset" : "running";
}

std::string firstGiven(std::string text, const std::string& otherwise) {
  return text.empty() ? otherwise : text;
}

/// What the kernel knows without asking the disk.
Disk identityOf(const BlockDevice& device) {
  const std::string& hardware = device.hardware;
  const std::string controller = nvmeController(device);
  const std::string& source = controller.empty() ? hardware : controller;
  Disk disk;
  disk.id = device.id;
  disk.name = device.name;
  disk.model = firstGiven(textIn(source + "/model"), cleanText(device.note("ID_MODEL")));
  disk.serialNumber =
      firstGiven(textIn(source + "/serial"), cleanText(device.note("ID_SERIAL_SHORT")));
  if (disk.serialNumber.empty()) disk.serialNumber = textIn(device.path + "/serial");
  disk.firmware = firstGiven(textIn(source + "/firmware_rev"), textIn(source + "/rev"));
  disk.state =
      isVirtio(hardware) ? virtioState(textIn(hardware + "/status")) : textIn(source + "/state");
  const auto sectors = numberIn<std::uint64_t>(device.path + "/size");
  if (sectors) disk.size = *sectors * 512 / 1000;
  return disk;
}

bool isReachable(const Disk& disk) {
  return disk.state.empty() || disk.state == "running" || disk.state == "live";
}

bool isSuspended(const std::string& device) {
  return textIn(device + "/power/runtime_status") == "suspended";
}

using Question = DeviceWorkers::Question<Disk>;

/// The question to the disk itself; null for a kind of disk that reports no health.
std::function<Disk()> questionTo(const HostPaths& paths, const BlockDevice& device, Disk disk) {
  const std::string& hardware = device.hardware;
  const std::string controller = nvmeController(device);
  if (!controller.empty()) {
    const std::string file = paths.dev + "/" + std::string(baseName(controller));
    return [file, disk]() mutable {
      askNvme(file, disk);
      return disk;
    };
  }
  const bool isScsi = !textIn(hardware + "/scsi_level").empty();
  if (!isScsi || textIn(device.path + "/removable") == "1") return nullptr;
  const bool isAta = textIn(hardware + "/vendor") == "ATA";
  const std::string file = paths.dev + "/" + device.name;
  return [file, disk, isAta]() mutable {
    isAta ? askAta(file, disk) : askScsi(file, disk);
    return disk;
  };
}

/// Whether the disk's device is suspended: for NVMe, the device of the controller on its bus.
bool sleeps(const BlockDevice& device) {
  const std::string controller = nvmeController(device);
  return controller.empty() ? isSuspended(device.hardware)
                            : isSuspended(resolved(controller + "/device"));
}

void askDisks(std::vector<Disk>& disks, const std::vector<std::size_t>& positions,
              std::vector<Question> questions, DeviceWorkers& workers) {
  const auto outcomes = workers.ask(std::move(questions));
  for (std::size_t i = 0; i < positions.size(); ++i) {
    if (outcomes[i].answer != nullptr) {
      disks[positions[i]] = *outcomes[i].answer;
    } else {
      disks[positions[i]].refused = outcomes[i].refused;
    }
  }
}

}  // namespace

std::vector<Disk> readDisks(const HostPaths& paths, const BlockDevices& devices,
                            const Hardware::Query& query, DeviceWorkers& workers) {
  std::vector<Disk> disks;
  std::vector<std::size_t> positions;
  std::vector<Question> questions;
  for (const BlockDevice& device : devices.all()) {
    if (device.hardware.empty()) continue;
    disks.push_back(identityOf(device));
    const bool wanted = query.onlyId.empty() || query.onlyId == device.id;
    if (!query.health || !wanted || !isReachable(disks.back())) continue;
    auto question = questionTo(paths, device, disks.back());
    if (question == nullptr) continue;
    if (sleeps(device)) {
      disks.back().refused = kAsleep;
      continue;
    }
    positions.push_back(disks.size() - 1);
    questions.push_back({"disk " + device.name, std::move(question)});
  }
  askDisks(disks, positions, std::move(questions), workers);
  return disks;
}

std::string asleepReason(const HostPaths& paths, const std::string& hardware,
                         const std::string& name) {
  if (isSuspended(hardware)) return kAsleep;
  return isAtaInStandby(paths.dev + "/" + name) ? kAsleep : "";
}

}  // namespace LinuxHost
