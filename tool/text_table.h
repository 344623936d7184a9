#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace orv::tool {

/// Columns of text, aligned to the left, two spaces between them.
class TextTable {
 public:
  explicit TextTable(std::vector<std::string> header) : header_(std::move(header)) {}

  /// Adds a row. Control characters are written as in oneLine; missing cells are empty.
  void add(std::vector<std::string> row);

  bool empty() const { return rows_.empty(); }

  /// Columns of the widest line.
  std::size_t width() const;

  void print(std::ostream& out) const;

 private:
  std::vector<std::size_t> widths() const;

  std::vector<std::string> header_;  // all empty: not printed
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace orv::tool
