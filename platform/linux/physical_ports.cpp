#include "platform/linux/physical_ports.h"

#include <linux/if.h>
#include <linux/if_arp.h>

#include <algorithm>
#include <utility>

#include "platform/linux/parent_device.h"

namespace LinuxHost {
namespace {

bool isPhysicalPort(LinkRecord& link, const std::string& sysRoot) {
  return link.hardwareType == ARPHRD_ETHER && hasParentDevice(link, sysRoot);
}

}  // namespace

bool isLinkName(const std::string& name) {
  return !name.empty() && name.size() < IFNAMSIZ && name != "." && name != ".." &&
         name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

std::vector<std::shared_ptr<const LinkRecord>> physicalPorts(std::vector<LinkRecord>&& links,
                                                             const std::string& sysRoot) {
  const auto all = std::make_shared<std::vector<LinkRecord>>(std::move(links));
  std::vector<std::shared_ptr<const LinkRecord>> ports;
  ports.reserve(all->size());
  for (LinkRecord& link : *all) {
    if (isPhysicalPort(link, sysRoot)) ports.emplace_back(all, &link);
  }
  std::sort(ports.begin(), ports.end(),
            [](const auto& a, const auto& b) { return a->index < b->index; });
  return ports;
}

std::optional<LinkRecord> physicalPortNamed(std::optional<LinkRecord> link, const std::string& name,
                                            const std::string& sysRoot) {
  if (!link || link->name != name || !isPhysicalPort(*link, sysRoot)) return {};
  return link;
}

}  // namespace LinuxHost
