#pragma once

#include <string>
#include <vector>

/// A network of a test's own, in which it changes what it likes.
namespace orv::test {

/// Why no network namespace can be had here; empty when one can: the right to make one, `ip`, and
/// veth pairs in the kernel.
std::string reasonAgainstNetworkNamespaces();

/// Moves the calling thread, and the threads that it starts from then on, into a new namespace with
/// "left0" and "right0", the two ends of a cable, both up and without any address. There is no way
/// back.
void enterNetworkNamespace();

/// Runs `ip` with these arguments. Fails: std::runtime_error.
void ip(const std::string& arguments);

/// "interface address/prefix" for each IPv4 (4) or IPv6 (6) address that `ip` lists, loopback left
/// out.
std::vector<std::string> addressesThatIpLists(int version);

}  // namespace orv::test
