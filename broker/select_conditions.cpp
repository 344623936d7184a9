#include "broker/select_conditions.h"

#include "broker/class_repository.h"
#include "broker/heap.h"
#include "broker/object_tools.h"
#include "broker/strings.h"

namespace orv::broker {
namespace {

extern CMPISelectCondFT conditionTable;
extern CMPISubCondFT subConditionTable;
extern CMPIPredicateFT predicateTable;

struct ConditionObject : CMPISelectCond, HeapEntry {
  ConditionObject(std::vector<std::vector<WqlComparison>> content, bool isDisjunctive)
      : CMPISelectCond{this, &conditionTable},
        parts(std::move(content)),
        disjunctive(isDisjunctive) {}
  std::vector<std::vector<WqlComparison>> parts;
  bool disjunctive;
};

struct SubConditionObject : CMPISubCond, HeapEntry {
  explicit SubConditionObject(std::vector<WqlComparison> content)
      : CMPISubCond{this, &subConditionTable}, comparisons(std::move(content)) {}
  std::vector<WqlComparison> comparisons;
};

struct PredicateObject : CMPIPredicate, HeapEntry {
  explicit PredicateObject(WqlComparison content)
      : CMPIPredicate{this, &predicateTable}, comparison(std::move(content)) {}
  WqlComparison comparison;
};

ConditionObject* own(const CMPISelectCond* self) {
  return const_cast<ConditionObject*>(ownObject<ConditionObject>(
      self, static_cast<const CMPISelectCondFT*>(&conditionTable), "select condition"));
}
SubConditionObject* own(const CMPISubCond* self) {
  return const_cast<SubConditionObject*>(ownObject<SubConditionObject>(
      self, static_cast<const CMPISubCondFT*>(&subConditionTable), "sub-condition"));
}
PredicateObject* own(const CMPIPredicate* self) {
  return const_cast<PredicateObject*>(ownObject<PredicateObject>(
      self, static_cast<const CMPIPredicateFT*>(&predicateTable), "predicate"));
}

template <class Record>
CMPIStatus releaseRecord(Record* self) {
  return releaseObject(own(self), "condition");
}

CMPISelectCond* cloneCondition(const CMPISelectCond* self, CMPIStatus* out) {
  const ConditionObject* condition = own(self);
  answer(out, condition != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  if (condition == nullptr) return nullptr;
  return new ConditionObject(condition->parts, condition->disjunctive);  // caller releases it
}

CMPICount countAndType(const CMPISelectCond* self, int* type, CMPIStatus* out) {
  const ConditionObject* condition = own(self);
  answer(out, condition != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  if (condition == nullptr) return 0;
  if (type != nullptr) *type = condition->disjunctive ? 0 : 1;
  return static_cast<CMPICount>(condition->parts.size());
}

CMPISubCond* subConditionAt(const CMPISelectCond* self, CMPICount index, CMPIStatus* out) {
  const ConditionObject* condition = own(self);
  const bool found = condition != nullptr && index < condition->parts.size();
  answer(out, found ? CMPI_RC_OK : CMPI_RC_ERR_NO_SUCH_PROPERTY);
  return found ? makeObject<SubConditionObject>(condition->parts[index]) : nullptr;
}

CMPISubCond* cloneSubCondition(const CMPISubCond* self, CMPIStatus* out) {
  const SubConditionObject* part = own(self);
  answer(out, part != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return part != nullptr ? new SubConditionObject(part->comparisons) : nullptr;
}

CMPICount predicateCount(const CMPISubCond* self, CMPIStatus* out) {
  const SubConditionObject* part = own(self);
  answer(out, part != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return part != nullptr ? static_cast<CMPICount>(part->comparisons.size()) : 0;
}

CMPIPredicate* predicateAt(const CMPISubCond* self, CMPICount index, CMPIStatus* out) {
  const SubConditionObject* part = own(self);
  const bool found = part != nullptr && index < part->comparisons.size();
  answer(out, found ? CMPI_RC_OK : CMPI_RC_ERR_NO_SUCH_PROPERTY);
  return found ? makeObject<PredicateObject>(part->comparisons[index]) : nullptr;
}

CMPIPredicate* predicateNamed(const CMPISubCond* self, const char* name, CMPIStatus* out) {
  const SubConditionObject* part = own(self);
  answer(out, CMPI_RC_OK);
  if (part != nullptr && name != nullptr) {
    for (const WqlComparison& comparison : part->comparisons) {
      if (sameName(comparison.property, name)) return makeObject<PredicateObject>(comparison);
    }
  }
  answer(out, CMPI_RC_ERR_NO_SUCH_PROPERTY);
  return nullptr;
}

CMPIPredicate* clonePredicate(const CMPIPredicate* self, CMPIStatus* out) {
  const PredicateObject* predicate = own(self);
  answer(out, predicate != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return predicate != nullptr ? new PredicateObject(predicate->comparison) : nullptr;
}

std::string literalText(const Value& literal) {
  const auto* text = std::get_if<std::string>(&literal.content);
  return text != nullptr ? *text : literal.toText();
}

CMPIStatus predicateData(const CMPIPredicate* self, CMPIType* type, CMPIPredOp* op,
                         CMPIString** lhs, CMPIString** rhs) {
  const PredicateObject* predicate = own(self);
  if (predicate == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  const WqlComparison& comparison = predicate->comparison;
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

CMPISelectCondFT conditionTable = {1, releaseRecord<CMPISelectCond>, cloneCondition, countAndType,
                                   subConditionAt};
CMPISubCondFT subConditionTable = {
    1, releaseRecord<CMPISubCond>, cloneSubCondition, predicateCount, predicateAt, predicateNamed};
CMPIPredicateFT predicateTable = {1, releaseRecord<CMPIPredicate>, clonePredicate, predicateData,
                                  evaluatePredicate};

}  // namespace

CMPISelectCond* makeSelectCondition(std::vector<std::vector<WqlComparison>> content,
                                    bool disjunctive) {
  return makeObject<ConditionObject>(std::move(content), disjunctive);
}

}  // namespace orv::broker
