#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orv::bench {

/// Asks the kernel for all links with their attributes and reads the answer to its end; nothing is
/// made of it.
void dumpLinks();

/// Asks for one link.
void findLink(const std::string& name);

/// Puts ethtool questions (ETHTOOL_G...) about each link, each on a socket of all; nothing is made
/// of the answers. Link settings are asked for twice, since the first answer is their size.
void askEthtool(const std::vector<std::string>& links, const std::vector<std::uint32_t>& commands);

}  // namespace orv::bench
