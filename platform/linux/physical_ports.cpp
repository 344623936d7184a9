#include "platform/linux/physical_ports.h"

#include <linux/if.h>
#include <linux/if_arp.h>

#include <algorithm>

#include "platform/linux/sysfs.h"

namespace LinuxHost {
namespace {

bool isPhysicalPort(const LinkRecord& link, const std::string& sysRoot) {
  return link.hardwareType == ARPHRD_ETHER &&
         resolve(linkDirectory(sysRoot, link.name) + "/device").has_value();
}

}  // namespace

std::string linkDirectory(const std::string& sysRoot, const std::string& name) {
  return sysRoot + "/class/net/" + name;
}

bool isLinkName(const std::string& name) {
  return !name.empty() && name.size() < IFNAMSIZ && name != "." && name != ".." &&
         name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

std::vector<LinkRecord> physicalPorts(std::vector<LinkRecord> links, const std::string& sysRoot) {
  const auto isNone = [&](const LinkRecord& link) { return !isPhysicalPort(link, sysRoot); };
  links.erase(std::remove_if(links.begin(), links.end(), isNone), links.end());
  std::sort(links.begin(), links.end(),
            [](const LinkRecord& a, const LinkRecord& b) { return a.index < b.index; });
  return links;
}

std::optional<LinkRecord> physicalPortNamed(const std::vector<LinkRecord>& links,
                                            const std::string& name, const std::string& sysRoot) {
  for (const LinkRecord& link : links) {
    if (link.name == name && isPhysicalPort(link, sysRoot)) return link;
  }
  return {};
}

}  // namespace LinuxHost
