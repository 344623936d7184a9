#include "platform/linux/physical_ports.h"

#include <linux/if.h>
#include <linux/if_arp.h>

#include <algorithm>

#include "platform/linux/sysfs.h"

namespace LinuxHost {
namespace {

/// Whether sysfs speaks of this very link: a process may have entered a network namespace whose
/// sysfs is not mounted, and see another namespace's link of the same name.
bool isDescribedBy(const std::string& directory, const LinkRecord& link) {
  return readNumber(directory + "/ifindex").value_or(link.index) == link.index;
}

bool isPhysicalPort(const LinkRecord& link, const std::string& sysRoot) {
  const std::string directory = linkDirectory(sysRoot, link.name);
  return link.hardwareType == ARPHRD_ETHER && resolve(directory + "/device").has_value() &&
         isDescribedBy(directory, link);
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
