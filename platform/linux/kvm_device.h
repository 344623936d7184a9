#pragma once

namespace LinuxHost {

/// Whether the kernel's virtualization device at `path` is there for someone to open.
///
/// It is when it opens, and when only this process is kept from it (no permission, out of files).
/// A node without a driver does not count: the node is made when a system starts, before
/// anyone knows whether the processor can run virtual machines.
bool isKvmAvailable(const char* path = "/dev/kvm");

}  // namespace LinuxHost
