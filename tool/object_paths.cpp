#include "tool/object_paths.h"

#include "broker/object_path_text.h"
#include "notation/object_path.h"
#include "tool/errors.h"

namespace orv::tool {

broker::ObjectPath objectPathArgument(std::string_view text, const std::string& nameSpace,
                                      const broker::ClassSource& classes) {
  try {
    return notation::readObjectPath(text, nameSpace, classes);
  } catch (const broker::ObjectPathError& e) {
    throw BadInput(e.what());
  }
}

}  // namespace orv::tool
