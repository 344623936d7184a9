#include "serve/objects.h"

#include <algorithm>
#include <memory>

namespace orv::serve {

using broker::ObjectPath;

ObjectPath localPath(ObjectPath path, const std::string& nameSpace) {
  path.host.clear();
  path.nameSpace = nameSpace;
  for (broker::Key& key : path.keys) {
    const auto* reference = std::get_if<std::shared_ptr<const ObjectPath>>(&key.value.content);
    if (reference != nullptr && *reference != nullptr) {
      key.value = broker::Value::ofReference(localPath(**reference, nameSpace));
    }
  }
  return path;
}

bool isListed(const broker::PropertyList& list, const std::string& name) {
  return !list || std::any_of(list->begin(), list->end(), [&](const std::string& listed) {
    return broker::sameName(listed, name);
  });
}

void keepListed(broker::Instance& instance, const broker::PropertyList& list) {
  auto& all = instance.properties;
  const auto isOther = [&](const auto& property) { return !isListed(list, property.name); };
  all.erase(std::remove_if(all.begin(), all.end(), isOther), all.end());
}

}  // namespace orv::serve
