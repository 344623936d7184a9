#include "broker/strings.h"

#include "broker/object_tools.h"
#include "broker/thread_state.h"

namespace orv::broker {
namespace {

char* textPointer(const StringObject& self, CMPIStatus* /*out*/) {
  return static_cast<char*>(self.hdl);
}

}  // namespace

CMPIStringFT StringObject::table = {1, slot<releaseObject<StringObject>>,
                                    slot<cloneObject<StringObject>>, slot<textPointer>};

CMPIString* makeString(std::optional<std::string> text) {
  return makeObject<StringObject>(std::move(text));
}

std::optional<std::string> textOf(const CMPIString* record) {
  const StringObject* own = StringObject::own(record);
  return own != nullptr ? own->text : std::nullopt;
}

}  // namespace orv::broker
