#include "broker/object_path_text.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "broker/characters.h"
#include "broker/class_repository.h"

namespace orv::broker {
namespace {

constexpr std::size_t kMaxLength = std::size_t{64} * 1024;
constexpr std::size_t kMaxKeys = 256;
constexpr std::string_view kSpaces = " \t\r\n";

bool isNameStart(char c) {
  return isLetter(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

bool isNameSpaceCharacter(char c) {
  return isNameStart(c) || isDigit(c) || c == '/' || c == '-' || c == '.' || c == '~';
}

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  ObjectPathText parse() {
    if (text_.size() > kMaxLength) fail("path is longer than 65536 characters");
    ObjectPathText path;
    skipSpaces();
    host(path);
    nameSpace(path);
    path.className = name("a class name");
    skipSpaces();
    if (accept('.')) keys(path);
    if (!atEnd()) fail("expected the end of the path or \".\" and keys");
    return path;
  }

 private:
  [[noreturn]] void fail(const std::string& message) const { failAt(at_, message); }
  [[noreturn]] void failAt(std::size_t at, const std::string& message) const {
    throw ObjectPathError(at + 1, message);
  }

  bool atEnd() const { return at_ >= text_.size(); }
  char peek() const { return atEnd() ? '\0' : text_[at_]; }

  bool accept(char c) {
    if (peek() != c || atEnd()) return false;
    ++at_;
    return true;
  }

  void skipSpaces() {
    while (!atEnd() && kSpaces.find(peek()) != std::string_view::npos) ++at_;
  }

  void host(ObjectPathText& path) {
    if (text_.substr(at_, 2) != "//") return;
    const std::size_t begin = at_ + 2;
    const std::size_t slash = text_.find('/', begin);
    if (slash == std::string_view::npos || slash == begin) fail("expected a host name and \"/\"");
    path.host = text_.substr(begin, slash - begin);
    if (path.host.find_first_of("\",= ") != std::string::npos) {
      failAt(begin, "expected a host name");
    }
    at_ = slash + 1;
  }

  // The namespace ends at the last ":" before the first key's value.
  void nameSpace(ObjectPathText& path) {
    const std::size_t value = text_.find_first_of("=\"", at_);
    const std::string_view head =
        text_.substr(at_, value == std::string_view::npos ? value : value - at_);
    const std::size_t colon = head.rfind(':');
    if (colon == std::string_view::npos) return;
    const std::string_view name = head.substr(0, colon);
    const auto odd = std::find_if_not(name.begin(), name.end(), isNameSpaceCharacter);
    if (odd != name.end()) {
      failAt(at_ + static_cast<std::size_t>(odd - name.begin()),
             "character cannot stand in a namespace");
    }
    path.nameSpace = name;
    at_ += colon + 1;
  }

  std::string name(const char* what) {
    skipSpaces();
    const std::size_t begin = at_;
    if (!isNameStart(peek())) fail(std::string("expected ") + what);
    while (isNameStart(peek()) || isDigit(peek())) ++at_;
    return std::string(text_.substr(begin, at_ - begin));
  }

  void keys(ObjectPathText& path) {
    do {
      skipSpaces();
      const std::size_t begin = at_;
      KeyText key = this->key();
      const bool isNew = std::none_of(path.keys.begin(), path.keys.end(),
                                      [&](const KeyText& k) { return sameName(k.name, key.name); });
      if (!isNew) failAt(begin, "key " + key.name + " is given twice");
      if (path.keys.size() >= kMaxKeys) failAt(begin, "too many keys");
      path.keys.push_back(std::move(key));
      skipSpaces();
    } while (accept(','));
  }

  KeyText key() {
    KeyText key;
    key.name = name("a key name");
    skipSpaces();
    if (!accept('=')) fail("expected \"=\" after key " + key.name);
    skipSpaces();
    if (peek() == '"') {
      key.value = quoted();
    } else if (isDigit(peek()) || peek() == '-' || peek() == '+') {
      number(key);
    } else {
      boolean(key);
    }
    return key;
  }

  std::string quoted() {
    const std::size_t begin = at_++;
    std::string value;
    while (!atEnd() && peek() != '"') {
      if (peek() == '\0') fail("null character in a value");
      if (accept('\\') && peek() != '"' && peek() != '\\') {
        fail("expected a quote or a backslash after the backslash");
      }
      value += text_[at_++];
    }
    if (!accept('"')) failAt(begin, "value is not closed by a quote");
    return value;
  }

  void number(KeyText& key) {
    const std::size_t begin = at_;
    const bool hasSign = !isDigit(peek());
    if (hasSign) ++at_;
    if (!isDigit(peek())) fail("expected a digit");
    while (isDigit(peek())) ++at_;
    std::string_view digits = text_.substr(begin, at_ - begin);
    if (digits.front() == '+') digits.remove_prefix(1);
    if (hasSign ? !wholeNumber<std::int64_t>(digits) : !wholeNumber<std::uint64_t>(digits)) {
      failAt(begin, "number is out of range");
    }
    key.kind = hasSign ? KeyText::Kind::signedNumber : KeyText::Kind::unsignedNumber;
    key.value = digits;
  }

  void boolean(KeyText& key) {
    const std::size_t begin = at_;
    while (isNameStart(peek())) ++at_;
    const std::string_view word = text_.substr(begin, at_ - begin);
    const bool isTrue = sameName(word, "true");
    if (!isTrue && !sameName(word, "false")) {
      failAt(begin, "expected a quoted text, a number, true or false");
    }
    key.kind = KeyText::Kind::boolean;
    key.value = isTrue ? "true" : "false";
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

std::string quote(const std::string& value) {
  std::string text = "\"";
  for (const char c : value) {
    if (c == '"' || c == '\\') text += '\\';
    text += c;
  }
  return text + '"';
}

std::string printValue(const KeyText& key) {
  if (key.kind == KeyText::Kind::text) return quote(key.value);
  // The sign distinguishes a signed number from an unsigned one.
  const bool needsSign =
      key.kind == KeyText::Kind::signedNumber && !key.value.empty() && key.value.front() != '-';
  return needsSign ? "+" + key.value : key.value;
}

}  // namespace

ObjectPathText parseObjectPath(std::string_view text) { return Parser(text).parse(); }

std::string printObjectPath(const ObjectPathText& path) {
  std::string text;
  if (!path.host.empty()) text += "//" + path.host + "/";
  if (!path.nameSpace.empty()) text += path.nameSpace + ":";
  text += path.className;
  char separator = '.';
  for (const KeyText& key : path.keys) {
    text += separator + key.name + "=" + printValue(key);
    separator = ',';
  }
  return text;
}

}  // namespace orv::broker
