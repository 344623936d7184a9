#include "broker/strings.h"

#include "broker/object_tools.h"
#include "broker/thread_state.h"

namespace orv::broker {
namespace {

CMPIStatus releaseString(CMPIString* self) {
  if (const auto fault = injected("string.release")) return fault->status;
  return releaseObject(const_cast<StringObject*>(ownString(self)), "string");
}

CMPIString* cloneString(const CMPIString* self, CMPIStatus* out) {
  if (const auto fault = injected("string.clone")) return faultyString(*fault, out);
  const StringObject* own = ownString(self);
  answer(out, own != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return own != nullptr ? new StringObject(own->text) : nullptr;  // the caller releases it
}

char* textPointer(const CMPIString* self, CMPIStatus* out) {
  if (const auto fault = injected("string.getCharPtr")) {
    answer(out, fault->status.rc);
    return nullptr;
  }
  const StringObject* own = ownString(self);
  answer(out, own != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return own != nullptr ? static_cast<char*>(own->hdl) : nullptr;
}

CMPIStringFT stringTable = {1, releaseString, cloneString, textPointer};

}  // namespace

StringObject::StringObject(std::optional<std::string> content)
    : CMPIString{nullptr, &stringTable}, HeapEntry(ObjectKind::kString), text(std::move(content)) {
  if (text) hdl = text->data();
}

CMPIString* makeString(std::optional<std::string> text) {
  return makeObject<StringObject>(std::move(text));
}

const StringObject* ownString(const CMPIString* record) {
  return ownObject<StringObject>(record, &stringTable, "string");
}

std::optional<std::string> textOf(const CMPIString* record) {
  const StringObject* own = ownString(record);
  return own != nullptr ? own->text : std::nullopt;
}

CMPIString* faultyString(const InjectedFault& fault, CMPIStatus* out) {
  answer(out, fault.status.rc);
  return fault.effect == Fault::Effect::kNullText ? makeString(std::nullopt) : nullptr;
}

}  // namespace orv::broker
