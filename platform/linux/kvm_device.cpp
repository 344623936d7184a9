#include "platform/linux/kvm_device.h"

#include <fcntl.h>

#include <cerrno>

#include "platform/linux/file_descriptor.h"

namespace LinuxHost {

bool isKvmAvailable(const char* path) {
  const FileDescriptor device(open(path, O_RDWR | O_CLOEXEC | O_NONBLOCK));
  if (device.isOpen()) return true;
  return errno != ENOENT && errno != ENOTDIR && errno != ENODEV && errno != ENXIO;
}

}  // namespace LinuxHost
