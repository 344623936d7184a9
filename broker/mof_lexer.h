#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace orv::broker {

/// A text is not valid MOF. what() is "file:line: message", or "file: message" for line 0.
class MofError : public std::runtime_error {
 public:
  MofError(const std::string& file, int line, const std::string& message)
      : std::runtime_error(file + (line == 0 ? "" : ":" + std::to_string(line)) + ": " + message) {}
};

/// One token of MOF.
struct MofToken {
  enum class Kind {
    end,
    identifier,  ///< a name or key word; their case does not matter
    string,      ///< `text` is the value: without quotes and escapes, adjacent strings joined
    character,   ///< a char16 literal; `text` is its code in decimal
    integer,     ///< `text` is decimal, with "-" if negative
    real,
    pragma,  ///< "#pragma"
    symbol,  ///< one of { } ( ) [ ] : ; , = $
  };
  Kind kind = Kind::end;
  std::string text;
  int line = 1;  ///< where it begins
};

/// Splits MOF into tokens and skips comments and white space.
///
/// Fails: MofError for an unterminated string or comment, a bad escape, a number out of range, a
/// string of more than kMaxLiteralBytes, or a character that cannot begin a token.
class MofLexer {
 public:
  static constexpr std::size_t kMaxLiteralBytes = std::size_t{64} * 1024;

  /// The text of `source` must outlive the lexer.
  MofLexer(std::string_view source, std::string file) : source_(source), file_(std::move(file)) {}

  MofToken next();

  [[noreturn]] void fail(int line, const std::string& message) const {
    throw MofError(file_, line, message);
  }

 private:
  char peek(std::size_t ahead = 0) const {
    return at_ + ahead < source_.size() ? source_[at_ + ahead] : '\0';
  }
  bool atEnd() const { return at_ >= source_.size(); }
  char take();
  void skipSpaces();
  void skipBlockComment();
  MofToken word();
  MofToken number();
  MofToken pragma();
  MofToken character();
  MofToken string();
  void stringPart(std::string& value, int line);
  unsigned escape(int line);
  std::string decimal(std::string_view digits, int base, bool negative, int line) const;

  std::string_view source_;
  std::string file_;
  std::size_t at_ = 0;
  int line_ = 1;
};

}  // namespace orv::broker
