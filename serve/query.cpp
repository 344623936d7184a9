#include "serve/query.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "broker/select_expressions.h"
#include "cimxml/messages.h"

namespace orv::serve {
namespace {

using broker::Instance;
using broker::Value;
using cimxml::CimError;

broker::WqlQuery parse(const std::string& text, const std::string& language) try {
  if (!broker::isKnownQueryLanguage(language)) {
    throw CimError(CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED,
                   "The query language must be WQL, CQL or DMTF:CQL");
  }
  return broker::parseWql(text);
} catch (const broker::WqlError& error) {
  throw CimError(CMPI_RC_ERR_INVALID_QUERY, error.what());
}

const Instance* embeddedIn(const Value& value) {
  const auto* instance = std::get_if<std::shared_ptr<const Instance>>(&value.content);
  return instance == nullptr ? nullptr : instance->get();
}

/// "name", or "name.name" for a property of an embedded instance. Null when there is none.
const Value* valueOf(const Instance& instance, const std::string& name) {
  const std::size_t dot = name.find('.');
  const Value* value = instance.property(name.substr(0, dot));
  if (dot == std::string::npos || value == nullptr) return value;
  const Instance* inner = embeddedIn(*value);
  return inner == nullptr ? nullptr : valueOf(*inner, name.substr(dot + 1));
}

}  // namespace

Query::Query(const std::string& text, const std::string& language,
             const broker::ClassRepository& classes)
    : query_(parse(text, language)), classes_(classes) {
  if (classes.find(query_.className) == nullptr) throw CimError(CMPI_RC_ERR_INVALID_CLASS);
}

bool Query::selects(const Instance& instance) const {
  if (!query_.condition) return true;
  broker::WqlSubject subject;
  subject.property = [&](const std::string& name) -> std::optional<Value> {
    const Value* value = valueOf(instance, name);
    return value == nullptr ? std::nullopt : std::optional<Value>(*value);
  };
  subject.isA = [&](const std::string& name, const std::string& ancestor) {
    if (name.empty()) return classes_.isA(instance.path.className, ancestor);
    const Value* value = valueOf(instance, name);
    const Instance* inner = value == nullptr ? nullptr : embeddedIn(*value);
    return inner != nullptr && classes_.isA(inner->path.className, ancestor);
  };
  return broker::holds(*query_.condition, subject);
}

void Query::project(Instance& instance) const {
  if (!query_.projection) return;
  auto& all = instance.properties;
  const auto isSelected = [&](const broker::Property& property) {
    return std::any_of(
        query_.projection->begin(), query_.projection->end(),
        [&](const std::string& name) { return broker::sameName(name, property.name); });
  };
  all.erase(std::remove_if(all.begin(), all.end(),
                           [&](const auto& property) { return !isSelected(property); }),
            all.end());
}

}  // namespace orv::serve
