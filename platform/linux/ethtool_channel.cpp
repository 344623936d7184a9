#include "platform/linux/ethtool_channel.h"

#include <linux/netlink.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

#include "platform/linux/file_descriptor.h"

namespace LinuxHost {
namespace {

/// Any kind of socket will do; a kernel without IPv4 still has netlink.
FileDescriptor openSocket() {
  FileDescriptor internet(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (internet.isOpen()) return internet;
  return FileDescriptor(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_GENERIC));
}

class KernelChannel : public EthtoolChannel {
 public:
  int ask(const std::string& port, void* question) override {
    if (!socket_.isOpen()) socket_ = openSocket();
    if (!socket_.isOpen()) return errno;
    ifreq request{};
    if (port.size() >= sizeof request.ifr_name) return ENODEV;
    std::copy(port.begin(), port.end(), request.ifr_name);
    request.ifr_data = static_cast<char*>(question);
    return ioctl(socket_.number(), SIOCETHTOOL, &request) == 0 ? 0 : errno;
  }

 private:
  FileDescriptor socket_;
};

}  // namespace

std::shared_ptr<EthtoolChannel> kernelEthtoolChannel() { return std::make_shared<KernelChannel>(); }

}  // namespace LinuxHost
