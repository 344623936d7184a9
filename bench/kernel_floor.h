#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orv::bench {

/// Asks the kernel for all links with their attributes and reads the whole answer, without using
/// it.
void dumpLinks();

/// Asks the kernel for one link, in the same way.
void findLink(const std::string& name);

/// Asks ethtool questions (ETHTOOL_G...) about each link, all on one socket, without using the
/// answers. Link settings are asked for twice, since the first answer only gives their size.
void askEthtool(const std::vector<std::string>& links, const std::vector<std::uint32_t>& commands);

}  // namespace orv::bench
