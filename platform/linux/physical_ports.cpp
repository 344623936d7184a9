#include "platform/linux/physical_ports.h"

#include <linux/if.h>
#include <linux/if_arp.h>

#include <algorithm>

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

std::vector<LinkRecord> physicalPorts(std::vector<LinkRecord> links, const std::string& sysRoot) {
  const auto isNone = [&](LinkRecord& link) { return !isPhysicalPort(link, sysRoot); };
  links.erase(std::remove_if(links.begin(), links.end(), isNone), links.end());
  const auto isBefore = [](const LinkRecord& a, const LinkRecord& b) { return a.index < b.index; };
  // Newer kernels list them in this order, and the records are large to move.
  if (!std::is_sorted(links.begin(), links.end(), isBefore)) {
    std::sort(links.begin(), links.end(), isBefore);
  }
  return links;
}

std::optional<LinkRecord> physicalPortNamed(std::optional<LinkRecord> link, const std::string& name,
                                            const std::string& sysRoot) {
  if (!link || link->name != name || !isPhysicalPort(*link, sysRoot)) return {};
  return link;
}

}  // namespace LinuxHost
