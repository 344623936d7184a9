#pragma once

#include <string>

#include "platform/hardware.h"

/// What disks are asked, by commands of their kind. Each opens the device, may wait for it without
/// end, and sets facts or `refused`.
namespace LinuxHost {

/// `device` is the controller's, /dev/nvme0.
void askNvme(const std::string& device, Hardware::Disk& disk);

void askAta(const std::string& device, Hardware::Disk& disk);

void askScsi(const std::string& device, Hardware::Disk& disk);

/// Whether an ATA disk is in standby. Opens it; the question does not wake it.
bool isAtaInStandby(const std::string& device);

}  // namespace LinuxHost
