#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "broker/class_source.h"
#include "broker/values.h"

namespace orv::notation {

using Json = nlohmann::ordered_json;

/// Numbers, booleans, strings and arrays become those of JSON; date-times and references strings;
/// embedded instances objects as below, with null properties only if `withNulls`.
Json toJson(const broker::Value& value, const broker::ClassSource& classes, bool withNulls);

/// {"path": text, "namespace": ..., "class": ..., "keys": {...}}; the text as objectPathText writes
/// it.
Json toJson(const broker::ObjectPath& path, const broker::ClassSource& classes);

/// {"path": text, "class": ..., "properties": {...}}, the properties in the order of
/// orderedProperties.
Json toJson(const broker::Instance& instance, const broker::ClassSource& classes, bool withNulls);

/// The JSON text, on one line if `indent` is -1. Bytes that are not UTF-8 become U+FFFD.
std::string jsonText(const Json& json, int indent = 2);

}  // namespace orv::notation
