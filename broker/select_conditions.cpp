#include "broker/select_conditions.h"

#include "broker/class_repository.h"
#include "broker/object_tools.h"
#include "broker/strings.h"

namespace orv::broker {
namespace {

struct ConditionObject : BrokerObject<ConditionObject, CMPISelectCond> {
  static constexpr const char* kKind = "condition";
  static CMPISelectCondFT table;

  ConditionObject(NormalForm content, bool isDisjunctive)
      : parts(std::move(content)), disjunctive(isDisjunctive) {}
  ConditionObject* clone() const { return new ConditionObject(parts, disjunctive); }

  NormalForm parts;
  bool disjunctive;
};

struct SubConditionObject : BrokerObject<SubConditionObject, CMPISubCond> {
  static constexpr const char* kKind = "sub-condition";
  static CMPISubCondFT table;

  explicit SubConditionObject(std::vector<WqlComparison> content)
      : comparisons(std::move(content)) {}
  SubConditionObject* clone() const { return new SubConditionObject(comparisons); }

  std::vector<WqlComparison> comparisons;
};

struct PredicateObject : BrokerObject<PredicateObject, CMPIPredicate> {
  static constexpr const char* kKind = "predicate";
  static CMPIPredicateFT table;

  explicit PredicateObject(WqlComparison content) : comparison(std::move(content)) {}
  PredicateObject* clone() const { return new PredicateObject(comparison); }

  WqlComparison comparison;
};

CMPICount countAndType(const ConditionObject& self, int* type, CMPIStatus* /*out*/) {
  if (type != nullptr) *type = self.disjunctive ? 0 : 1;
  return static_cast<CMPICount>(self.parts.size());
}

CMPISubCond* subConditionAt(const ConditionObject& self, CMPICount index, CMPIStatus* out) {
  if (index < self.parts.size()) return makeObject<SubConditionObject>(self.parts[index]);
  answer(out, CMPI_RC_ERR_NO_SUCH_PROPERTY);
  return nullptr;
}

CMPICount predicateCount(const SubConditionObject& self, CMPIStatus* /*out*/) {
  return static_cast<CMPICount>(self.comparisons.size());
}

CMPIPredicate* predicateAt(const SubConditionObject& self, CMPICount index, CMPIStatus* out) {
  if (index < self.comparisons.size()) return makeObject<PredicateObject>(self.comparisons[index]);
  answer(out, CMPI_RC_ERR_NO_SUCH_PROPERTY);
  return nullptr;
}

CMPIPredicate* predicateNamed(const SubConditionObject& self, const char* name, CMPIStatus* out) {
  for (const WqlComparison& comparison : self.comparisons) {
    if (name != nullptr && sameName(comparison.property, name)) {
      return makeObject<PredicateObject>(comparison);
    }
  }
  answer(out, CMPI_RC_ERR_NO_SUCH_PROPERTY);
  return nullptr;
}

std::string literalText(const Value& literal) {
  const auto* text = std::get_if<std::string>(&literal.content);
  return text != nullptr ? *text : literal.toText();
}

CMPIStatus predicateData(const PredicateObject& self, CMPIType* type, CMPIPredOp* op,
                         CMPIString** lhs, CMPIString** rhs) {
  const WqlComparison& comparison = self.comparison;
  if (type != nullptr) *type = comparison.literal.type;
  if (op != nullptr) *op = comparison.op;
  if (lhs != nullptr) *lhs = makeString(comparison.property);
  if (rhs != nullptr) *rhs = makeString(literalText(comparison.literal));
  return status(CMPI_RC_OK);
}

CMPIBoolean evaluatePredicate(const CMPIPredicate* /*self*/, CMPIAccessor /*accessor*/,
                              void* /*parameter*/, CMPIStatus* out) {
  answer(out, CMPI_RC_ERR_NOT_SUPPORTED);
  return 0;
}

CMPISelectCondFT ConditionObject::table = {1, slot<releaseObject<ConditionObject>>,
                                           slot<cloneObject<ConditionObject>>, slot<countAndType>,
                                           slot<subConditionAt>};
CMPISubCondFT SubConditionObject::table = {1,
                                           slot<releaseObject<SubConditionObject>>,
                                           slot<cloneObject<SubConditionObject>>,
                                           slot<predicateCount>,
                                           slot<predicateAt>,
                                           slot<predicateNamed>};
CMPIPredicateFT PredicateObject::table = {1, slot<releaseObject<PredicateObject>>,
                                          slot<cloneObject<PredicateObject>>, slot<predicateData>,
                                          evaluatePredicate};

}  // namespace

CMPISelectCond* makeSelectCondition(NormalForm content, bool disjunctive) {
  return makeObject<ConditionObject>(std::move(content), disjunctive);
}

}  // namespace orv::broker
