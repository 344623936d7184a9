#include "broker/broker_state.h"
#include "broker/broker_tables.h"
#include "broker/contexts.h"
#include "broker/indications.h"
#include "broker/object_tools.h"
#include "broker/thread_state.h"
#include "broker/up_calls.h"

/// Requests of providers to the broker.
namespace orv::broker {
namespace {

using Mb = const CMPIBroker*;
using Ctx = const CMPIContext*;
using Path = const CMPIObjectPath*;

constexpr unsigned int kCapabilities = 0x1BF;

CMPIContext* prepareAttachThread(Mb /*broker*/, Ctx context) { return prepareContext(context); }

CMPIStatus attachThread(Mb /*broker*/, Ctx context) {
  const ContextObject* own = liveContext(context, "attachThread");
  if (own == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  if (own->purpose != ContextObject::Purpose::kPrepared) {
    report("", "",
           "attachThread with a context that prepareAttachThread did not make: it dies "
           "with its request");
  }
  attachThisThread(own->broker, own->provider);
  return status(CMPI_RC_OK);
}

CMPIStatus detachThread(Mb /*broker*/, Ctx context) {
  ContextObject* own = liveContext(context, "detachThread");
  if (own == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  if (own->heap() != nullptr) {
    report("", "", "detachThread frees the context of a request: used by the broker afterwards");
    return status(CMPI_RC_ERR_FAILED);
  }
  own->free();
  return status(CMPI_RC_OK);
}

CMPIStatus deliver(Mb /*broker*/, Ctx context, const char* /*ns*/, const CMPIInstance* instance) {
  return deliverIndication(context, instance);
}

CMPIEnumeration* enumerateInstanceNames(Mb /*broker*/, Ctx context, Path path, CMPIStatus* out) {
  return upCallEnumeration(Operation::kEnumerateInstanceNames, context, path, {}, out);
}

CMPIInstance* getInstance(Mb /*broker*/, Ctx context, Path path, const char** properties,
                          CMPIStatus* out) {
  return upCallGetInstance(context, path, properties, out);
}

CMPIObjectPath* createInstance(Mb /*broker*/, Ctx context, Path path, const CMPIInstance* instance,
                               CMPIStatus* out) {
  return upCallCreate(context, path, instance, out);
}

CMPIStatus modifyInstance(Mb /*broker*/, Ctx context, Path path, const CMPIInstance* instance,
                          const char** properties) {
  CallArguments arguments;
  arguments.instance = instance;
  arguments.properties = properties;
  return upCallChange(Operation::kModifyInstance, context, path, arguments);
}

CMPIStatus deleteInstance(Mb /*broker*/, Ctx context, Path path) {
  return upCallChange(Operation::kDeleteInstance, context, path, {});
}

CMPIEnumeration* execQuery(Mb /*broker*/, Ctx context, Path path, const char* query,
                           const char* language, CMPIStatus* out) {
  CallArguments arguments;
  arguments.query = query;
  arguments.language = language;
  return upCallEnumeration(Operation::kExecQuery, context, path, arguments, out);
}

CMPIEnumeration* enumerateInstances(Mb /*broker*/, Ctx context, Path path, const char** properties,
                                    CMPIStatus* out) {
  CallArguments arguments;
  arguments.properties = properties;
  return upCallEnumeration(Operation::kEnumerateInstances, context, path, arguments, out);
}

CMPIEnumeration* associators(Mb /*broker*/, Ctx context, Path path, const char* assocClass,
                             const char* resultClass, const char* role, const char* resultRole,
                             const char** properties, CMPIStatus* out) {
  const CallArguments arguments{properties, assocClass, resultClass, role,
                                resultRole, nullptr,    nullptr,     nullptr};
  return upCallEnumeration(Operation::kAssociators, context, path, arguments, out);
}

CMPIEnumeration* associatorNames(Mb /*broker*/, Ctx context, Path path, const char* assocClass,
                                 const char* resultClass, const char* role, const char* resultRole,
                                 CMPIStatus* out) {
  const CallArguments arguments{nullptr,    assocClass, resultClass, role,
                                resultRole, nullptr,    nullptr,     nullptr};
  return upCallEnumeration(Operation::kAssociatorNames, context, path, arguments, out);
}

CMPIEnumeration* references(Mb /*broker*/, Ctx context, Path path, const char* resultClass,
                            const char* role, const char** properties, CMPIStatus* out) {
  const CallArguments arguments{properties, nullptr, resultClass, role,
                                nullptr,    nullptr, nullptr,     nullptr};
  return upCallEnumeration(Operation::kReferences, context, path, arguments, out);
}

CMPIEnumeration* referenceNames(Mb /*broker*/, Ctx context, Path path, const char* resultClass,
                                const char* role, CMPIStatus* out) {
  const CallArguments arguments{nullptr, nullptr, resultClass, role,
                                nullptr, nullptr, nullptr,     nullptr};
  return upCallEnumeration(Operation::kReferenceNames, context, path, arguments, out);
}

CMPIData invokeMethod(Mb /*broker*/, Ctx /*context*/, Path /*path*/, const char* /*method*/,
                      const CMPIArgs* /*in*/, CMPIArgs* /*out*/, CMPIStatus* out) {
  answer(out, CMPI_RC_ERR_NOT_SUPPORTED);
  return notFoundData();
}

CMPIStatus setProperty(Mb /*broker*/, Ctx /*context*/, Path /*path*/, const char* /*name*/,
                       const CMPIValue* /*value*/, CMPIType /*type*/) {
  return status(CMPI_RC_ERR_NOT_SUPPORTED);
}

CMPIData upCallGetProperty(Mb /*broker*/, Ctx /*context*/, Path /*path*/, const char* /*name*/,
                           CMPIStatus* out) {
  answer(out, CMPI_RC_ERR_NOT_SUPPORTED);
  return notFoundData();
}

}  // namespace

CMPIBrokerFT* brokerTable() {
  static CMPIBrokerFT table = {kCapabilities,        0,
                               "RequestHandler",     slot<prepareAttachThread>,
                               slot<attachThread>,   slot<detachThread>,
                               slot<deliver>,        slot<enumerateInstanceNames>,
                               slot<getInstance>,    slot<createInstance>,
                               slot<modifyInstance>, slot<deleteInstance>,
                               slot<execQuery>,      slot<enumerateInstances>,
                               slot<associators>,    slot<associatorNames>,
                               slot<references>,     slot<referenceNames>,
                               invokeMethod,         setProperty,
                               upCallGetProperty};
  return &table;
}

}  // namespace orv::broker
