#pragma once

#include <sys/types.h>

#include <chrono>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "tests/packaging/installed_tree.h"

/// A machine with emulated hardware, in which the kernel that scripts/guest-kernel unpacked sees
/// this machine's root file system, read-only, with the build tree in it.
namespace orv::test {

/// What the machine is made of, in the emulator's words.
struct GuestHardware {
  std::string processor = "qemu64";  ///< -cpu
  std::string topology = "1";        ///< -smp
  /// Network adapters ("e1000e", "virtio-net-pci,mq=on"); each gets the identifier nic0, nic1 ...
  /// and a cable.
  std::vector<std::string> adapters;
  std::vector<std::string> options;  ///< further arguments
  std::string kernelWords;           ///< for the end of the kernel's command line
};

/// The program of guest_client.cpp.
constexpr const char* kGuestClient = ORV_BINARY_DIR "/bin/guest_client";

class Guest {
 public:
  /// Why there is no guest here; empty when there can be one. Guests take minutes, so they run on
  /// request only.
  static std::string reasonAgainst();

  /// Starts the machine and waits until it takes commands. Fails: std::runtime_error with the
  /// console's text.
  explicit Guest(const GuestHardware& hardware);
  ~Guest();
  Guest(const Guest&) = delete;
  Guest& operator=(const Guest&) = delete;

  /// Runs a command of the shell in the guest. Its /tmp and /run can be written, nothing else.
  Outcome run(const std::string& command, std::chrono::seconds limit = std::chrono::seconds(120));
  /// Loads kernel modules.
  Outcome load(const std::vector<std::string>& modules);
  /// Asks orvcim of the build tree; its answer as JSON. A failure is a test failure, and null.
  nlohmann::json orvcim(const std::string& arguments);
  /// The instances of each class, by its name, of the build tree's library; faster than orvcim. A
  /// failure is a test failure, and null.
  nlohmann::json instances(const std::vector<std::string>& classes);

  /// A command to the emulator, in its protocol (QMP); its "return". Fails: std::runtime_error.
  nlohmann::json command(const std::string& name, const nlohmann::json& arguments);

  std::string console() const;

 private:
  std::string receiveLine(int socket, std::chrono::seconds limit);

  ScratchDirectory scratch_;
  std::string received_;
  pid_t emulator_ = -1;
  int orders_ = -1;
  int control_ = -1;
  int last_ = 0;
};

}  // namespace orv::test
