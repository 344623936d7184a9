#pragma once

namespace orv::bench {

/// Moves the calling thread into a network namespace with that many veth links, "nic0" and so on,
/// each with an IPv4 and an IPv6 address. The namespace is made at the first call with that number
/// and kept. Fails: std::runtime_error without root or the ip command.
void enterNamespaceWithLinks(int count);

}  // namespace orv::bench
