#include "tests/support/interface_list.h"

#include <arpa/inet.h>

#include <cstddef>
#include <stdexcept>

namespace orv::test {
namespace {

void parse(int family, const std::string& text, void* into) {
  if (inet_pton(family, text.c_str(), into) != 1) throw std::invalid_argument(text);
}

}  // namespace

InterfaceList::Entry& InterfaceList::add(const std::string& interface, int family) {
  Entry& entry = entries_.emplace_back();
  entry.name = interface;
  entry.address.any.sa_family = static_cast<sa_family_t>(family);
  entry.rest[0].any.sa_family = static_cast<sa_family_t>(family);
  return entry;
}

InterfaceList& InterfaceList::ipv4(const std::string& interface, const std::string& address,
                                   const std::string& netmask) {
  Entry& entry = add(interface, AF_INET);
  parse(AF_INET, address, &entry.address.ipv4.sin_addr);
  parse(AF_INET, netmask, &entry.rest[0].ipv4.sin_addr);
  return *this;
}

InterfaceList& InterfaceList::ipv6(const std::string& interface, const std::string& address,
                                   int prefix) {
  Entry& entry = add(interface, AF_INET6);
  parse(AF_INET6, address, &entry.address.ipv6.sin6_addr);
  unsigned char* mask = entry.rest[0].ipv6.sin6_addr.s6_addr;
  for (int bit = 0; bit < prefix; ++bit) {
    mask[bit / 8] = static_cast<unsigned char>(mask[bit / 8] | (0x80 >> (bit % 8)));
  }
  return *this;
}

InterfaceList& InterfaceList::ofFamily(const std::string& interface, int family) {
  add(interface, family);
  return *this;
}

InterfaceList& InterfaceList::withoutAddress(const std::string& interface) {
  add(interface, AF_INET).hasAddress = false;
  return *this;
}

InterfaceList& InterfaceList::withoutNetmask() {
  entries_.back().hasNetmask = false;
  return *this;
}

const ifaddrs* InterfaceList::entries() {
  ifaddrs* next = nullptr;
  for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
    entry->ifa.ifa_next = next;
    entry->ifa.ifa_name = entry->name.data();
    entry->ifa.ifa_addr = entry->hasAddress ? &entry->address.any : nullptr;
    entry->ifa.ifa_netmask = entry->hasNetmask ? &entry->rest[0].any : nullptr;
    next = &entry->ifa;
  }
  return next;
}

const ifaddrs& InterfaceList::last() {
  entries();
  return entries_.back().ifa;
}

unsigned char* InterfaceList::lastMaskBytes() {
  return reinterpret_cast<unsigned char*>(entries_.back().rest) + offsetof(sockaddr_in6, sin6_addr);
}

InterfaceSystem& interfaceSystem() {
  static InterfaceSystem system;
  return system;
}

}  // namespace orv::test

extern "C" {

int __wrap_getifaddrs(ifaddrs** list) {
  auto& system = orv::test::interfaceSystem();
  ++system.reads;
  if (system.beforeRead) system.beforeRead(system.reads);
  if (system.code != 0) return system.code;
  *list = const_cast<ifaddrs*>(system.list.entries());
  if (*list != nullptr) ++system.unfreed;
  return 0;
}

void __wrap_freeifaddrs(ifaddrs* list) {
  if (list != nullptr) --orv::test::interfaceSystem().unfreed;
}

}  // extern "C"
