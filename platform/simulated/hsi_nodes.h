#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/param_list.h"
#include "platform/simulated/simulated_host.h"

/// The kernel information nodes of a simulated host, as bytes and lists. Functions of their
/// arguments only. Status 0 is success; a failure leaves the arguments as they were.
namespace simulated {

/// Writes the node's value. Fails for a node without a value, another size than the node's, an
/// instance that is not there, and where the host is told to fail.
HSI_Status readNode(const SimulatedHost& host, std::uint32_t node, const HSI_ParamList* parameters,
                    void* value, std::size_t size);

/// Makes the list of the node's instances, which the caller destroys.
HSI_Status listNode(const SimulatedHost& host, std::uint32_t node, const HSI_ParamList* parameters,
                    HSI_ParamList** list);

}  // namespace simulated
