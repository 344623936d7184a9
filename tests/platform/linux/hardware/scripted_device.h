#pragma once

#include <functional>
#include <string>
#include <vector>

/// Stands in for the ioctls of disks in the whole test program, libnvme's included.
namespace LinuxHost {

/// A command that reached a device, and what the device does with it.
struct DeviceCommand {
  std::string file;  ///< path of the device
  std::string
      bytes;  ///< SCSI: the command; NVMe: the 64 bytes of the submission, as the kernel has it

  // Filled in by the script.
  int error = 0;      ///< of the system call
  int status = 0;     ///< NVMe: what the controller answers; SCSI: of the target
  std::string data;   ///< what comes back; the rest of the room is not transferred
  std::string sense;  ///< SCSI
};

/// While it lives, commands to devices go to the script.
class ScriptedDevices {
 public:
  using Script = std::function<void(DeviceCommand& command)>;

  explicit ScriptedDevices(Script script);
  ~ScriptedDevices();
  ScriptedDevices(const ScriptedDevices&) = delete;
  ScriptedDevices& operator=(const ScriptedDevices&) = delete;

  /// Those so far, in order.
  static std::vector<DeviceCommand> commands();
};

}  // namespace LinuxHost
