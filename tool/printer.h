#pragma once

#include <cstddef>
#include <ostream>
#include <vector>

#include "broker/class_repository.h"
#include "broker/values.h"

namespace orv::tool {

enum class Format { kMof, kJson, kTable };

struct PrintOptions {
  Format format = Format::kMof;
  bool withNulls = false;   ///< show properties that are null
  std::size_t width = 120;  ///< columns that a table may take
};

/// Writes answers in the wanted format.
class Printer {
 public:
  /// `out` and `classes` must outlive the printer.
  Printer(std::ostream& out, const broker::ClassRepository& classes, PrintOptions options)
      : out_(out), classes_(classes), options_(options) {}

  Format format() const { return options_.format; }

  /// JSON: an array, also when empty.
  void instances(const std::vector<broker::Instance>& instances);
  /// MOF: one path a line, as commands take it. JSON: an array.
  void paths(const std::vector<broker::ObjectPath>& paths);
  /// JSON: an object.
  void instance(const broker::Instance& instance);
  /// One indication, flushed. JSON: an object on one line.
  void indication(const broker::Instance& indication);

 private:
  std::ostream& out_;
  const broker::ClassRepository& classes_;
  PrintOptions options_;
};

/// Columns of the terminal on standard output; 120 when it is none.
std::size_t terminalWidth();

}  // namespace orv::tool
