#include <arpa/inet.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cmpi/cmpi_result_filters.h"
#include "framework/factories.h"
#include "framework/scoping_keys.h"
#include "framework/text.h"
#include "kernelip/endpoint_classes.h"
#include "kernelip/endpoint_details.h"

/// Publishes an instance for each IP address of the kernel's network interfaces. Nothing is kept
/// between requests.
namespace {

using Records = std::vector<endpointDetails>;

/// A class that can be enumerated, and the protocol types that a request for it returns.
struct EnumeratedClass {
  const char* name;
  std::uint16_t mode;
};

constexpr EnumeratedClass kEnumeratedClasses[] = {
    {ORV::kIpv4EndpointClass, ORV::kProtocolIpv4},
    {ORV::kIpv6EndpointClass, ORV::kProtocolIpv6},
    {"Orvane_KernelIPProtocolEndpoint", ORV::kProtocolBoth},
    {"CIM_IPProtocolEndpoint", ORV::kProtocolBoth},
};

constexpr CMPIUint16 kEnabledButOffline = 6;

std::optional<std::uint16_t> enumerationMode(const std::string& className) {
  for (const EnumeratedClass& row : kEnumeratedClasses) {
    if (ORV::sameName(row.name, className.c_str())) return row.mode;
  }
  return std::nullopt;
}

/// Whether getInstance answers for the class; the parent classes can only be enumerated.
bool isEndpointClass(const std::string& className) {
  return ORV::sameName(className.c_str(), ORV::kIpv4EndpointClass) ||
         ORV::sameName(className.c_str(), ORV::kIpv6EndpointClass);
}

const char* classOf(const endpointDetails& record) {
  return record.protocolType == ORV::kProtocolIpv4 ? ORV::kIpv4EndpointClass
                                                   : ORV::kIpv6EndpointClass;
}

std::string dottedQuad(in_addr address) {
  char text[INET_ADDRSTRLEN] = "";
  inet_ntop(AF_INET, &address, text, sizeof text);
  return text;
}

void setIpv4Properties(CmpiInstance& instance, const endpointDetails& record) {
  instance.setProperty("IPv4Address", dottedQuad(record.ipv4Address).c_str());
  instance.setProperty("SubnetMask", dottedQuad(record.subnetMask).c_str());
  if (record.ipv4Address.s_addr == INADDR_ANY) {
    instance.setProperty("EnabledState", kEnabledButOffline);
  }
}

void setIpv6Properties(CmpiInstance& instance, const endpointDetails& record) {
  instance.setProperty("IPv6Address", record.ipv6Address);
  instance.setProperty("PrefixLength", static_cast<CMPIUint8>(record.prefixLength));
}

CmpiInstance endpointInstance(const endpointDetails& record, const ORV::ScopingKeys& scope,
                              const std::string& nameSpace, const char* className,
                              const char** properties) {
  const std::pair<const char*, const char*> keys[] = {
      {"SystemCreationClassName", scope.systemCreationClassName.c_str()},
      {"SystemName", scope.systemName.c_str()},
      {"CreationClassName", className},
      {"Name", record.name},
  };
  CmpiInstance instance(CmpiObjectPath(nameSpace.c_str(), className));
  const char* keyNames[] = {keys[0].first, keys[1].first, keys[2].first, keys[3].first, nullptr};
  instance.setPropertyFilter(properties, keyNames);
  for (const auto& [name, value] : keys) instance.setProperty(name, value);
  instance.setProperty("ElementName", record.name);
  instance.setProperty("NameFormat", ORV::kNameFormat);
  instance.setProperty("ProtocolIFType", static_cast<CMPIUint16>(record.protocolType));
  if (record.protocolType == ORV::kProtocolIpv4) setIpv4Properties(instance, record);
  if (record.protocolType == ORV::kProtocolIpv6) setIpv6Properties(instance, record);
  return instance;
}

class KernelIPProtocolEndpointProvider : public CmpiInstanceMI {
 public:
  KernelIPProtocolEndpointProvider(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context), CmpiInstanceMI(mbp, context) {}

  /// The paths of what enumInstances returns.
  CmpiStatus enumInstanceNames(const CmpiContext& context, CmpiResult& result,
                               const CmpiObjectPath& path) override {
    CmpiResultInstanceToPathFilter pathsOnly(result);
    return enumInstances(context, pathsOnly, path, nullptr);
  }

  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override {
    const std::string className = ORV::classNameOf(path);
    const std::string nameSpace = ORV::nameSpaceOf(path);
    Records records;
    // Deliberate (contract.md#endpoints-not-done).
    if (getendpointDetails(records) != 0 || records.empty()) return CMPI_RC_OK;
    const std::optional<std::uint16_t> mode = enumerationMode(className);
    if (!mode) return CMPI_RC_OK;

    const ORV::ScopingKeys scope = ORV::scopingKeys(context, broker);
    for (const endpointDetails& record : records) {
      if (*mode != ORV::kProtocolBoth && *mode != record.protocolType) continue;
      result.returnData(endpointInstance(record, scope, nameSpace, classOf(record), properties));
    }
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus getInstance(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         const char** properties) override {
    const std::string className = ORV::classNameOf(path);
    const std::string nameSpace = ORV::nameSpaceOf(path);
    const std::optional<std::string> name = ORV::textOf(path.getKey("Name"));
    Records records;
    if (getendpointDetails(records) != 0 || records.empty()) return CMPI_RC_OK;
    if (!isEndpointClass(className)) return CMPI_RC_OK;

    // Deliberate (contract.md#first-record): whatever its family.
    const auto found = std::find_if(
        records.begin(), records.end(),
        [&](const endpointDetails& record) { return name && ORV::hasName(record, name->c_str()); });
    if (found == records.end()) return CMPI_RC_ERR_NOT_FOUND;
    result.returnData(endpointInstance(*found, ORV::scopingKeys(context, broker), nameSpace,
                                       className.c_str(), properties));
    result.returnDone();
    return CMPI_RC_OK;
  }

  /// Appends one record for each address. Returns 0, or 1 on failure.
  int getendpointDetails(Records& out) { return ORV::collectEndpointDetails(out); }
};

}  // namespace

ORV_PROVIDER_BASE(KernelIPProtocolEndpointProvider);
ORV_INSTANCE_FACTORY(KernelIPProtocolEndpointProvider, KernelIPProtocolEndpointProvider)
