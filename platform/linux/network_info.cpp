#include "platform/network_info.h"

#include <net/if.h>

#include <algorithm>
#include <utility>

#include "platform/linux/ethtool_channel.h"
#include "platform/linux/linux_pnic.h"
#include "platform/linux/netlink_messages.h"
#include "platform/linux/route_socket.h"

namespace HykCtl::Network {
namespace {

using LinuxHost::LinkRecord;

constexpr char kSysRoot[] = "/sys";

/// What the kernel could have as a link's name; anything else needs no question, and as a part of a
/// path must not become one.
bool isLinkName(const std::string& name) {
  return !name.empty() && name.size() < IFNAMSIZ && name != "." && name != ".." &&
         name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

[[noreturn]] void passOn(const LinuxHost::RouteError& error) {
  throw Nodemgr::Lib::NodemgrException(error.what());
}

std::vector<LinkRecord> allLinks() try {
  return LinuxHost::decodeLinks(LinuxHost::RouteSocket().dumpLinks());
} catch (const LinuxHost::RouteError& error) {
  passOn(error);
}

std::vector<LinkRecord> linksFoundBy(const std::string& name) try {
  const auto answer = LinuxHost::RouteSocket().findLink(name);
  return answer ? LinuxHost::decodeLinks(*answer) : std::vector<LinkRecord>();
} catch (const LinuxHost::RouteError& error) {
  passOn(error);
}

}  // namespace

/// The channel is shared by the ports of one request, which may outlive this object.
struct NetworkInfoImpl::State {
  std::shared_ptr<LinuxHost::EthtoolChannel> channel = LinuxHost::kernelEthtoolChannel();

  std::unique_ptr<Nodemgr::Network::Pnic> port(LinkRecord link) {
    return std::make_unique<LinuxHost::LinuxPnic>(std::move(link), channel, kSysRoot);
  }
};

NetworkInfoImpl::NetworkInfoImpl() : state_(std::make_unique<State>()) {}

NetworkInfoImpl::~NetworkInfoImpl() = default;

HykCtl::Util::AutoVector<Nodemgr::Network::Pnic> NetworkInfoImpl::GetPnics() {
  auto links = allLinks();
  std::sort(links.begin(), links.end(),
            [](const LinkRecord& a, const LinkRecord& b) { return a.index < b.index; });
  HykCtl::Util::AutoVector<Nodemgr::Network::Pnic> ports;
  for (LinkRecord& link : links) {
    if (LinuxHost::isPhysicalPort(link, kSysRoot)) ports.push_back(state_->port(std::move(link)));
  }
  return ports;
}

std::unique_ptr<Nodemgr::Network::Pnic> NetworkInfoImpl::GetPnicByName(const std::string& name) {
  if (!isLinkName(name)) return nullptr;
  for (LinkRecord& link : linksFoundBy(name)) {
    // The kernel also finds links by an alternative name, which is not the port's own.
    if (link.name != name || !LinuxHost::isPhysicalPort(link, kSysRoot)) continue;
    return state_->port(std::move(link));
  }
  return nullptr;
}

}  // namespace HykCtl::Network
