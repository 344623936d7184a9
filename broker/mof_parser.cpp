// clang-format off
// The subset of MOF that class schemas use. The case of words in quotes does not matter; { x } is any
// number of x, [ x ] at most one. Comments go from // to the end of the line or from /* to */.
//
//   mof           = { pragma | qualifierDecl | class }
//   pragma        = "#pragma" name "(" string ")"                  include, locale, namespace, others
//   qualifierDecl = "Qualifier" name ":" type [ array ] [ "=" value ]
//                   { "," scope | "," flavor } ";"
//   scope         = "Scope" "(" name { "," name } ")"
//   flavor        = "Flavor" "(" name { "," name } ")"
//   class         = [ qualifiers ] "class" name [ ":" name ] "{" { feature } "}" ";"
//   feature       = [ qualifiers ] ( property | reference | method )
//   property      = type name [ array ] [ "=" value ] ";"
//   reference     = name "REF" name [ "=" value ] ";"
//   method        = type name "(" [ parameter { "," parameter } ] ")" ";"
//   parameter     = [ qualifiers ] ( type | name "REF" ) name [ array ]
//   qualifiers    = "[" qualifier { "," qualifier } "]"
//   qualifier     = name [ "(" value ")" | "{" values "}" ] [ ":" name { name } ]
//   values        = literal { "," literal }
//   array         = "[" [ integer ] "]"
//   value         = literal | "{" [ values ] "}" | "null"
//   literal       = string { string } | character | integer | real | "true" | "false"
// clang-format on
#include "broker/mof_parser.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <utility>

#include "broker/characters.h"
#include "broker/values.h"

namespace orv::broker {
namespace {

using Kind = MofToken::Kind;

std::optional<CMPIType> dataTypeOf(const MofToken& token) {
  return token.kind == Kind::identifier ? dataTypeNamed(token.text) : std::nullopt;
}

struct IntegerRange {
  CMPIType type;
  std::int64_t lowest;
  std::uint64_t highest;
};

template <typename T>
constexpr IntegerRange rangeOf(CMPIType type) {
  return {type, static_cast<std::int64_t>(std::numeric_limits<T>::min()),
          static_cast<std::uint64_t>(std::numeric_limits<T>::max())};
}

constexpr IntegerRange kIntegerRanges[] = {
    rangeOf<CMPIUint8>(CMPI_uint8),   rangeOf<CMPIUint16>(CMPI_uint16),
    rangeOf<CMPIUint32>(CMPI_uint32), rangeOf<CMPIUint64>(CMPI_uint64),
    rangeOf<CMPISint8>(CMPI_sint8),   rangeOf<CMPISint16>(CMPI_sint16),
    rangeOf<CMPISint32>(CMPI_sint32), rangeOf<CMPISint64>(CMPI_sint64)};

bool inRange(const IntegerRange& range, const std::string& text) {
  if (text.front() == '-') {
    const auto value = wholeNumber<std::int64_t>(text);
    return value && *value >= range.lowest;
  }
  const auto value = wholeNumber<std::uint64_t>(text);
  return value && *value <= range.highest;
}

const QualifierValue* find(const std::vector<QualifierValue>& qualifiers, std::string_view name) {
  for (const QualifierValue& qualifier : qualifiers) {
    if (sameName(qualifier.name, name)) return &qualifier;
  }
  return nullptr;
}

bool isSet(const std::vector<QualifierValue>& qualifiers, std::string_view name) {
  const QualifierValue* qualifier = find(qualifiers, name);
  return qualifier != nullptr && qualifier->values == std::vector<std::string>{"true"};
}

bool isArray(CMPIType type) { return (type & CMPI_ARRAY) != 0; }
CMPIType elementOf(CMPIType type) { return static_cast<CMPIType>(type & ~CMPI_ARRAY); }
CMPIType arrayOf(CMPIType type) { return static_cast<CMPIType>(type | CMPI_ARRAY); }

}  // namespace

MofParser::MofParser(MofReader& reader, std::string_view text, const std::string& file)
    : reader_(reader), file_(file), lexer_(text, file) {}

void MofParser::parse() {
  advance();
  while (token_.kind != Kind::end) {
    if (token_.kind == Kind::pragma) {
      pragma();
    } else if (atWord("qualifier")) {
      qualifierDeclaration();
    } else {
      Qualifiers qualifiers = qualifierList();
      if (!atWord("class"))
        fail("expected a class, a qualifier declaration or a pragma, not " + tokenText());
      classDeclaration(std::move(qualifiers));
    }
  }
}

// ---- Tokens ----

bool MofParser::atSymbol(char symbol) const {
  return token_.kind == Kind::symbol && token_.text.front() == symbol;
}

bool MofParser::atWord(std::string_view word) const {
  return token_.kind == Kind::identifier && sameName(token_.text, word);
}

bool MofParser::acceptSymbol(char symbol) {
  if (!atSymbol(symbol)) return false;
  advance();
  return true;
}

bool MofParser::acceptWord(std::string_view word) {
  if (!atWord(word)) return false;
  advance();
  return true;
}

void MofParser::expectSymbol(char symbol) {
  if (!atSymbol(symbol)) fail(std::string("expected \"") + symbol + "\", not " + tokenText());
  advance();
}

std::string MofParser::take() {
  std::string text = std::move(token_.text);
  advance();
  return text;
}

std::string MofParser::expect(Kind kind, const char* what) {
  if (token_.kind != kind) fail(std::string("expected ") + what + ", not " + tokenText());
  return take();
}

std::string MofParser::tokenText() const {
  if (token_.kind == Kind::end) return "the end of the file";
  constexpr std::size_t kShown = 40;
  return "\"" + token_.text.substr(0, kShown) + (token_.text.size() > kShown ? "...\"" : "\"");
}

// ---- Pragmas ----

void MofParser::pragma() {
  advance();
  const int line = token_.line;
  const std::string name = expectIdentifier("the pragma's name");
  expectSymbol('(');
  const std::string value = expectString("the pragma's text");
  expectSymbol(')');
  // Locale and namespace are not needed here, and unknown pragmas must be ignored.
  if (sameName(name, "include")) include(value, line);
}

void MofParser::include(const std::string& name, int line) {
  if (reader_.includeDepth_ >= reader_.limits_.includeDepth) {
    failAt(line, "includes are nested too deeply");
  }
  const std::size_t slash = file_.rfind('/');
  const bool absolute = !name.empty() && name.front() == '/';
  const std::string directory =
      absolute || slash == std::string::npos ? std::string() : file_.substr(0, slash + 1);
  const std::string path = directory + name;
  if (!reader_.isReadable(path)) failAt(line, "included file " + path + " cannot be read");
  reader_.readFile(path);
}

// ---- Qualifier declarations ----

void MofParser::qualifierDeclaration() {
  const int line = token_.line;
  advance();
  QualifierDefinition own;
  const std::string name = own.name = expectIdentifier("the qualifier's name");
  expectSymbol(':');
  CMPIType type = dataType();
  if (arraySuffix()) type = arrayOf(type);
  own.type = type;
  if (acceptSymbol('=')) own.defaultValue = initializer(type);
  while (acceptSymbol(',')) {
    const std::string part = expectIdentifier("Scope or Flavor");
    if (!sameName(part, "scope") && !sameName(part, "flavor")) {
      failAt(line, "qualifier " + name + ": expected Scope or Flavor, not \"" + part + "\"");
    }
    auto& words = sameName(part, "scope") ? own.scopes : own.flavors;
    expectSymbol('(');
    do {
      words.push_back(expectIdentifier("a scope or flavor"));
    } while (acceptSymbol(','));
    expectSymbol(')');
  }
  expectSymbol(';');
  const auto [it, isNew] = reader_.qualifiers_.emplace(name, type);
  if (!isNew && it->second != type) {
    failAt(line, "qualifier " + name + " is declared twice, with different types");
  }
  reader_.classes_.declare(std::move(own));
}

// ---- Classes ----

void MofParser::classDeclaration(Qualifiers qualifiers) {
  const int line = token_.line;
  advance();
  ClassDefinition own;
  own.name = expectIdentifier("the class's name");
  if (acceptSymbol(':')) own.superclass = expectIdentifier("the superclass's name");
  own.association = isSet(qualifiers, "Association");
  own.indication = isSet(qualifiers, "Indication");
  own.abstract = isSet(qualifiers, "Abstract");
  own.qualifiers = std::move(qualifiers);
  expectSymbol('{');
  while (!acceptSymbol('}')) feature(own);
  expectSymbol(';');
  try {
    reader_.addClass(std::move(own));
  } catch (const std::invalid_argument& e) {
    failAt(line, e.what());
  }
}

void MofParser::feature(ClassDefinition& owner) {
  Qualifiers qualifiers = qualifierList();
  if (const auto type = dataTypeOf(token_)) {
    advance();
    property(owner, *type, "", std::move(qualifiers));
    return;
  }
  const std::string name = expectIdentifier("a property, a reference, a method or \"}\"");
  if (!acceptWord("ref")) fail("\"" + name + "\" is not a type; expected REF after a class name");
  property(owner, CMPI_ref, name, std::move(qualifiers));
}

void MofParser::property(ClassDefinition& owner, CMPIType type, std::string referenceClass,
                         Qualifiers qualifiers) {
  const int line = token_.line;
  PropertyDefinition own;
  own.name = expectIdentifier("the property's name");
  if (atSymbol('(') && type != CMPI_ref) {
    method();
    return;
  }
  own.type = type;
  if (arraySuffix()) own.type = arrayOf(type);
  own.referenceClass = std::move(referenceClass);
  own.key = isSet(qualifiers, "Key");
  own.embeddedObject = isSet(qualifiers, "EmbeddedObject");
  if (const QualifierValue* embedded = find(qualifiers, "EmbeddedInstance")) {
    if (!embedded->values.empty()) own.embeddedClass = embedded->values.front();
  }
  own.qualifiers = std::move(qualifiers);
  if (acceptSymbol('=')) own.defaultValue = initializer(own.type);
  expectSymbol(';');

  const auto message = [&](const char* text) { return "property " + own.name + text; };
  if (own.key && isArray(own.type)) failAt(line, message(" is an array and cannot be a key"));
  if ((own.embeddedObject || !own.embeddedClass.empty()) && elementOf(own.type) != CMPI_string) {
    failAt(line, message(" is embedded and must be a string"));
  }
  if (owner.property(own.name) != nullptr) failAt(line, message(" is defined twice"));
  owner.properties.push_back(std::move(own));
}

void MofParser::method() {
  expectSymbol('(');
  if (!atSymbol(')')) {
    do {
      parameter();
    } while (acceptSymbol(','));
  }
  expectSymbol(')');
  expectSymbol(';');
}

void MofParser::parameter() {
  qualifierList();
  if (dataTypeOf(token_)) {
    advance();
  } else {
    expectIdentifier("the parameter's type");
    if (!acceptWord("ref")) fail("expected REF after a class name");
  }
  expectIdentifier("the parameter's name");
  arraySuffix();
}

bool MofParser::arraySuffix() {
  if (!acceptSymbol('[')) return false;
  if (token_.kind == Kind::integer) advance();
  expectSymbol(']');
  return true;
}

CMPIType MofParser::dataType() {
  const auto type = dataTypeOf(token_);
  if (!type) fail("expected a data type, not " + tokenText());
  advance();
  return *type;
}

// ---- Qualifiers in use ----

MofParser::Qualifiers MofParser::qualifierList() {
  Qualifiers qualifiers;
  if (!acceptSymbol('[')) return qualifiers;
  do {
    const int line = token_.line;
    QualifierValue one = qualifier();
    if (find(qualifiers, one.name) != nullptr) {
      failAt(line, "qualifier " + one.name + " is given twice");
    }
    qualifiers.push_back(std::move(one));
  } while (acceptSymbol(','));
  expectSymbol(']');
  return qualifiers;
}

QualifierValue MofParser::qualifier() {
  QualifierValue result;
  const int line = token_.line;
  result.name = expectIdentifier("a qualifier's name");
  const auto declared = reader_.qualifiers_.find(result.name);
  if (declared == reader_.qualifiers_.end()) {
    failAt(line, "qualifier " + result.name + " is not declared");
  }
  result.type = declared->second;
  result.values = qualifierValues(result.type);
  if (acceptSymbol(':')) {
    do {
      expectIdentifier("a flavor");
    } while (token_.kind == Kind::identifier);
  }
  return result;
}

std::vector<std::string> MofParser::qualifierValues(CMPIType type) {
  if (atSymbol('{')) {
    if (!isArray(type)) fail("qualifier takes one value, not a list");
    return initializer(type).value_or(std::vector<std::string>());
  }
  if (acceptSymbol('(')) {
    if (isArray(type)) fail("qualifier takes a list of values in { }");
    auto values = initializer(type);
    expectSymbol(')');
    return values.value_or(std::vector<std::string>());
  }
  // Without a value a boolean qualifier is true; others have none.
  return type == CMPI_boolean ? std::vector<std::string>{"true"} : std::vector<std::string>();
}

// ---- Values ----

std::optional<std::vector<std::string>> MofParser::initializer(CMPIType type) {
  if (acceptWord("null")) return std::nullopt;
  std::vector<std::string> values;
  if (!isArray(type)) {
    values.push_back(literal(type));
    return values;
  }
  expectSymbol('{');
  if (acceptSymbol('}')) return values;
  do {
    values.push_back(literal(elementOf(type)));
  } while (acceptSymbol(','));
  expectSymbol('}');
  return values;
}

std::string MofParser::literal(CMPIType type) {
  if (type == CMPI_string || type == CMPI_dateTime || type == CMPI_ref)
    return expectString("a string");
  if (type == CMPI_boolean) {
    if (acceptWord("true")) return "true";
    if (acceptWord("false")) return "false";
    fail("expected true or false, not " + tokenText());
  }
  const bool isReal = type == CMPI_real32 || type == CMPI_real64;
  const bool fits = isReal ? token_.kind == Kind::real || token_.kind == Kind::integer
                           : token_.kind == Kind::integer ||
                                 (type == CMPI_char16 && token_.kind == Kind::character);
  if (!fits) fail("expected a number, not " + tokenText());
  return isReal || type == CMPI_char16 ? take() : integerLiteral(type);
}

std::string MofParser::integerLiteral(CMPIType type) {
  const auto* range = std::find_if(std::begin(kIntegerRanges), std::end(kIntegerRanges),
                                   [&](const IntegerRange& r) { return r.type == type; });
  if (range == std::end(kIntegerRanges) || !inRange(*range, token_.text)) {
    fail("number " + token_.text + " does not fit its type");
  }
  return take();
}

}  // namespace orv::broker
