#include "notation/json.h"

#include <memory>
#include <type_traits>
#include <variant>

#include "notation/object_path.h"
#include "notation/property_order.h"

namespace orv::notation {

using broker::ClassSource;

Json toJson(const broker::Value& value, const ClassSource& classes, bool withNulls) {
  if (value.null) return nullptr;
  return std::visit(
      [&](const auto& content) -> Json {
        using Content = std::decay_t<decltype(content)>;
        if constexpr (std::is_same_v<Content, std::monostate>) {
          return nullptr;
        } else if constexpr (std::is_same_v<Content, broker::DateTime>) {
          return content.text;
        } else if constexpr (std::is_same_v<Content, broker::Value::Array>) {
          Json array = Json::array();
          for (const broker::Value& element : content) {
            array.push_back(toJson(element, classes, withNulls));
          }
          return array;
        } else if constexpr (std::is_same_v<Content, std::shared_ptr<const broker::Instance>>) {
          return toJson(*content, classes, withNulls);
        } else if constexpr (std::is_same_v<Content, std::shared_ptr<const broker::ObjectPath>>) {
          return objectPathText(*content);
        } else {
          return content;
        }
      },
      value.content);
}

Json toJson(const broker::ObjectPath& path, const ClassSource& classes) {
  Json keys = Json::object();
  for (const broker::Key& key : path.keys) keys[key.name] = toJson(key.value, classes, true);
  return {{"path", objectPathText(path)},
          {"namespace", path.nameSpace},
          {"class", path.className},
          {"keys", std::move(keys)}};
}

Json toJson(const broker::Instance& instance, const ClassSource& classes, bool withNulls) {
  Json properties = Json::object();
  const broker::ClassDefinition* definition = classes.find(instance.path.className);
  for (const broker::Property* p : orderedProperties(instance, definition, withNulls)) {
    properties[p->name] = toJson(p->value, classes, withNulls);
  }
  return {{"path", objectPathText(instance.path)},
          {"class", instance.path.className},
          {"properties", std::move(properties)}};
}

std::string jsonText(const Json& json, int indent) {
  return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace orv::notation
