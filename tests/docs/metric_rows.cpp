#include "tests/docs/metric_rows.h"

#include <vector>

#include "metrics/metric_table.h"

namespace orv::test {
namespace {

using metrics::ClassRows;
using metrics::LabelRow;
using metrics::MetricRow;

std::string labelNames(const ClassRows& rows, const MetricRow& row) {
  std::string names;
  const auto add = [&](const std::string& name) {
    names += (names.empty() ? "`" : ", `") + name + "`";
  };
  for (const LabelRow& label : rows.labels) add(label.name);
  if (rows.elementThrough != nullptr) add("element");
  for (const LabelRow& label : row.labels) add(label.name);
  return names;
}

std::string sourceOf(const ClassRows& rows, const MetricRow& row) {
  std::string source;
  if (row.property != nullptr) return "`" + std::string(row.property) + "`";
  for (const LabelRow& label : row.labels) {
    source += (source.empty() ? "`" : ", `") + std::string(label.property) + "`";
  }
  return source.empty() ? "`" + std::string(rows.className) + "`" : source;
}

std::string line(const MetricRow& row, const std::string& labels, const std::string& source) {
  const bool counter = row.type == prometheus::MetricType::Counter;
  return "| `" + std::string(row.name) + "` | " + (counter ? "counter" : "gauge") + " | " + labels +
         " | " + source + " | " + (row.conversion == nullptr ? "1" : row.conversion->unit) + " | " +
         row.help + " |\n";
}

}  // namespace

std::string metricRows() {
  const std::string head =
      "| Metric | Type | Labels | From | Value | Meaning |\n|---|---|---|---|---|---|\n";
  std::string text;
  for (const ClassRows& rows : metrics::metricTable()) {
    text += "### " + std::string(rows.className) + "\n\n" + head;
    for (const MetricRow& row : rows.metrics) {
      text += line(row, labelNames(rows, row), sourceOf(rows, row));
    }
    text += "\n";
  }
  text += "### Of the answer itself\n\n" + head;
  text += line(metrics::kClassSuccess, "`class`", "");
  text += line(metrics::kHeartbeatTime, "", "`Orvane_CIMHeartbeat`");
  return text;
}

}  // namespace orv::test
