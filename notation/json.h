#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "broker/class_source.h"
#include "broker/values.h"

namespace orv::notation {

using Json = nlohmann::ordered_json;

/// Numbers, booleans, texts and arrays as such; date-times and references as their text, embedded
/// instances as instances.
Json toJson(const broker::Value& value, const broker::ClassSource& classes, bool withNulls);

/// {"path": text, "namespace": ..., "class": ..., "keys": {...}}
Json toJson(const broker::ObjectPath& path, const broker::ClassSource& classes);

/// {"path": text, "class": ..., "properties": {...}}
Json toJson(const broker::Instance& instance, const broker::ClassSource& classes, bool withNulls);

/// Indented text; bytes that are not UTF-8 are replaced.
std::string jsonText(const Json& json, int indent = 2);

}  // namespace orv::notation
