#include "broker/wql.h"

#include "broker/characters.h"
#include "broker/class_repository.h"

namespace orv::broker {
namespace {

constexpr int kDeepestNesting = 64;

struct Token {
  enum class Kind { kEnd, kWord, kText, kNumber, kSymbol };
  Kind kind = Kind::kEnd;
  std::string text;
};

bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool isWordCharacter(char c) { return isLetter(c) || isDigit(c) || c == '_' || c == '.'; }

class Lexer {
 public:
  explicit Lexer(const std::string& text) : text_(text) { advance(); }

  const Token& token() const { return token_; }

  void advance() {
    while (at_ < text_.size() && isSpace(text_[at_])) ++at_;
    start_ = at_;
    token_ = next();
  }

  [[noreturn]] void fail(const std::string& expected) const {
    throw WqlError("character " + std::to_string(start_ + 1) + ": expected " + expected);
  }

 private:
  Token next() {
    if (at_ >= text_.size()) return {};
    const char c = text_[at_];
    if (c == '\'' || c == '"') return quoted(c);
    const bool sign = (c == '-' || c == '+') && at_ + 1 < text_.size();
    if (isDigit(c) || sign) return word(Token::Kind::kNumber);
    if (isWordCharacter(c)) return word(Token::Kind::kWord);
    return symbol();
  }

  Token word(Token::Kind kind) {
    std::size_t end = at_ + 1;
    while (end < text_.size() && isWordCharacter(text_[end])) ++end;
    return take(kind, end);
  }

  Token symbol() {
    const std::string two = text_.substr(at_, 2);
    const bool isTwo = two == "<=" || two == ">=" || two == "<>" || two == "!=";
    return take(Token::Kind::kSymbol, at_ + (isTwo ? 2 : 1));
  }

  Token take(Token::Kind kind, std::size_t end) {
    Token token{kind, text_.substr(at_, end - at_)};
    at_ = end;
    return token;
  }

  /// Inside the text a quote is written twice or after a backslash.
  Token quoted(char quote) {
    Token token{Token::Kind::kText, ""};
    for (++at_; at_ < text_.size(); ++at_) {
      const bool pair = at_ + 1 < text_.size() &&
                        (text_[at_] == '\\' || (text_[at_] == quote && text_[at_ + 1] == quote));
      if (pair) ++at_;
      if (!pair && text_[at_] == quote) {
        ++at_;
        return token;
      }
      token.text += text_[at_];
    }
    fail("the end of the text");
  }

  const std::string& text_;
  std::size_t at_ = 0;
  std::size_t start_ = 0;
  Token token_;
};

struct OperatorRow {
  const char* symbol;
  CMPIPredOp op;
};

constexpr OperatorRow kOperators[] = {
    {"=", CMPI_PredOp_Equals},
    {"<>", CMPI_PredOp_NotEquals},
    {"!=", CMPI_PredOp_NotEquals},
    {"<", CMPI_PredOp_LessThan},
    {"<=", CMPI_PredOp_LessThanOrEquals},
    {">", CMPI_PredOp_GreaterThan},
    {">=", CMPI_PredOp_GreaterThanOrEquals},
};

class WqlParser {
 public:
  explicit WqlParser(const std::string& text) : lexer_(text) {}

  WqlQuery query() {
    WqlQuery query;
    expectWord("SELECT");
    query.projection = projection();
    expectWord("FROM");
    query.className = name("a class name");
    if (acceptWord("WHERE")) query.condition = disjunction(0);
    if (lexer_.token().kind != Token::Kind::kEnd) lexer_.fail("the end of the query");
    return query;
  }

 private:
  bool isWord(const char* word) const {
    return lexer_.token().kind == Token::Kind::kWord && sameName(lexer_.token().text, word);
  }
  bool isSymbol(const char* symbol) const {
    return lexer_.token().kind == Token::Kind::kSymbol && lexer_.token().text == symbol;
  }
  bool acceptWord(const char* word) {
    if (!isWord(word)) return false;
    lexer_.advance();
    return true;
  }
  bool acceptSymbol(const char* symbol) {
    if (!isSymbol(symbol)) return false;
    lexer_.advance();
    return true;
  }
  void expectWord(const char* word) {
    if (!acceptWord(word)) lexer_.fail(word);
  }
  std::string take() {
    std::string text = lexer_.token().text;
    lexer_.advance();
    return text;
  }
  std::string name(const char* what) {
    if (lexer_.token().kind != Token::Kind::kWord) lexer_.fail(what);
    return take();
  }

  std::optional<std::vector<std::string>> projection() {
    if (acceptSymbol("*")) return std::nullopt;
    std::vector<std::string> names{name("* or a property name")};
    while (acceptSymbol(",")) names.push_back(name("a property name"));
    return names;
  }

  WqlCondition disjunction(int depth) { return chain("OR", WqlCondition::Kind::kOr, depth); }

  WqlCondition chain(const char* word, WqlCondition::Kind kind, int depth) {
    if (depth > kDeepestNesting) lexer_.fail("fewer levels of nesting");
    const bool outer = kind == WqlCondition::Kind::kOr;
    const auto operand = [this, outer, depth] {
      return outer ? chain("AND", WqlCondition::Kind::kAnd, depth) : negation(depth);
    };
    WqlCondition first = operand();
    if (!isWord(word)) return first;
    WqlCondition condition;
    condition.kind = kind;
    condition.operands.push_back(std::move(first));
    while (acceptWord(word)) condition.operands.push_back(operand());
    return condition;
  }

  WqlCondition negation(int depth) {
    if (!acceptWord("NOT")) return primary(depth);
    if (depth > kDeepestNesting) lexer_.fail("fewer levels of nesting");
    WqlCondition condition;
    condition.kind = WqlCondition::Kind::kNot;
    condition.operands.push_back(negation(depth + 1));
    return condition;
  }

  WqlCondition primary(int depth) {
    if (acceptSymbol("(")) {
      WqlCondition inner = disjunction(depth + 1);
      if (!acceptSymbol(")")) lexer_.fail(")");
      return inner;
    }
    WqlCondition condition;
    condition.comparison = comparison();
    return condition;
  }

  WqlComparison comparison() {
    const std::string property = name("a property name");
    if (acceptWord("ISA")) return {property, CMPI_PredOp_Isa, Value::ofString(className())};
    if (acceptWord("LIKE")) return {property, CMPI_PredOp_Like, pattern()};
    if (acceptWord("NOT")) {
      expectWord("LIKE");
      return {property, CMPI_PredOp_NotLike, pattern()};
    }
    if (acceptWord("IS")) {
      const bool negated = acceptWord("NOT");
      expectWord("NULL");
      return {property, negated ? CMPI_PredOp_Not_Null : CMPI_PredOp_Null, Value()};
    }
    const CMPIPredOp op = comparisonOperator();
    return nullTestIfNull({property, op, literal()});
  }

  CMPIPredOp comparisonOperator() {
    for (const OperatorRow& row : kOperators) {
      if (acceptSymbol(row.symbol)) return row.op;
    }
    lexer_.fail("a comparison");
  }

  WqlComparison nullTestIfNull(WqlComparison comparison) const {
    if (!comparison.literal.null) return comparison;
    if (comparison.op == CMPI_PredOp_Equals) {
      comparison.op = CMPI_PredOp_Null;
    } else if (comparison.op == CMPI_PredOp_NotEquals) {
      comparison.op = CMPI_PredOp_Not_Null;
    } else {
      lexer_.fail("= or <> before NULL");
    }
    return comparison;
  }

  std::string className() {
    if (lexer_.token().kind == Token::Kind::kText) return take();
    return name("a class name");
  }

  Value pattern() {
    if (lexer_.token().kind != Token::Kind::kText) lexer_.fail("a text");
    return Value::ofString(take());
  }

  Value literal() {
    switch (lexer_.token().kind) {
      case Token::Kind::kText:
        return Value::ofString(take());
      case Token::Kind::kNumber:
        return number();
      default:
        break;
    }
    if (acceptWord("TRUE")) return Value::ofBoolean(true);
    if (acceptWord("FALSE")) return Value::ofBoolean(false);
    if (acceptWord("NULL")) return Value();
    lexer_.fail("a literal");
  }

  Value number() {
    std::string_view text = lexer_.token().text;
    if (text[0] == '+') text.remove_prefix(1);
    Value value;
    if (const auto positive = wholeNumber<std::uint64_t>(text)) {
      value = Value::ofUnsigned(CMPI_uint64, *positive);
    } else if (const auto negative = wholeNumber<std::int64_t>(text)) {
      value = Value::ofSigned(CMPI_sint64, *negative);
    } else if (const auto real = wholeNumber<double>(text)) {
      value = Value::ofReal(CMPI_real64, *real);
    } else {
      lexer_.fail("a number");
    }
    lexer_.advance();
    return value;
  }

  Lexer lexer_;
};

}  // namespace

WqlQuery parseWql(const std::string& text) {
  WqlQuery query = WqlParser(text).query();
  query.text = text;
  return query;
}

}  // namespace orv::broker
