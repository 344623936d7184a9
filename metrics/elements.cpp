#include "metrics/elements.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "broker/class_repository.h"
#include "metrics/conversions.h"

namespace orv::metrics {
namespace {

constexpr const char* kScopingKeys[] = {"SystemCreationClassName", "SystemName",
                                        "CreationClassName"};

bool isScopingKey(const broker::Key& key) {
  return std::any_of(std::begin(kScopingKeys), std::end(kScopingKeys),
                     [&](const char* name) { return broker::sameName(key.name, name); });
}

}  // namespace

std::string elementName(const broker::ObjectPath& path) {
  std::vector<broker::Key> telling;
  for (const broker::Key& key : path.keys) {
    if (!isScopingKey(key)) telling.push_back(key);
  }
  if (telling.size() == 1) return plainText(telling.front().value);
  std::string name;
  for (const broker::Key& key : telling) {
    name += (name.empty() ? "" : ",") + key.name + "=" + plainText(key.value);
  }
  return name;
}

std::string elementOf(const Ask& ask, const broker::Instance& instance, const char* association) {
  broker::Request request;
  request.operation = broker::Operation::kAssociatorNames;
  request.path = instance.path;
  request.filter.assocClass = association;
  const broker::Response response = ask(request);
  return response.ok() && !response.paths.empty() ? elementName(response.paths.front()) : "";
}

}  // namespace orv::metrics
