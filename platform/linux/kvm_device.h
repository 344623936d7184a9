#pragma once

namespace LinuxHost {

/// Whether the kernel's virtualization device at `path` can be used by somebody.
///
/// True when it opens, and when only this process cannot open it (no permission, out of
/// descriptors). False for a device node without a driver: the node is made when a system starts,
/// before it is known whether the processor can run virtual machines.
bool isKvmAvailable(const char* path = "/dev/kvm");

}  // namespace LinuxHost
