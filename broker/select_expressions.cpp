#include "broker/select_expressions.h"

#include "broker/arrays.h"
#include "broker/broker_state.h"
#include "broker/data.h"
#include "broker/instances.h"
#include "broker/object_tools.h"
#include "broker/select_conditions.h"
#include "broker/strings.h"

namespace orv::broker {
namespace {

WqlSubject subjectOf(const InstanceData& instance) {
  WqlSubject subject;
  subject.property = [&instance](const std::string& name) {
    const Value* value = instance.get(name);
    return value != nullptr ? std::optional<Value>(*value) : std::nullopt;
  };
  subject.isA = [&instance](const std::string& className, const std::string& ancestor) {
    const auto broker = currentBroker();
    const auto classes = broker ? broker->classes(instance.nameSpace()) : nullptr;
    return classes ? classes->isA(className, ancestor) : sameName(className, ancestor);
  };
  return subject;
}

CMPIBoolean evaluate(const SelectExpressionObject& self, const CMPIInstance* record,
                     CMPIStatus* out) {
  const InstanceObject* instance = InstanceObject::own(record);
  if (instance != nullptr) return selects(*self.query, instance->data) ? 1 : 0;
  answer(out, CMPI_RC_ERR_INVALID_HANDLE);
  return 0;
}

CMPIString* getString(const SelectExpressionObject& self, CMPIStatus* /*out*/) {
  return makeString(self.query->text);
}

template <bool disjunctive>
CMPISelectCond* getCondition(const SelectExpressionObject& self, CMPIStatus* out) {
  const auto& condition = self.query->condition;
  if (!condition) return nullptr;
  std::optional<NormalForm> form = normalForm(*condition, disjunctive);
  if (form) return makeSelectCondition(std::move(*form), disjunctive);
  answer(out, CMPI_RC_ERR_FAILED);  // too large; a part of it would be another condition
  return nullptr;
}

CMPIBoolean evaluateUsingAccessor(const CMPISelectExp* /*self*/, CMPIAccessor /*accessor*/,
                                  void* /*parameter*/, CMPIStatus* out) {
  answer(out, CMPI_RC_ERR_NOT_SUPPORTED);
  return 0;
}

CMPIArray* projectionArray(const WqlQuery& query) {
  if (!query.projection) return nullptr;
  Value::Array names;
  for (const std::string& name : *query.projection) names.push_back(Value::ofString(name));
  return makeArray(CMPI_string, std::move(names));
}

}  // namespace

CMPISelectExpFT SelectExpressionObject::table = {1,
                                                 slot<releaseObject<SelectExpressionObject>>,
                                                 slot<cloneObject<SelectExpressionObject>>,
                                                 slot<evaluate>,
                                                 slot<getString>,
                                                 slot<getCondition<true>>,
                                                 slot<getCondition<false>>,
                                                 evaluateUsingAccessor};

CMPISelectExp* makeSelectExpression(std::shared_ptr<const WqlQuery> query) {
  return makeObject<SelectExpressionObject>(std::move(query));
}

bool isKnownQueryLanguage(const std::string& language) {
  return sameName(language, "WQL") || sameName(language, "CQL") || sameName(language, "DMTF:CQL");
}

CMPISelectExp* newSelectExpression(const char* query, const char* language, CMPIArray** projection,
                                   CMPIStatus* out) {
  if (query == nullptr || language == nullptr || !isKnownQueryLanguage(language)) {
    answer(out,
           query == nullptr ? CMPI_RC_ERR_INVALID_QUERY : CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED);
    return nullptr;
  }
  try {
    auto parsed = std::make_shared<const WqlQuery>(parseWql(query));
    if (projection != nullptr) *projection = projectionArray(*parsed);
    answer(out, CMPI_RC_OK);
    return makeSelectExpression(std::move(parsed));
  } catch (const WqlError&) {
    answer(out, CMPI_RC_ERR_INVALID_QUERY);
    return nullptr;
  }
}

bool selects(const WqlQuery& query, const InstanceData& instance) {
  const WqlSubject subject = subjectOf(instance);
  if (!subject.isA(instance.className(), query.className)) return false;
  return !query.condition || holds(*query.condition, subject);
}

}  // namespace orv::broker
