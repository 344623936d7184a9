#include "broker/arguments.h"

#include "broker/data.h"
#include "broker/object_tools.h"
#include "broker/strings.h"

namespace orv::broker {
namespace {

struct ArgumentsObject : BrokerObject<ArgumentsObject, CMPIArgs> {
  static constexpr const char* kKind = "argument list";
  static CMPIArgsFT table;

  explicit ArgumentsObject(PathData content) : named(std::move(content)) {}
  ArgumentsObject* clone() const { return new ArgumentsObject(named); }

  PathData named;  // its keys are the arguments
};

CMPIStatus addArgument(ArgumentsObject& self, const char* name, const CMPIValue* value,
                       CMPIType type) {
  if (name == nullptr) return status(CMPI_RC_ERR_INVALID_PARAMETER);
  ReadValue read = readValue(value, type);
  if (!read.complaint.empty()) report("", name, "argument: " + read.complaint);
  if (read.rc != CMPI_RC_OK) return status(read.rc);
  if (Key* existing = self.named.key(name)) {
    existing->value = std::move(read.value);
  } else {
    self.named.keys.push_back({name, std::move(read.value)});
  }
  return status(CMPI_RC_OK);
}

CMPIData getArgument(const ArgumentsObject& self, const char* name, CMPIStatus* out) {
  const Key* found = name != nullptr ? self.named.key(name) : nullptr;
  if (found != nullptr) return toData(found->value);
  answer(out, CMPI_RC_ERR_NOT_FOUND);
  return notFoundData();
}

CMPIData getArgumentAt(const ArgumentsObject& self, CMPICount index, CMPIString** name,
                       CMPIStatus* out) {
  if (index >= self.named.keys.size()) {
    answer(out, CMPI_RC_ERR_NOT_FOUND);
    return notFoundData();
  }
  const Key& argument = self.named.keys[index];
  if (name != nullptr) *name = makeString(argument.name);
  return toData(argument.value);
}

CMPICount argumentCount(const ArgumentsObject& self, CMPIStatus* /*out*/) {
  return static_cast<CMPICount>(self.named.keys.size());
}

CMPIArgsFT ArgumentsObject::table = {1,
                                     slot<releaseObject<ArgumentsObject>>,
                                     slot<cloneObject<ArgumentsObject>>,
                                     slot<addArgument>,
                                     slot<getArgument>,
                                     slot<getArgumentAt>,
                                     slot<argumentCount>};

}  // namespace

CMPIArgs* makeArguments() { return makeObject<ArgumentsObject>(PathData()); }

}  // namespace orv::broker
