#pragma once

#include <optional>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/provider_host.h"
#include "broker/results.h"

namespace orv::broker {

/// Arguments of an operation as a provider gets them, except for the path. Those that an operation
/// does not have are ignored.
struct CallArguments {
  const char** properties = nullptr;
  const char* assocClass = nullptr;
  const char* resultClass = nullptr;
  const char* role = nullptr;
  const char* resultRole = nullptr;
  const char* query = nullptr;
  const char* language = nullptr;
  const CMPIInstance* instance = nullptr;
};

/// Whether an association provider serves the operation.
bool isAssociationOperation(Operation operation);

/// Reports that a slot of a provider's table is null. Returns status 7.
CMPIStatus lacksSlot(const char* name);

/// Calls a slot of a provider's table unless it is null.
template <class Mi, class... Parameters, class... Arguments>
CMPIStatus callSlot(const char* name, CMPIStatus (*slot)(Mi*, Parameters...), Mi* mi,
                    Arguments... arguments) {
  return slot != nullptr ? slot(mi, arguments...) : lacksSlot(name);
}

/// Calls the provider of a loaded section. A null slot is reported and gives status 7; an exception
/// of the provider is reported and gives status 1.
CMPIStatus callProvider(Section& section, Operation operation, const CMPIContext* context,
                        const CMPIResult* result, const CMPIObjectPath* path,
                        const CallArguments& arguments);

/// A null-terminated list of texts for C, which must outlive it.
class TextArray {
 public:
  explicit TextArray(const std::vector<std::string>& texts);
  const char** data() { return pointers_.data(); }

 private:
  std::vector<const char*> pointers_;
};

}  // namespace orv::broker
