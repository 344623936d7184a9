#include "tests/platform/linux/hardware/scripted_device.h"

#include <dlfcn.h>
#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <mutex>
#include <utility>

namespace LinuxHost {
namespace {

std::mutex mutex;  // guards both
ScriptedDevices::Script current;
std::vector<DeviceCommand> seen;

std::string fileOf(int descriptor) {
  char path[4096];
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  const ssize_t size = readlink(link.c_str(), path, sizeof path);
  return size < 0 ? "" : std::string(path, static_cast<std::size_t>(size));
}

/// Copies what fits; returns how much.
std::size_t give(const std::string& from, void* to, std::size_t room) {
  const std::size_t size = std::min(from.size(), room);
  if (size > 0) std::memcpy(to, from.data(), size);
  return size;
}

DeviceCommand answered(const std::string& file, const void* bytes, std::size_t size,
                       const ScriptedDevices::Script& script) {
  DeviceCommand command;
  command.file = file;
  command.bytes.assign(static_cast<const char*>(bytes), size);
  {
    const std::lock_guard lock(mutex);
    seen.push_back(command);
  }
  script(command);
  return command;
}

int scsi(const std::string& file, const ScriptedDevices::Script& script, sg_io_hdr& request) {
  const DeviceCommand command = answered(file, request.cmdp, request.cmd_len, script);
  errno = command.error;
  if (command.error != 0) return -1;
  const std::size_t size = give(command.data, request.dxferp, request.dxfer_len);
  request.resid = static_cast<int>(request.dxfer_len - size);
  request.sb_len_wr =
      static_cast<unsigned char>(give(command.sense, request.sbp, request.mx_sb_len));
  request.status = static_cast<unsigned char>(command.status);
  request.info = command.status == 0 && command.sense.empty() ? SG_INFO_OK : SG_INFO_CHECK;
  return 0;
}

int nvme(const std::string& file, const ScriptedDevices::Script& script,
         const nvme_passthru_cmd& request) {
  const DeviceCommand command = answered(file, &request, 64, script);
  errno = command.error;
  if (command.error != 0) return -1;
  give(command.data, reinterpret_cast<void*>(request.addr), request.data_len);
  return command.status;
}

}  // namespace

ScriptedDevices::ScriptedDevices(Script script) {
  const std::lock_guard lock(mutex);
  current = std::move(script);
  seen.clear();
}

ScriptedDevices::~ScriptedDevices() {
  const std::lock_guard lock(mutex);
  current = nullptr;
}

std::vector<DeviceCommand> ScriptedDevices::commands() {
  const std::lock_guard lock(mutex);
  return seen;
}

}  // namespace LinuxHost

using namespace LinuxHost;

// Takes the C library's place for this program and the libraries that it loads.
extern "C" __attribute__((visibility("default"))) int ioctl(int descriptor, unsigned long number,
                                                            ...) noexcept {
  va_list arguments;
  va_start(arguments, number);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  ScriptedDevices::Script script;
  {
    const std::lock_guard lock(mutex);
    script = current;
  }
  if (script != nullptr && number == SG_IO) {
    return scsi(fileOf(descriptor), script, *static_cast<sg_io_hdr*>(argument));
  }
  if (script != nullptr && number == NVME_IOCTL_ADMIN_CMD) {
    return nvme(fileOf(descriptor), script, *static_cast<nvme_passthru_cmd*>(argument));
  }
  using Real = int (*)(int, unsigned long, void*);
  static const auto real = reinterpret_cast<Real>(dlsym(RTLD_NEXT, "ioctl"));
  return real(descriptor, number, argument);
}
