#pragma once

#include <string>

#include "platform/hardware.h"

/// Asks disks, with the commands of their kind. Each function opens the device, may wait for it
/// without limit, and sets facts or `refused`.
namespace LinuxHost {

/// `device` is that of the controller, for example /dev/nvme0.
void askNvme(const std::string& device, Hardware::Disk& disk);

void askAta(const std::string& device, Hardware::Disk& disk);

void askScsi(const std::string& device, Hardware::Disk& disk);

/// Whether an ATA disk is in standby. Opens it; the question does not wake it. False when it does
/// not answer.
bool isAtaInStandby(const std::string& device);

}  // namespace LinuxHost
