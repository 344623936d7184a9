#pragma once

#include <memory>
#include <string>

namespace LinuxHost {

/// The way in which ethtool questions reach the driver of a port. Tests put an answering fake here.
class EthtoolChannel {
 public:
  virtual ~EthtoolChannel() = default;

  /// Lets the kernel answer `question`, an ethtool structure that begins with its command number,
  /// in place. Returns 0 or the errno value with which the kernel refused.
  virtual int ask(const std::string& port, void* question) = 0;
};

/// The kernel's own channel (ioctl SIOCETHTOOL). Its socket is opened at the first question;
/// without one, ask() returns the reason. Used by one thread; needs no privilege, though the kernel
/// refuses some questions without CAP_NET_ADMIN.
std::shared_ptr<EthtoolChannel> kernelEthtoolChannel();

}  // namespace LinuxHost
