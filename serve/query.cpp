#include "serve/query.h"

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
    const Value* value = instance.property(name);
    return value == nullptr ? std::nullopt : std::optional<Value>(*value);
  };
  subject.isA = [this](const std::string& name, const std::string& ancestor) {
    return classes_.isA(name, ancestor);
  };
  return broker::holds(*query_.condition, subject);
}

}  // namespace orv::serve
