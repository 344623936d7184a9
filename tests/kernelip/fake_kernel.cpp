#include "tests/kernelip/fake_kernel.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>

#include "platform/system_info.h"

namespace orv::test {
namespace {

/// Position `index` of a query, empty when there is none.
std::string parameter(const HSI_ParamList* query, unsigned index) {
  const char* text = "";
  HSI_ParamGetString(HSI_ParamListGetParam(query, index), &text);
  return text;
}

const KernelInterface* interfaceOf(const HSI_ParamList* query) {
  const auto& all = fakeKernel().interfaces;
  const auto found = std::find_if(all.begin(), all.end(), [&](const KernelInterface& one) {
    return one.name == parameter(query, 0);
  });
  return found == all.end() ? nullptr : &*found;
}

HSI_Status giveQuad(const std::optional<std::string>& address, void* value, std::size_t size) {
  if (!address || size != 4) return 1;
  return inet_pton(AF_INET, address->c_str(), value) == 1 ? 0 : 1;
}

HSI_Status giveIpv6(const KernelInterface& interface, const std::string& id, void* value,
                    std::size_t size) {
  if (size != sizeof(HsiIpv6Address) ||
      fakeKernel().failedAddresses.count({interface.name, id}) != 0) {
    return 1;
  }
  for (const KernelAddress6& address : interface.ipv6) {
    if (address.id != id) continue;
    HsiIpv6Address given{};
    address.text.copy(given.text, sizeof given.text);
    given.prefixLength = address.prefixLength;
    std::memcpy(value, &given, sizeof given);
    return 0;
  }
  return 1;
}

}  // namespace

FakeKernel& fakeKernel() {
  static FakeKernel kernel;
  return kernel;
}

}  // namespace orv::test

using orv::test::fakeKernel;

HSI_Status HSI_CheckSig(int signature) {
  fakeKernel().signatures.push_back(signature);
  return fakeKernel().signatureOk && signature == 21 ? 0 : 1;
}

HSI_Status HSI_Get(std::uint32_t node, const HSI_ParamList* parameters, void* value,
                   std::size_t size) {
  const auto* interface = orv::test::interfaceOf(parameters);
  if (interface == nullptr) return 1;
  const bool ofOneAddress = HSI_ParamListUsedCount(parameters) == 2;
  if (ofOneAddress != (node == kHsiInterfaceIpv6)) return 1;
  switch (node) {
    case kHsiInterfaceIpv4:
      return orv::test::giveQuad(interface->ipv4, value, size);
    case kHsiInterfaceNetmask:
      return orv::test::giveQuad(interface->netmask, value, size);
    case kHsiInterfaceIpv6:
      return orv::test::giveIpv6(*interface, orv::test::parameter(parameters, 1), value, size);
    default:
      return 1;
  }
}

HSI_Status HSI_GetInstanceListAlloc(std::uint32_t node, const HSI_ParamList* parameters,
                                    HSI_ParamList** list) {
  if (node == kHsiNetInterfaces) {
    if (!fakeKernel().interfacesListed || parameters != nullptr) return 1;
    *list = HSI_ParamListCreate(8, 0);
    for (const auto& interface : fakeKernel().interfaces) {
      if (interface.hasNumberForName) {
        HSI_ParamListAddInt(*list, 7);
      } else {
        HSI_ParamListAddString(*list, interface.name.c_str());
      }
    }
    return 0;
  }
  const auto* interface = orv::test::interfaceOf(parameters);
  if (node != kHsiInterfaceIpv6List || interface == nullptr || !interface->ipv6Listed ||
      HSI_ParamListUsedCount(parameters) != 1) {
    return 1;
  }
  *list = HSI_ParamListCreate(8, 0);
  for (const auto& address : interface->ipv6) HSI_ParamListAddString(*list, address.id.c_str());
  return 0;
}

extern "C" {

HSI_ParamList* __real__Z19HSI_ParamListCreatejj(unsigned growBy, unsigned limit);
void __real__Z20HSI_ParamListDestroyP13HSI_ParamList(HSI_ParamList* list);

HSI_ParamList* __wrap__Z19HSI_ParamListCreatejj(unsigned growBy, unsigned limit) {
  const bool isQuery = growBy == 1 && limit == 2;
  if (isQuery && !fakeKernel().parameterListCreated) return nullptr;
  ++fakeKernel().liveLists;
  return __real__Z19HSI_ParamListCreatejj(growBy, limit);
}

void __wrap__Z20HSI_ParamListDestroyP13HSI_ParamList(HSI_ParamList* list) {
  if (list != nullptr) --fakeKernel().liveLists;
  __real__Z20HSI_ParamListDestroyP13HSI_ParamList(list);
}

}  // extern "C"
