#include "broker/arguments.h"

#include "broker/data.h"
#include "broker/heap.h"
#include "broker/object_tools.h"
#include "broker/strings.h"

namespace orv::broker {
namespace {

extern CMPIArgsFT argumentsTable;

struct ArgumentsObject : CMPIArgs, HeapEntry {
  explicit ArgumentsObject(PathData content)
      : CMPIArgs{this, &argumentsTable}, named(std::move(content)) {}
  PathData named;  // its keys are the arguments
};

ArgumentsObject* own(const CMPIArgs* self) {
  return const_cast<ArgumentsObject*>(ownObject<ArgumentsObject>(
      self, static_cast<const CMPIArgsFT*>(&argumentsTable), "argument list"));
}

CMPIStatus releaseArguments(CMPIArgs* self) { return releaseObject(own(self), "argument list"); }

CMPIArgs* cloneArguments(const CMPIArgs* self, CMPIStatus* out) {
  const ArgumentsObject* arguments = own(self);
  answer(out, arguments != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return arguments != nullptr ? new ArgumentsObject(arguments->named) : nullptr;
}

CMPIStatus addArgument(const CMPIArgs* self, const char* name, const CMPIValue* value,
                       CMPIType type) {
  ArgumentsObject* arguments = own(self);
  if (arguments == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  if (name == nullptr) return status(CMPI_RC_ERR_INVALID_PARAMETER);
  ReadValue read = readValue(value, type);
  if (!read.complaint.empty()) report("", name, "argument: " + read.complaint);
  if (read.rc != CMPI_RC_OK) return status(read.rc);
  if (Key* existing = arguments->named.key(name)) {
    existing->value = std::move(read.value);
  } else {
    arguments->named.keys.push_back({name, std::move(read.value)});
  }
  return status(CMPI_RC_OK);
}

CMPIData getArgument(const CMPIArgs* self, const char* name, CMPIStatus* out) {
  const ArgumentsObject* arguments = own(self);
  const Key* found = arguments != nullptr && name != nullptr ? arguments->named.key(name) : nullptr;
  answer(out, found != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_NOT_FOUND);
  return found != nullptr ? toData(found->value) : notFoundData();
}

CMPIData getArgumentAt(const CMPIArgs* self, CMPICount index, CMPIString** name, CMPIStatus* out) {
  const ArgumentsObject* arguments = own(self);
  const bool found = arguments != nullptr && index < arguments->named.keys.size();
  answer(out, found ? CMPI_RC_OK : CMPI_RC_ERR_NOT_FOUND);
  if (!found) return notFoundData();
  const Key& argument = arguments->named.keys[index];
  if (name != nullptr) *name = makeString(argument.name);
  return toData(argument.value);
}

CMPICount argumentCount(const CMPIArgs* self, CMPIStatus* out) {
  const ArgumentsObject* arguments = own(self);
  answer(out, arguments != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return arguments != nullptr ? static_cast<CMPICount>(arguments->named.keys.size()) : 0;
}

CMPIArgsFT argumentsTable = {1,           releaseArguments, cloneArguments, addArgument,
                             getArgument, getArgumentAt,    argumentCount};

}  // namespace

CMPIArgs* makeArguments() { return makeObject<ArgumentsObject>(PathData()); }

}  // namespace orv::broker
