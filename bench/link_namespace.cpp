#include "bench/link_namespace.h"

#include <fcntl.h>
#include <sched.h>

#include <cstdio>
#include <map>
#include <stdexcept>

namespace orv::bench {
namespace {

void makeLinks(int count) {
  FILE* ip = popen("PATH=$PATH:/usr/sbin:/sbin ip -batch -", "w");
  if (ip == nullptr) throw std::runtime_error("no ip command");
  for (int i = 0; i < count; i += 2) {
    std::fprintf(ip, "link add nic%d type veth peer name nic%d\n", i, i + 1);
  }
  for (int i = 0; i < count; ++i) {
    std::fprintf(ip, "addr add 10.%d.%d.1/24 dev nic%d\n", i / 256, i % 256, i);
    std::fprintf(ip, "addr add fd00:0:0:%x::1/64 dev nic%d\n", i, i);
  }
  if (pclose(ip) != 0) throw std::runtime_error("ip cannot make veth links");
}

/// The descriptor of the namespace with that many links.
int namespaceWithLinks(int count) {
  static std::map<int, int> made;
  if (const auto known = made.find(count); known != made.end()) return known->second;
  if (unshare(CLONE_NEWNET) != 0) throw std::runtime_error("no network namespace: needs root");
  makeLinks(count);
  return made[count] = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
}

}  // namespace

void enterNamespaceWithLinks(int count) {
  if (setns(namespaceWithLinks(count), CLONE_NEWNET) != 0) {
    throw std::runtime_error("the network namespace cannot be entered");
  }
}

}  // namespace orv::bench
