#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/linux/host_view.h"
#include "platform/param_list.h"

/// How the nodes of the kernel information interface are answered from a view of the host: the
/// calls of system_info.h, with the view as an argument. What the view throws is passed on.
namespace LinuxHost {

HSI_Status readNode(HostView& view, std::uint32_t node, const HSI_ParamList* parameters,
                    void* value, std::size_t size);
HSI_Status listNode(HostView& view, std::uint32_t node, const HSI_ParamList* parameters,
                    HSI_ParamList** list);

}  // namespace LinuxHost
