#pragma once

#include <ifaddrs.h>
#include <netinet/in.h>

#include <functional>
#include <list>
#include <string>

/// The system's list of interface addresses, made by a test.
namespace orv::test {

/// Entries in the order of the calls.
class InterfaceList {
 public:
  InterfaceList& ipv4(const std::string& interface, const std::string& address,
                      const std::string& netmask = "255.255.255.0");
  InterfaceList& ipv6(const std::string& interface, const std::string& address, int prefix = 64);
  /// An entry of any family, with an address of nothing but zeros.
  InterfaceList& ofFamily(const std::string& interface, int family);
  InterfaceList& withoutAddress(const std::string& interface);
  InterfaceList& withoutNetmask();  ///< takes it from the entry added last

  /// Null when the list is empty. Valid as long as the list is neither changed nor gone.
  const ifaddrs* entries();
  const ifaddrs& last();

  /// Address bytes of the netmask of the entry added last, and the twelve bytes after them.
  unsigned char* lastMaskBytes();

 private:
  /// As the C library lays an entry out: three socket addresses, one after the other, each with
  /// room for the longest of link-layer addresses.
  struct Entry {
    ifaddrs ifa{};  // its pointers are set when the list is handed out: a list may be copied
    std::string name;
    bool hasAddress = true;
    bool hasNetmask = true;
    union SocketAddress {
      sockaddr any;
      sockaddr_in ipv4;
      sockaddr_in6 ipv6;
      unsigned char room[36];
    };
    SocketAddress address{};
    SocketAddress rest[2]{};  ///< netmask and broadcast address
  };
  Entry& add(const std::string& interface, int family);

  std::list<Entry> entries_;
};

/// What getifaddrs answers in a program that links interface_list.cpp with the linker's
/// --wrap=getifaddrs and --wrap=freeifaddrs.
struct InterfaceSystem {
  InterfaceList list;
  int code = 0;                         ///< what getifaddrs returns; a failure unless 0
  int reads = 0;                        ///< calls of getifaddrs
  int unfreed = 0;                      ///< lists handed out and not freed
  std::function<void(int)> beforeRead;  ///< with the number of the call, from 1
};

/// The one of the program.
InterfaceSystem& interfaceSystem();

}  // namespace orv::test
