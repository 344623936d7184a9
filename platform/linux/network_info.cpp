#include "platform/network_info.h"

#include <optional>
#include <utility>

#include "platform/linux/ethtool_channel.h"
#include "platform/linux/linux_pnic.h"
#include "platform/linux/netlink_messages.h"
#include "platform/linux/physical_ports.h"
#include "platform/linux/route_socket.h"

namespace HykCtl::Network {
namespace {

using LinuxHost::LinkRecord;

constexpr char kSysRoot[] = "/sys";

[[noreturn]] void passOn(const LinuxHost::RouteError& error) {
  throw Nodemgr::Lib::NodemgrException(error.what());
}

std::vector<LinkRecord> allLinks() try {
  return LinuxHost::RouteSocket().dumpLinks();
} catch (const LinuxHost::RouteError& error) {
  passOn(error);
}

std::optional<LinkRecord> linkFoundBy(const std::string& name) try {
  return LinuxHost::RouteSocket().findLink(name);
} catch (const LinuxHost::RouteError& error) {
  passOn(error);
}

}  // namespace

/// All ports of a request share the channel, and may outlive this object.
struct NetworkInfoImpl::State {
  std::shared_ptr<LinuxHost::EthtoolChannel> channel = LinuxHost::kernelEthtoolChannel();

  std::unique_ptr<Nodemgr::Network::Pnic> port(std::shared_ptr<const LinkRecord> link) {
    return LinuxHost::makePnic(std::move(link), channel, kSysRoot);
  }
};

NetworkInfoImpl::NetworkInfoImpl() : state_(std::make_unique<State>()) {}

NetworkInfoImpl::~NetworkInfoImpl() = default;

HykCtl::Util::AutoVector<Nodemgr::Network::Pnic> NetworkInfoImpl::GetPnics() {
  auto links = LinuxHost::physicalPorts(allLinks(), kSysRoot);
  HykCtl::Util::AutoVector<Nodemgr::Network::Pnic> ports;
  ports.reserve(links.size());
  for (auto& link : links) ports.push_back(state_->port(std::move(link)));
  return ports;
}

std::unique_ptr<Nodemgr::Network::Pnic> NetworkInfoImpl::GetPnicByName(const std::string& name) {
  if (!LinuxHost::isLinkName(name)) return nullptr;
  auto link = LinuxHost::physicalPortNamed(linkFoundBy(name), name, kSysRoot);
  return link ? state_->port(std::make_shared<LinkRecord>(*std::move(link))) : nullptr;
}

}  // namespace HykCtl::Network
