#include "broker/mof_lexer.h"

#include <charconv>
#include <cstdint>

#include "broker/characters.h"

namespace orv::broker {
namespace {

using Kind = MofToken::Kind;

bool isHexDigit(char c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
// Names consist of ASCII letters, digits, "_" and any characters outside ASCII.
bool isWordStart(char c) {
  return isLetter(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}
bool isWord(char c) { return isWordStart(c) || isDigit(c); }

std::string shown(char c) {
  if (c >= ' ' && c <= '~') return std::string("\"") + c + "\"";
  return "byte " + std::to_string(static_cast<unsigned char>(c));
}

unsigned hexValue(char c) {
  if (isDigit(c)) return static_cast<unsigned>(c - '0');
  return static_cast<unsigned>((c | 0x20) - 'a') + 10;
}

void appendUtf8(std::string& out, unsigned code) {
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | (code >> 6));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    out += static_cast<char>(0xE0 | (code >> 12));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  }
}

}  // namespace

char MofLexer::take() {
  const char c = source_[at_++];
  if (c == '\n') ++line_;
  return c;
}

void MofLexer::skipBlockComment() {
  const int begin = line_;
  at_ += 2;
  while (!(peek() == '*' && peek(1) == '/')) {
    if (atEnd()) fail(begin, "comment is not closed");
    take();
  }
  at_ += 2;
}

void MofLexer::skipSpaces() {
  while (!atEnd()) {
    const char c = peek();
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v') {
      take();
    } else if (c == '/' && peek(1) == '/') {
      while (!atEnd() && peek() != '\n') take();
    } else if (c == '/' && peek(1) == '*') {
      skipBlockComment();
    } else {
      return;
    }
  }
}

MofToken MofLexer::next() {
  skipSpaces();
  if (atEnd()) return {Kind::end, "", line_};
  const char c = peek();
  if (isWordStart(c)) return word();
  if (isDigit(c) || ((c == '+' || c == '-' || c == '.') && (isDigit(peek(1)) || peek(1) == '.'))) {
    return number();
  }
  if (c == '"') return string();
  if (c == '\'') return character();
  if (c == '#') return pragma();
  if (std::string_view("{}()[]:;,=$").find(c) != std::string_view::npos) {
    return {Kind::symbol, std::string(1, take()), line_};
  }
  fail(line_, shown(c) + " is not MOF");
}

MofToken MofLexer::word() {
  const std::size_t begin = at_;
  while (isWord(peek())) ++at_;
  return {Kind::identifier, std::string(source_.substr(begin, at_ - begin)), line_};
}

MofToken MofLexer::pragma() {
  constexpr std::string_view kPragma = "#pragma";
  if (source_.substr(at_, kPragma.size()) != kPragma) fail(line_, "expected #pragma after \"#\"");
  at_ += kPragma.size();
  return {Kind::pragma, std::string(kPragma), line_};
}

// Decimal, 0x hexadecimal, leading-zero octal, trailing-b binary, or a real with a point.
MofToken MofLexer::number() {
  const bool negative = peek() == '-';
  if (peek() == '+' || peek() == '-') ++at_;
  const std::size_t begin = at_;
  if (peek() == '0' && (peek(1) == 'x' || peek(1) == 'X')) {
    at_ += 2;
    const std::size_t digits = at_;
    while (isHexDigit(peek())) ++at_;
    return {Kind::integer, decimal(source_.substr(digits, at_ - digits), 16, negative, line_),
            line_};
  }
  while (isDigit(peek())) ++at_;
  if (peek() == '.') {
    ++at_;
    while (isDigit(peek())) ++at_;
    if (peek() == 'e' || peek() == 'E') {
      ++at_;
      if (peek() == '+' || peek() == '-') ++at_;
      while (isDigit(peek())) ++at_;
    }
    const std::string text(source_.substr(begin, at_ - begin));
    if (!isDigit(text.back()) || isWord(peek())) fail(line_, "number is not complete");
    return {Kind::real, (negative ? "-" : "") + text, line_};
  }
  const std::string_view digits = source_.substr(begin, at_ - begin);
  int base = digits.size() > 1 && digits.front() == '0' ? 8 : 10;
  if (peek() == 'b' || peek() == 'B') {
    ++at_;
    base = 2;
  }
  return {Kind::integer, decimal(digits, base, negative, line_), line_};
}

std::string MofLexer::decimal(std::string_view digits, int base, bool negative, int line) const {
  std::uint64_t value = 0;
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
  if (error == std::errc::result_out_of_range) fail(line, "number is out of range");
  if (error != std::errc() || end != digits.data() + digits.size() || isWord(peek())) {
    fail(line, "number is not complete");
  }
  if (negative && value > std::uint64_t{1} << 63) fail(line, "number is out of range");
  return (negative && value != 0 ? "-" : "") + std::to_string(value);
}

// After the backslash: one of b t n f r " ' \ or x with one to four hexadecimal digits.
unsigned MofLexer::escape(int line) {
  if (atEnd()) fail(line, "string is not closed");
  constexpr std::string_view kNames = "btnfr\"'\\";
  constexpr std::string_view kValues = "\b\t\n\f\r\"'\\";
  const char c = take();
  if (const std::size_t i = kNames.find(c); i != std::string_view::npos) {
    return static_cast<unsigned>(kValues[i]);
  }
  if ((c != 'x' && c != 'X') || !isHexDigit(peek())) fail(line_, "unknown escape in a string");
  unsigned code = 0;
  for (int i = 0; i < 4 && isHexDigit(peek()); ++i) code = code * 16 + hexValue(take());
  if (code == 0) fail(line_, "null character in a string");
  return code;
}

void MofLexer::stringPart(std::string& value, int line) {
  take();
  while (!atEnd() && peek() != '"') {
    const char c = take();
    if (c == '\n') fail(line, "string is not closed on its line");
    if (c == '\0') fail(line, "null character in a string");
    if (c == '\\') {
      appendUtf8(value, escape(line));
    } else {
      value += c;
    }
    if (value.size() > kMaxLiteralBytes) fail(line, "string is too long");
  }
  if (atEnd()) fail(line, "string is not closed");
  take();
}

MofToken MofLexer::string() {
  MofToken token{Kind::string, "", line_};
  do {
    stringPart(token.text, line_);
    skipSpaces();
  } while (peek() == '"');
  return token;
}

MofToken MofLexer::character() {
  const int line = line_;
  take();
  if (atEnd() || peek() == '\'' || peek() == '\n') fail(line, "character literal is empty");
  const char c = take();
  const unsigned code = c == '\\' ? escape(line) : static_cast<unsigned char>(c);
  if (peek() != '\'') fail(line, "character literal is not closed");
  take();
  return {Kind::character, std::to_string(code), line};
}

}  // namespace orv::broker
