#include "platform/linux/parent_device.h"

#include <optional>

#include "platform/linux/sysfs.h"

namespace LinuxHost {
namespace {

/// Whether sysfs describes this link: a process may have entered a network namespace whose sysfs is
/// not mounted, and then sees another namespace's link of the same name.
bool isDescribedBy(const std::string& directory, const LinkRecord& link) {
  return readNumber(directory + "/ifindex").value_or(link.index) == link.index;
}

std::optional<ParentDevice> parentInSysfs(const LinkRecord& link, const std::string& sysRoot) {
  const std::string directory = linkDirectory(sysRoot, link.name);
  const auto device = linkTarget(directory + "/device");
  if (!device || !isDescribedBy(directory, link)) return {};
  const auto bus = linkTarget(directory + "/device/subsystem");
  return ParentDevice{std::string(baseName(*device)),
                      bus ? std::string(baseName(*bus)) : std::string()};
}

}  // namespace

bool hasParentDevice(LinkRecord& link, const std::string& sysRoot) {
  if (!link.parent && !link.parentsAreNamed) link.parent = parentInSysfs(link, sysRoot);
  return link.parent.has_value();
}

}  // namespace LinuxHost
