#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// The kernel information interface and the computer system, played by the test: link
/// fake_kernel.cpp, and the shared parameter lists, instead of a platform. Parameter lists are
/// counted and can be refused where the linker wraps their creation and destruction.
namespace orv::test {

struct KernelAddress6 {
  std::string id;
  std::string text;
  std::uint32_t prefixLength = 64;
};

struct KernelInterface {
  std::string name;
  std::optional<std::string> ipv4;  ///< dotted quad
  std::optional<std::string> netmask = "255.255.255.0";
  std::vector<KernelAddress6> ipv6;
  bool ipv6Listed = true;
  bool hasNumberForName = false;  ///< the list of interfaces holds a number instead of the name
};

struct FakeKernel {
  std::vector<KernelInterface> interfaces;
  bool signatureOk = true;
  bool interfacesListed = true;
  bool parameterListCreated = true;                               ///< of the query
  std::set<std::pair<std::string, std::string>> failedAddresses;  ///< interface, identifier

  std::vector<int> signatures;  ///< asked for
  int liveLists = 0;            ///< created and not destroyed
};

/// The one of the program.
FakeKernel& fakeKernel();

}  // namespace orv::test
