#include "kernelip/endpoint_details.h"

#include <cstring>

#include "framework/kernel_queries.h"
#include "kernelip/endpoint_classes.h"

namespace ORV {
namespace {

constexpr unsigned kGrowBy = 1;
constexpr unsigned kMostParameters = 2;  // an interface and one of its IPv6 addresses

static_assert(sizeof(endpointDetails::name) > kEndpointNameLength);
static_assert(sizeof(endpointDetails::ipv6Address) > sizeof(HsiIpv6Address::text));

/// Adds the text of a listed instance to the parameters of a query, and removes it at the end of
/// its own life.
class TextParameter {
 public:
  TextParameter(HSI_ParamList* query, const HSI_Param* text) : query_(query) {
    status_ = HSI_ParamGetString(text, &text_);
    if (status_ == kHsiOk) status_ = HSI_ParamListAddString(query_, text_);
  }
  ~TextParameter() {
    if (status_ == kHsiOk) HSI_ParamListRemoveLastParam(query_);
  }
  TextParameter(const TextParameter&) = delete;
  TextParameter& operator=(const TextParameter&) = delete;

  HSI_Status status() const { return status_; }
  const char* text() const { return text_; }

 private:
  HSI_ParamList* query_;
  const char* text_ = nullptr;
  HSI_Status status_ = kHsiFailed;
};

endpointDetails recordOf(const char* interfaceName, std::uint32_t protocolType) {
  endpointDetails record{};
  std::memcpy(record.name, interfaceName, strnlen(interfaceName, kEndpointNameLength));
  record.protocolType = protocolType;
  return record;
}

/// An interface without an IPv4 address is not a failure; an IPv4 address without a netmask is.
HSI_Status appendIpv4(const HSI_ParamList* query, const char* interfaceName,
                      std::vector<endpointDetails>& out) {
  endpointDetails record = recordOf(interfaceName, kProtocolIpv4);
  if (HSI_Get(kHsiInterfaceIpv4, query, &record.ipv4Address, sizeof record.ipv4Address) != kHsiOk) {
    return kHsiOk;
  }
  const HSI_Status status =
      HSI_Get(kHsiInterfaceNetmask, query, &record.subnetMask, sizeof record.subnetMask);
  if (status == kHsiOk) out.push_back(record);
  return status;
}

HSI_Status appendIpv6Address(HSI_ParamList* query, const HSI_Param* address,
                             const char* interfaceName, std::vector<endpointDetails>& out) {
  const TextParameter parameter(query, address);
  if (parameter.status() != kHsiOk) return parameter.status();
  HsiIpv6Address value{};
  const HSI_Status status = HSI_Get(kHsiInterfaceIpv6, query, &value, sizeof value);
  if (status != kHsiOk) return status;

  endpointDetails record = recordOf(interfaceName, kProtocolIpv6);
  std::memcpy(record.ipv6Address, value.text,
              sizeof value.text);  // the rest is zero, so it is a text
  record.prefixLength = value.prefixLength;
  out.push_back(record);
  return kHsiOk;
}

/// An interface whose addresses cannot be listed counts as one without.
HSI_Status appendIpv6(HSI_ParamList* query, const char* interfaceName,
                      std::vector<endpointDetails>& out) {
  ParamList addresses;
  if (listInstances(kHsiInterfaceIpv6List, query, addresses) != kHsiOk) return kHsiOk;
  const unsigned count = HSI_ParamListUsedCount(addresses.get());
  for (unsigned index = 0; index < count; ++index) {
    const HSI_Param* address = HSI_ParamListGetParam(addresses.get(), index);
    const HSI_Status status = appendIpv6Address(query, address, interfaceName, out);
    if (status != kHsiOk) return status;
  }
  return kHsiOk;
}

}  // namespace

int collectEndpointDetails(std::vector<endpointDetails>& out) {
  if (HSI_CheckSig(kHsiSignature) != kHsiOk) return 1;
  ParamList interfaces;
  if (listInstances(kHsiNetInterfaces, nullptr, interfaces) != kHsiOk) return 1;
  const ParamList query(HSI_ParamListCreate(kGrowBy, kMostParameters));
  if (query == nullptr) return 1;

  HSI_Status last = kHsiOk;
  const unsigned count = HSI_ParamListUsedCount(interfaces.get());
  for (unsigned index = 0; index < count; ++index) {
    const TextParameter interface(query.get(), HSI_ParamListGetParam(interfaces.get(), index));
    last = interface.status();
    if (last != kHsiOk) continue;  // the query fails only if this is the last interface
    if (appendIpv4(query.get(), interface.text(), out) != kHsiOk) return 1;
    if (appendIpv6(query.get(), interface.text(), out) != kHsiOk) return 1;
  }
  return last == kHsiOk ? 0 : 1;
}

bool hasName(const endpointDetails& record, const char* name) {
  return std::strncmp(record.name, name, kEndpointNameLength) == 0;
}

}  // namespace ORV
