#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "broker/values.h"

/// Filter queries:
///
///   query      = SELECT ( "*" | name { "," name } ) FROM class [ WHERE condition ]
///   condition  = conjunction { OR conjunction }
///   conjunction = negation { AND negation }
///   negation   = [ NOT ] ( "(" condition ")" | comparison )
///   comparison = property ( "=" | "<>" | "!=" | "<" | "<=" | ">" | ">=" ) literal
///              | property [ NOT ] LIKE text | property ISA class | property IS [ NOT ] NULL
///   property   = name { "." name }           each "." leads into an embedded instance
///   literal    = text in ' or " | number | TRUE | FALSE | NULL
///
/// The case of key words and names does not matter. In LIKE, % is any run of characters and _ any
/// one.
namespace orv::broker {

/// A text is not a query. what() says where.
class WqlError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct WqlComparison {
  std::string property;
  CMPIPredOp op = CMPI_PredOp_Equals;
  Value literal;  ///< a string for LIKE and ISA; null for null tests
};

struct WqlCondition {
  enum class Kind { kComparison, kAnd, kOr, kNot };
  Kind kind = Kind::kComparison;
  WqlComparison comparison;            // kComparison
  std::vector<WqlCondition> operands;  // the others; kNot has one
};

struct WqlQuery {
  std::string text;
  std::optional<std::vector<std::string>> projection;  ///< absent for *
  std::string className;
  std::optional<WqlCondition> condition;
};

/// Fails: WqlError.
WqlQuery parseWql(const std::string& text);

/// What a condition is evaluated on.
struct WqlSubject {
  /// Value of a property; absent when there is none of that name.
  std::function<std::optional<Value>(const std::string& name)> property;
  /// Whether a class is `ancestor` or derives from it; called with the classes of embedded
  /// instances.
  std::function<bool(const std::string& className, const std::string& ancestor)> isA;
};

/// A comparison with a null or missing property is false, except for the null tests.
bool holds(const WqlComparison& comparison, const WqlSubject& subject);
bool holds(const WqlCondition& condition, const WqlSubject& subject);

/// A list of lists of comparisons, into which NOT is resolved.
using NormalForm = std::vector<std::vector<WqlComparison>>;

/// The condition as a disjunction of conjunctions, or the other way round. Absent if any part of it
/// would become too large.
std::optional<NormalForm> normalForm(const WqlCondition& condition, bool disjunctive);

}  // namespace orv::broker
