// docs/contract.md against the tree: each name leads to a row, each row is pointed to from where it
// says that it stands, and its tests exist.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = ORV_SOURCE_DIR;

struct Row {
  std::string name;
  std::string place;               // a file, or a folder that ends in "/"
  std::vector<std::string> tests;  // Suite.Test
};

std::string readFile(const fs::path& path) {
  std::ifstream in(path);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<std::string> matches(const std::string& text, const std::string& pattern) {
  const std::regex regex(pattern);
  std::vector<std::string> found;
  for (std::sregex_iterator it(text.begin(), text.end(), regex), end; it != end; ++it) {
    found.push_back((*it)[1]);
  }
  return found;
}

/// The name that follows each `mark`.
std::vector<std::string> namesAfter(const std::string& text, const std::string& mark) {
  std::vector<std::string> found;
  for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at)) {
    at += mark.size();
    const std::size_t end = text.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-", at);
    found.push_back(text.substr(at, end - at));
  }
  return found;
}

std::vector<std::string> cells(const std::string& line) {
  std::vector<std::string> result;
  std::istringstream in(line.substr(1));
  for (std::string cell; std::getline(in, cell, '|');) {
    const std::size_t first = cell.find_first_not_of(' ');
    if (first == std::string::npos) continue;
    result.push_back(cell.substr(first, cell.find_last_not_of(' ') + 1 - first));
  }
  return result;
}

std::vector<Row> contractRows() {
  std::vector<Row> rows;
  std::istringstream page(readFile(kRoot / "docs/contract.md"));
  for (std::string line; std::getline(page, line);) {
    if (line.rfind("| <a id=", 0) != 0) continue;
    const std::vector<std::string> c = cells(line);
    EXPECT_EQ(c.size(), 5u) << line;
    if (c.size() != 5) continue;
    const std::string name = matches(c[0], "<a id=\"([a-z0-9-]+)\"></a>").at(0);
    EXPECT_EQ(c[0], "<a id=\"" + name + "\"></a>" + name);
    rows.push_back({name, c[2], matches(c[4], "([A-Z]\\w+\\.[A-Z]\\w+)")});
  }
  return rows;
}

/// The text of every source file below `folder` by its path from the root; build trees and hidden
/// directories left out.
std::map<std::string, std::string> sources(const fs::path& folder) {
  std::map<std::string, std::string> texts;
  for (auto it = fs::recursive_directory_iterator(kRoot / folder);
       it != fs::recursive_directory_iterator(); ++it) {
    const std::string path = it->path().lexically_relative(kRoot).generic_string();
    if (it->is_directory() && (path.front() == '.' || path.rfind("build", 0) == 0)) {
      it.disable_recursion_pending();
    } else if (const std::string e = it->path().extension(); e == ".h" || e == ".cpp") {
      texts[path] = readFile(it->path());
    }
  }
  return texts;
}

/// Where each name is pointed to.
std::multimap<std::string, std::string> pointers() {
  std::multimap<std::string, std::string> found;
  for (const auto& [path, text] : sources("")) {
    if (path.rfind("tests/house/", 0) == 0) continue;
    for (const std::string& name : namesAfter(text, "contract.md#")) {
      found.emplace(name, path);
    }
  }
  return found;
}

TEST(Contract, EachRowIsPointedToFromWhereItStands) {
  const auto found = pointers();
  for (const Row& row : contractRows()) {
    bool there = false;
    for (auto [it, end] = found.equal_range(row.name); it != end; ++it) {
      there |= it->second.rfind(row.place, 0) == 0;
    }
    EXPECT_TRUE(there) << row.name << " is not pointed to from " << row.place;
  }
}

TEST(Contract, EachPointerLeadsToARow) {
  std::set<std::string> names;
  for (const Row& row : contractRows()) EXPECT_TRUE(names.insert(row.name).second) << row.name;
  for (const auto& [name, path] : pointers()) {
    EXPECT_TRUE(names.count(name) > 0) << path << " points to " << name;
  }
}

TEST(Contract, EachDeliberateOddityOfTheProductHasARow) {
  for (const auto& [path, text] : sources("")) {
    if (path.rfind("tests/", 0) == 0) continue;
    const std::string mark = "Deliberate";
    for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at)) {
      const std::string line = text.substr(at, text.find('\n', at) - at);
      EXPECT_EQ(line.rfind(mark + " (contract.md#", 0), 0u) << path << ": " << line;
      at += mark.size();
    }
  }
}

TEST(Contract, EachRowIsHeldByTestsThatExist) {
  std::set<std::string> tests;
  for (const auto& [path, text] : sources("tests")) {
    std::istringstream lines(text);
    for (std::string line, next; std::getline(lines, line);) {
      if (line.rfind("TEST", 0) != 0) continue;
      if (line.find(')') == std::string::npos && std::getline(lines, next)) line += next;
      for (const std::string& suite : matches(line, "\\((\\w+),")) {
        for (const std::string& name : matches(line, ",\\s*(\\w+)\\)"))
          tests.insert(suite + "." + name);
      }
    }
  }
  for (const Row& row : contractRows()) {
    EXPECT_FALSE(row.tests.empty()) << row.name;
    for (const std::string& test : row.tests) EXPECT_EQ(tests.count(test), 1u) << test;
  }
}

}  // namespace
