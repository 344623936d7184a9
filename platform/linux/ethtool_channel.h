#pragma once

#include <memory>
#include <string>

namespace LinuxHost {

/// The way in which ethtool questions reach the driver of a port. Tests use a fake that answers.
class EthtoolChannel {
 public:
  virtual ~EthtoolChannel() = default;

  /// Puts `question`, an ethtool structure that begins with its command number, to the kernel,
  /// which writes the answer over it. Returns 0, or the errno value with which the kernel refused.
  virtual int ask(const std::string& port, void* question) = 0;
};

/// The kernel's own channel (ioctl SIOCETHTOOL). Its socket is opened at the first question; if
/// that fails, ask() returns the reason. Used by one thread. Needs no privilege, but the kernel
/// refuses some questions without CAP_NET_ADMIN.
std::shared_ptr<EthtoolChannel> kernelEthtoolChannel();

}  // namespace LinuxHost
