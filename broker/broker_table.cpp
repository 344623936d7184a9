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

CMPIContext* prepareAttachThread(Mb /*broker*/, Ctx context) {
  if (injected("bft.prepareAttachThread")) return nullptr;
  return prepareContext(context);
}

CMPIStatus attachThread(Mb /*broker*/, Ctx context) {
  if (const auto fault = injected("bft.attachThread")) return fault->status;
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
  if (const auto fault = injected("bft.detachThread")) return fault->status;
  const ContextObject* own = liveContext(context, "detachThread");
  if (own == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  if (own->heap() != nullptr) {
    report("", "", "detachThread frees the context of a request: used by the broker afterwards");
    return status(CMPI_RC_ERR_FAILED);
  }
  delete own;
  return status(CMPI_RC_OK);
}

CMPIStatus deliver(Mb /*broker*/, Ctx context, const char* /*ns*/, const CMPIInstance* instance) {
  if (const auto fault = injected("bft.deliverIndication")) return fault->status;
  return deliverIndication(context, instance);
}

/// An enumerating up-call under a fault that is due.
CMPIEnumeration* enumerate(const char* slot, Operation operation, Ctx context, Path path,
                           const CallArguments& arguments, CMPIStatus* out) {
  if (const auto fault = injected(slot)) return answer(out, fault->status.rc), nullptr;
  return upCallEnumeration(operation, context, path, arguments, out);
}

CMPIEnumeration* enumerateInstanceNames(Mb /*broker*/, Ctx context, Path path, CMPIStatus* out) {
  return enumerate("bft.enumerateInstanceNames", Operation::kEnumerateInstanceNames, context, path,
                   {}, out);
}

CMPIInstance* getInstance(Mb /*broker*/, Ctx context, Path path, const char** properties,
                          CMPIStatus* out) {
  if (const auto fault = injected("bft.getInstance")) return answer(out, fault->status.rc), nullptr;
  return upCallGetInstance(context, path, properties, out);
}

CMPIObjectPath* createInstance(Mb /*broker*/, Ctx context, Path path, const CMPIInstance* instance,
                               CMPIStatus* out) {
  if (const auto fault = injected("bft.createInstance")) {
    answer(out, fault->status.rc);
    return nullptr;
  }
  return upCallCreate(context, path, instance, out);
}

CMPIStatus modifyInstance(Mb /*broker*/, Ctx context, Path path, const CMPIInstance* instance,
                          const char** properties) {
  if (const auto fault = injected("bft.modifyInstance")) return fault->status;
  CallArguments arguments;
  arguments.instance = instance;
  arguments.properties = properties;
  return upCallChange(Operation::kModifyInstance, context, path, arguments);
}

CMPIStatus deleteInstance(Mb /*broker*/, Ctx context, Path path) {
  if (const auto fault = injected("bft.deleteInstance")) return fault->status;
  return upCallChange(Operation::kDeleteInstance, context, path, {});
}

CMPIEnumeration* execQuery(Mb /*broker*/, Ctx context, Path path, const char* query,
                           const char* language, CMPIStatus* out) {
  CallArguments arguments;
  arguments.query = query;
  arguments.language = language;
  return enumerate("bft.execQuery", Operation::kExecQuery, context, path, arguments, out);
}

CMPIEnumeration* enumerateInstances(Mb /*broker*/, Ctx context, Path path, const char** properties,
                                    CMPIStatus* out) {
  CallArguments arguments;
  arguments.properties = properties;
  return enumerate("bft.enumerateInstances", Operation::kEnumerateInstances, context, path,
                   arguments, out);
}

CMPIEnumeration* associators(Mb /*broker*/, Ctx context, Path path, const char* assocClass,
                             const char* resultClass, const char* role, const char* resultRole,
                             const char** properties, CMPIStatus* out) {
  const CallArguments arguments{properties, assocClass, resultClass, role,
                                resultRole, nullptr,    nullptr,     nullptr};
  return enumerate("bft.associators", Operation::kAssociators, context, path, arguments, out);
}

CMPIEnumeration* associatorNames(Mb /*broker*/, Ctx context, Path path, const char* assocClass,
                                 const char* resultClass, const char* role, const char* resultRole,
                                 CMPIStatus* out) {
  const CallArguments arguments{nullptr,    assocClass, resultClass, role,
                                resultRole, nullptr,    nullptr,     nullptr};
  return enumerate("bft.associatorNames", Operation::kAssociatorNames, context, path, arguments,
                   out);
}

CMPIEnumeration* references(Mb /*broker*/, Ctx context, Path path, const char* resultClass,
                            const char* role, const char** properties, CMPIStatus* out) {
  const CallArguments arguments{properties, nullptr, resultClass, role,
                                nullptr,    nullptr, nullptr,     nullptr};
  return enumerate("bft.references", Operation::kReferences, context, path, arguments, out);
}

CMPIEnumeration* referenceNames(Mb /*broker*/, Ctx context, Path path, const char* resultClass,
                                const char* role, CMPIStatus* out) {
  const CallArguments arguments{nullptr, nullptr, resultClass, role,
                                nullptr, nullptr, nullptr,     nullptr};
  return enumerate("bft.referenceNames", Operation::kReferenceNames, context, path, arguments, out);
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

CMPIData getProperty(Mb /*broker*/, Ctx /*context*/, Path /*path*/, const char* /*name*/,
                     CMPIStatus* out) {
  answer(out, CMPI_RC_ERR_NOT_SUPPORTED);
  return notFoundData();
}

}  // namespace

CMPIBrokerFT* brokerTable() {
  static CMPIBrokerFT table = {kCapabilities,    0,
                               "RequestHandler", prepareAttachThread,
                               attachThread,     detachThread,
                               deliver,          enumerateInstanceNames,
                               getInstance,      createInstance,
                               modifyInstance,   deleteInstance,
                               execQuery,        enumerateInstances,
                               associators,      associatorNames,
                               references,       referenceNames,
                               invokeMethod,     setProperty,
                               getProperty};
  return &table;
}

}  // namespace orv::broker
