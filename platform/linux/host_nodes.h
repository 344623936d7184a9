#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/linux/host_view.h"
#include "platform/param_list.h"

namespace LinuxHost {

using Bytes = std::vector<unsigned char>;
using Parameters = std::vector<HSI_Param>;

/// How a node of the kernel information interface is answered from a view of the host. An answer
/// that is absent means that the node has none for these parameters.
struct HostNode {
  std::uint32_t number;
  /// Of the node's value; 0 for a node that is only listed.
  std::size_t valueSize;
  /// Exactly valueSize bytes. Null for a node that is only listed.
  std::optional<Bytes> (*read)(HostView& view, const Parameters& parameters);
  /// Null for a node without instances.
  std::optional<Parameters> (*list)(HostView& view, const Parameters& parameters);
};

/// Null for a number that is not a node of this host.
const HostNode* findHostNode(std::uint32_t number);

}  // namespace LinuxHost
