#include <algorithm>
#include <cmath>
#include <iterator>

#include "broker/class_repository.h"
#include "broker/date_times.h"
#include "broker/wql.h"

namespace orv::broker {
namespace {

constexpr std::size_t kMostMembers = 4096;  // of a normal form's outer list

/// -1, 0, 1, or absent when the two cannot be compared.
using Order = std::optional<int>;

template <class T>
int order(const T& a, const T& b) {
  return a < b ? -1 : (b < a ? 1 : 0);
}

std::optional<long double> asNumber(const Value& value) {
  if (const auto* number = std::get_if<std::uint64_t>(&value.content)) {
    return static_cast<long double>(*number);  // 64 bits of mantissa: exact
  }
  if (const auto* number = std::get_if<std::int64_t>(&value.content)) {
    return static_cast<long double>(*number);
  }
  if (const auto* number = std::get_if<double>(&value.content)) {
    if (!std::isnan(*number)) return static_cast<long double>(*number);
  }
  return std::nullopt;
}

Order compareWithText(const Value& value, const std::string& text) {
  if (const auto* own = std::get_if<std::string>(&value.content)) return order(*own, text);
  if (const auto* time = std::get_if<DateTime>(&value.content)) {
    const auto other = parseDateTime(text);
    if (!other || other->interval != time->interval) return std::nullopt;
    return order(static_cast<std::int64_t>(time->microseconds),
                 static_cast<std::int64_t>(other->microseconds));
  }
  if (const auto* path = std::get_if<std::shared_ptr<const ObjectPath>>(&value.content)) {
    return order((*path)->toText(), text);
  }
  return std::nullopt;
}

Order compare(const Value& value, const Value& literal) {
  if (const auto* text = std::get_if<std::string>(&literal.content)) {
    return compareWithText(value, *text);
  }
  const auto* flag = std::get_if<bool>(&value.content);
  const auto* otherFlag = std::get_if<bool>(&literal.content);
  if (flag != nullptr && otherFlag != nullptr) return order(*flag, *otherFlag);
  const auto number = asNumber(value);
  const auto otherNumber = asNumber(literal);
  if (number && otherNumber) return order(*number, *otherNumber);
  return std::nullopt;
}

/// % is any run of characters, _ any one.
bool isLike(std::string_view text, std::string_view pattern) {
  std::size_t at = 0;
  std::size_t from = 0;
  std::size_t star = std::string_view::npos;
  std::size_t resume = 0;
  while (at < text.size()) {
    if (from < pattern.size() && pattern[from] == '%') {
      star = from++;
      resume = at;
    } else if (from < pattern.size() && (pattern[from] == '_' || pattern[from] == text[at])) {
      ++from;
      ++at;
    } else if (star != std::string_view::npos) {
      from = star + 1;
      at = ++resume;
    } else {
      return false;
    }
  }
  while (from < pattern.size() && pattern[from] == '%') ++from;
  return from == pattern.size();
}

bool compares(CMPIPredOp op, const Order& result) {
  if (!result) return false;
  switch (op) {
    case CMPI_PredOp_Equals:
      return *result == 0;
    case CMPI_PredOp_NotEquals:
      return *result != 0;
    case CMPI_PredOp_LessThan:
      return *result < 0;
    case CMPI_PredOp_LessThanOrEquals:
      return *result <= 0;
    case CMPI_PredOp_GreaterThan:
      return *result > 0;
    default:
      return *result >= 0;
  }
}

/// The value of a property; "a.b" is property b of the embedded instance a.
std::optional<Value> findProperty(const std::string& name, const WqlSubject& subject) {
  const std::size_t dot = name.find('.');
  std::optional<Value> value = subject.property(name.substr(0, dot));
  std::size_t from = dot;
  while (value && from != std::string::npos) {
    const auto* embedded = std::get_if<std::shared_ptr<const Instance>>(&value->content);
    if (embedded == nullptr) return std::nullopt;
    const std::size_t next = name.find('.', from + 1);
    const Value* inner = (*embedded)->property(name.substr(from + 1, next - from - 1));
    value = inner != nullptr ? std::optional<Value>(*inner) : std::nullopt;
    from = next;
  }
  return value;
}

bool isAHolds(const Value& value, const std::string& ancestor, const WqlSubject& subject) {
  const auto* embedded = std::get_if<std::shared_ptr<const Instance>>(&value.content);
  return embedded != nullptr && subject.isA((*embedded)->path.className, ancestor);
}

constexpr CMPIPredOp kOpposites[][2] = {
    {CMPI_PredOp_Equals, CMPI_PredOp_NotEquals},
    {CMPI_PredOp_LessThan, CMPI_PredOp_GreaterThanOrEquals},
    {CMPI_PredOp_GreaterThan, CMPI_PredOp_LessThanOrEquals},
    {CMPI_PredOp_Isa, CMPI_PredOp_NotIsa},
    {CMPI_PredOp_Like, CMPI_PredOp_NotLike},
    {CMPI_PredOp_Null, CMPI_PredOp_Not_Null},
};

CMPIPredOp negated(CMPIPredOp op) {
  for (const auto& [one, other] : kOpposites) {
    if (op == one) return other;
    if (op == other) return one;
  }
  return op;
}

/// The members of both lists: the outer operation of the normal form. Absent when there are too
/// many.
std::optional<NormalForm> joined(NormalForm a, NormalForm b) {
  if (a.size() + b.size() > kMostMembers) return std::nullopt;
  a.insert(a.end(), std::make_move_iterator(b.begin()), std::make_move_iterator(b.end()));
  return a;
}

/// Each member of one list combined with each of the other: the inner operation. Absent when there
/// are too many.
std::optional<NormalForm> multiplied(const NormalForm& a, const NormalForm& b) {
  if (a.size() * b.size() > kMostMembers) return std::nullopt;
  NormalForm out;
  for (const auto& left : a) {
    for (const auto& right : b) {
      out.push_back(left);
      out.back().insert(out.back().end(), right.begin(), right.end());
    }
  }
  return out;
}

std::optional<NormalForm> normalise(const WqlCondition& condition, bool disjunctive, bool negate) {
  if (condition.kind == WqlCondition::Kind::kComparison) {
    WqlComparison comparison = condition.comparison;
    if (negate) comparison.op = negated(comparison.op);
    return NormalForm{{comparison}};
  }
  if (condition.kind == WqlCondition::Kind::kNot) {
    return normalise(condition.operands[0], disjunctive, !negate);
  }
  const bool isOr = (condition.kind == WqlCondition::Kind::kOr) != negate;
  std::optional<NormalForm> out = normalise(condition.operands[0], disjunctive, negate);
  for (std::size_t i = 1; out && i < condition.operands.size(); ++i) {
    std::optional<NormalForm> next = normalise(condition.operands[i], disjunctive, negate);
    if (!next) return std::nullopt;
    out = isOr == disjunctive ? joined(std::move(*out), std::move(*next)) : multiplied(*out, *next);
  }
  return out;
}

}  // namespace

bool holds(const WqlComparison& comparison, const WqlSubject& subject) {
  const std::optional<Value> value = findProperty(comparison.property, subject);
  const bool isNull = !value || value->null;
  if (comparison.op == CMPI_PredOp_Null) return isNull;
  if (comparison.op == CMPI_PredOp_Not_Null) return !isNull;
  if (isNull) return false;
  const auto* text = std::get_if<std::string>(&value->content);
  switch (comparison.op) {
    case CMPI_PredOp_Isa:
      return isAHolds(*value, comparison.literal.text(), subject);
    case CMPI_PredOp_NotIsa:
      return !isAHolds(*value, comparison.literal.text(), subject);
    case CMPI_PredOp_Like:
      return text != nullptr && isLike(*text, comparison.literal.text());
    case CMPI_PredOp_NotLike:
      return text != nullptr && !isLike(*text, comparison.literal.text());
    default:
      return compares(comparison.op, compare(*value, comparison.literal));
  }
}

bool holds(const WqlCondition& condition, const WqlSubject& subject) {
  const std::vector<WqlCondition>& operands = condition.operands;
  const auto operandHolds = [&](const WqlCondition& operand) { return holds(operand, subject); };
  switch (condition.kind) {
    case WqlCondition::Kind::kComparison:
      return holds(condition.comparison, subject);
    case WqlCondition::Kind::kNot:
      return !operandHolds(operands[0]);
    case WqlCondition::Kind::kAnd:
      return std::all_of(operands.begin(), operands.end(), operandHolds);
    case WqlCondition::Kind::kOr:
      return std::any_of(operands.begin(), operands.end(), operandHolds);
  }
  return false;
}

std::optional<NormalForm> normalForm(const WqlCondition& condition, bool disjunctive) {
  return normalise(condition, disjunctive, false);
}

}  // namespace orv::broker
