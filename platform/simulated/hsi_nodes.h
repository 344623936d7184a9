#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/param_list.h"
#include "platform/simulated/simulated_host.h"

/// The kernel information nodes of a simulated host. The functions depend on their arguments alone.
/// Status 0 is success; a failure leaves the arguments unchanged.
namespace simulated {

/// Writes the value of a node. Fails when the node has no value, the size is not that of the node,
/// the instance does not exist, or the host is told to fail.
HSI_Status readNode(const SimulatedHost& host, std::uint32_t node, const HSI_ParamList* parameters,
                    void* value, std::size_t size);

/// Makes a list of the node's instances, which the caller destroys.
HSI_Status listNode(const SimulatedHost& host, std::uint32_t node, const HSI_ParamList* parameters,
                    HSI_ParamList** list);

}  // namespace simulated
