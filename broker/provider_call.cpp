#include "broker/provider_call.h"

#include "broker/thread_state.h"

namespace orv::broker {
namespace {

struct Call {
  const CMPIContext* context;
  const CMPIResult* result;
  const CMPIObjectPath* path;
  const CallArguments& arguments;
};

CMPIStatus callInstanceProvider(CMPIInstanceMI* mi, Operation operation, const Call& call) {
  if (mi == nullptr) return status(CMPI_RC_ERR_NOT_SUPPORTED);
  const CMPIInstanceMIFT& table = *mi->ft;
  const CallArguments& with = call.arguments;
  switch (operation) {
    case Operation::kEnumerateInstanceNames:
      return callSlot("enumerateInstanceNames", table.enumerateInstanceNames, mi, call.context,
                      call.result, call.path);
    case Operation::kEnumerateInstances:
      return callSlot("enumerateInstances", table.enumerateInstances, mi, call.context, call.result,
                      call.path, with.properties);
    case Operation::kGetInstance:
      return callSlot("getInstance", table.getInstance, mi, call.context, call.result, call.path,
                      with.properties);
    case Operation::kCreateInstance:
      return callSlot("createInstance", table.createInstance, mi, call.context, call.result,
                      call.path, with.instance);
    case Operation::kModifyInstance:
      return callSlot("modifyInstance", table.modifyInstance, mi, call.context, call.result,
                      call.path, with.instance, with.properties);
    case Operation::kDeleteInstance:
      return callSlot("deleteInstance", table.deleteInstance, mi, call.context, call.result,
                      call.path);
    default:
      return callSlot("execQuery", table.execQuery, mi, call.context, call.result, call.path,
                      with.query, with.language);
  }
}

CMPIStatus callAssociationProvider(CMPIAssociationMI* mi, Operation operation, const Call& call) {
  if (mi == nullptr) return status(CMPI_RC_ERR_NOT_SUPPORTED);
  const CMPIAssociationMIFT& table = *mi->ft;
  const CallArguments& with = call.arguments;
  switch (operation) {
    case Operation::kAssociators:
      return callSlot("associators", table.associators, mi, call.context, call.result, call.path,
                      with.assocClass, with.resultClass, with.role, with.resultRole,
                      with.properties);
    case Operation::kAssociatorNames:
      return callSlot("associatorNames", table.associatorNames, mi, call.context, call.result,
                      call.path, with.assocClass, with.resultClass, with.role, with.resultRole);
    case Operation::kReferences:
      return callSlot("references", table.references, mi, call.context, call.result, call.path,
                      with.resultClass, with.role, with.properties);
    default:
      return callSlot("referenceNames", table.referenceNames, mi, call.context, call.result,
                      call.path, with.resultClass, with.role);
  }
}

}  // namespace

bool isAssociationOperation(Operation operation) {
  return operation == Operation::kAssociators || operation == Operation::kAssociatorNames ||
         operation == Operation::kReferences || operation == Operation::kReferenceNames;
}

CMPIStatus lacksSlot(const char* name) {
  report("", "", std::string(name) + " is null in the provider's table: a crash");
  return status(CMPI_RC_ERR_NOT_SUPPORTED);
}

CMPIStatus callProvider(Section& section, Operation operation, const CMPIContext* context,
                        const CMPIResult* result, const CMPIObjectPath* path,
                        const CallArguments& arguments) {
  const Call call{context, result, path, arguments};
  try {
    return isAssociationOperation(operation)
               ? callAssociationProvider(section.association, operation, call)
               : callInstanceProvider(section.instance, operation, call);
  } catch (...) {
    reportException("the provider");
  }
  return status(CMPI_RC_ERR_FAILED);
}

TextArray::TextArray(const std::vector<std::string>& texts) {
  for (const std::string& text : texts) pointers_.push_back(text.c_str());
  pointers_.push_back(nullptr);
}

}  // namespace orv::broker
