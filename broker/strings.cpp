#include "broker/strings.h"

#include "broker/object_tools.h"
#include "broker/thread_state.h"

namespace orv::broker {
namespace {

CMPIStatus releaseString(CMPIString* self) {
  return releaseObject(const_cast<StringObject*>(ownString(self)), "string");
}

CMPIString* cloneString(const CMPIString* self, CMPIStatus* out) {
  const StringObject* own = ownString(self);
  answer(out, own != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return own != nullptr ? new StringObject(own->text) : nullptr;  // the caller releases it
}

char* textPointer(const CMPIString* self, CMPIStatus* out) {
  const StringObject* own = ownString(self);
  answer(out, own != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return own != nullptr ? static_cast<char*>(own->hdl) : nullptr;
}

CMPIStringFT stringTable = {1, releaseString, cloneString, textPointer};

}  // namespace

StringObject::StringObject(std::optional<std::string> content)
    : CMPIString{nullptr, &stringTable}, text(std::move(content)) {
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

}  // namespace orv::broker
