#include "tests/health/test_interfaces.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>

#include <atomic>

namespace {

char interfaceName[] = "eth0";
std::atomic<in_addr_t> current{htonl(INADDR_LOOPBACK)};

/// One list; its nodes live together.
struct List {
  ifaddrs entry{};
  sockaddr_in address{};
  sockaddr_in mask{};
};

}  // namespace

namespace orv::test {

void setInterfaceAddress(const std::string& dotted) { current = inet_addr(dotted.c_str()); }

}  // namespace orv::test

extern "C" {

__attribute__((visibility("default"))) int getifaddrs(ifaddrs** result) noexcept {
  auto* list = new List;
  list->address.sin_family = list->mask.sin_family = AF_INET;
  list->address.sin_addr.s_addr = current;
  list->mask.sin_addr.s_addr = inet_addr("255.255.255.0");
  list->entry.ifa_name = interfaceName;
  list->entry.ifa_addr = reinterpret_cast<sockaddr*>(&list->address);
  list->entry.ifa_netmask = reinterpret_cast<sockaddr*>(&list->mask);
  *result = &list->entry;
  return 0;
}

__attribute__((visibility("default"))) void freeifaddrs(ifaddrs* list) noexcept {
  delete reinterpret_cast<List*>(list);  // the entry is its first member
}
}
