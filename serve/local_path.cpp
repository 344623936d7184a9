#include "serve/local_path.h"

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

}  // namespace orv::serve
