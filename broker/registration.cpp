#include "broker/registration.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>
#include <string_view>

#include "broker/class_repository.h"

namespace orv::broker {
namespace {

constexpr std::size_t kMaxLineLength = 64 * 1024;
constexpr std::size_t kMaxSections = 10000;
constexpr std::string_view kSpacesInLine = " \t\r\f\v";

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kSpacesInLine);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kSpacesInLine) - first + 1);
}

std::vector<std::string> words(std::string_view text) {
  std::vector<std::string> result;
  std::istringstream in{std::string(text)};
  for (std::string word; in >> word;) result.push_back(word);
  return result;
}

struct TypeWord {
  std::string_view word;
  bool RegistrationSection::*flag;  // null: accepted and ignored
};

constexpr TypeWord kTypeWords[] = {{"instance", &RegistrationSection::instance},
                                   {"association", &RegistrationSection::association},
                                   {"method", &RegistrationSection::method},
                                   {"indication", &RegistrationSection::indication},
                                   {"property", nullptr},
                                   {"class", nullptr},
                                   {"qualifier", nullptr}};

class Reader {
 public:
  Reader(std::istream& in, const std::string& fileName) : in_(in), fileName_(fileName) {}

  std::vector<RegistrationSection> read() {
    for (std::string line; std::getline(in_, line);) {
      ++line_;
      if (line.size() > kMaxLineLength) fail("line is too long");
      if (line.find('\0') != std::string::npos) fail("line holds a null character");
      readLine(trimmed(line));
    }
    if (in_.bad()) throw RegistrationError(fileName_ + ": cannot be read");
    finishSection();
    return std::move(sections_);
  }

 private:
  [[noreturn]] void fail(const std::string& message, int line = 0) const {
    throw RegistrationError(fileName_ + ":" + std::to_string(line != 0 ? line : line_) + ": " +
                            message);
  }

  void readLine(std::string_view line) {
    if (line.empty() || line.front() == '#') return;
    if (line.front() == '[') {
      finishSection();
      startSection(line);
    } else {
      readKey(line);
    }
  }

  void startSection(std::string_view line) {
    if (line.back() != ']') fail("section header lacks its closing bracket");
    const std::string_view name = trimmed(line.substr(1, line.size() - 2));
    if (name.empty()) fail("section header names no class");
    if (sections_.size() >= kMaxSections) fail("too many sections");
    section_ = RegistrationSection();
    section_.className = name;
    headerLine_ = line_;
    inSection_ = true;
    seenKeys_.clear();
  }

  void readKey(std::string_view line) {
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) fail("expected \"key: value\" or \"[class]\"");
    if (!inSection_) fail("a key stands before the first section");
    const std::string key(trimmed(line.substr(0, colon)));
    if (!assign(key, trimmed(line.substr(colon + 1)))) fail("unknown key \"" + key + "\"");
    if (!seenKeys_.insert(key).second) fail("key \"" + key + "\" is given twice");
  }

  bool assign(const std::string& key, std::string_view value) {
    if (key == "provider") {
      section_.provider = value;
    } else if (key == "location") {
      section_.location = value;
    } else if (key == "type") {
      readTypes(value);
    } else if (key == "namespace") {
      section_.namespaces = words(value);
    } else if (key == "group") {
      section_.group = value;
    } else if (key == "unload") {
      if (value != "never") fail("unknown unload value \"" + std::string(value) + "\"");
      section_.unloadNever = true;
    } else if (key == "parameters") {
      section_.parameters = value;
    } else {
      return key == "user";
    }
    return true;
  }

  void readTypes(std::string_view value) {
    for (const std::string& word : words(value)) {
      const auto* known = std::find_if(std::begin(kTypeWords), std::end(kTypeWords),
                                       [&](const TypeWord& t) { return t.word == word; });
      if (known == std::end(kTypeWords)) fail("unknown type \"" + word + "\"");
      if (known->flag != nullptr) section_.*(known->flag) = true;
      typeSeen_ = true;
    }
  }

  void finishSection() {
    if (!inSection_) return;
    if (section_.provider.empty()) fail("section names no provider", headerLine_);
    if (section_.location.empty()) fail("section names no location", headerLine_);
    if (!typeSeen_) fail("section names no type", headerLine_);
    for (const RegistrationSection& other : sections_) checkSameTypes(other);
    sections_.push_back(section_);
    inSection_ = typeSeen_ = false;
  }

  void checkSameTypes(const RegistrationSection& other) const {
    if (!sameName(other.className, section_.className) || other.provider != section_.provider) {
      return;
    }
    for (const TypeWord& type : kTypeWords) {
      if (type.flag != nullptr && other.*(type.flag) != section_.*(type.flag)) {
        fail("class " + section_.className + " has another section of provider " +
                 section_.provider + " with other types",
             headerLine_);
      }
    }
  }

  std::istream& in_;
  const std::string& fileName_;
  int line_ = 0;
  int headerLine_ = 0;
  bool inSection_ = false;
  bool typeSeen_ = false;
  RegistrationSection section_;
  std::set<std::string> seenKeys_;
  std::vector<RegistrationSection> sections_;
};

}  // namespace

std::vector<RegistrationSection> readRegistration(std::istream& in, const std::string& fileName) {
  return Reader(in, fileName).read();
}

std::vector<RegistrationSection> readRegistrationFile(const std::string& fileName) {
  std::ifstream in(fileName);
  if (!in) throw RegistrationError(fileName + ": cannot be read");
  return readRegistration(in, fileName);
}

}  // namespace orv::broker
