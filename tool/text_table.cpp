#include "tool/text_table.h"

#include <algorithm>
#include <utility>

#include "tool/readable_text.h"

namespace orv::tool {
namespace {

constexpr std::size_t kGap = 2;

void printRow(std::ostream& out, const std::vector<std::string>& row,
              const std::vector<std::size_t>& widths) {
  std::string line;
  std::size_t pending = 0;  // spaces before the next cell that is not empty
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (!row[i].empty()) {
      line.append(pending, ' ');
      line += row[i];
      pending = 0;
    }
    pending += widths[i] - columnsOf(row[i]) + kGap;
  }
  out << line << '\n';
}

}  // namespace

void TextTable::add(std::vector<std::string> row) {
  row.resize(header_.size());
  for (std::string& cell : row) cell = oneLine(cell);
  rows_.push_back(std::move(row));
}

std::vector<std::size_t> TextTable::widths() const {
  std::vector<std::size_t> widths(header_.size());
  for (std::size_t i = 0; i < header_.size(); ++i) widths[i] = columnsOf(header_[i]);
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], columnsOf(row[i]));
  }
  return widths;
}

std::size_t TextTable::width() const {
  std::size_t sum = 0;
  for (const std::size_t width : widths()) sum += width + kGap;
  return sum == 0 ? 0 : sum - kGap;
}

void TextTable::print(std::ostream& out) const {
  const std::vector<std::size_t> columns = widths();
  const bool hasHeader =
      std::any_of(header_.begin(), header_.end(), [](const std::string& h) { return !h.empty(); });
  if (hasHeader) printRow(out, header_, columns);
  for (const auto& row : rows_) printRow(out, row, columns);
}

}  // namespace orv::tool
