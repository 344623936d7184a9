#pragma once

#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "broker/class_source.h"
#include "broker/values.h"

namespace orv::tool {

enum class Format { kMof, kJson, kTable };

struct PrintOptions {
  Format format = Format::kMof;
  bool withNulls = false;   ///< show properties that are null
  std::size_t width = 120;  ///< columns that a table may take
};

/// Writes answers in the chosen format.
class Printer {
 public:
  /// Takes one line about an error that does not prevent the answer.
  using Complain = std::function<void(const std::string&)>;

  /// `out` and whatever `classes` searches must outlive the printer.
  Printer(std::ostream& out, broker::ClassSource classes, PrintOptions options, Complain complain)
      : out_(out),
        classes_(std::move(classes)),
        options_(options),
        complain_(std::move(complain)) {}

  Format format() const { return options_.format; }
  const broker::ClassSource& classes() const { return classes_; }
  std::ostream& out() { return out_; }

  void complain(const std::string& text) const { complain_(text); }

  /// JSON: an array, even if there are no instances.
  void instances(const std::vector<broker::Instance>& instances);
  /// MOF: one path per line, as commands take it. JSON: an array.
  void paths(const std::vector<broker::ObjectPath>& paths);
  /// JSON: an object.
  void instance(const broker::Instance& instance);
  /// One indication, flushed. JSON: an object on one line.
  void indication(const broker::Instance& indication);

 private:
  std::ostream& out_;
  broker::ClassSource classes_;
  PrintOptions options_;
  Complain complain_;
};

/// Columns of the terminal on standard output; 120 if it is not a terminal.
std::size_t terminalWidth();

}  // namespace orv::tool
