#pragma once

#include <prometheus/metric_type.h>

#include <vector>

#include "metrics/conversions.h"

/// What the host reports to Prometheus, one row per metric. The table of docs/metrics.md is made
/// from it.
namespace orv::metrics {

struct LabelRow {
  const char* name;
  const char* property;  ///< or key
  LabelText text = &plainText;
};

struct MetricRow {
  const char* name;
  prometheus::MetricType type;
  const char* property;          ///< null: the labels carry the information; the value is 1
  const Conversion* conversion;  ///< null without a property
  const char* help;
  std::vector<LabelRow> labels;  ///< besides those of the class
};

/// The metrics of a class. Each instance gives one sample per metric, unless the property is null.
struct ClassRows {
  const char* className;
  std::vector<LabelRow> labels;  ///< of every metric, which tell instances apart
  std::vector<MetricRow> metrics;
  /// The association from an instance to the element that it is about, which label "element" names.
  /// Null: none.
  const char* elementThrough = nullptr;
};

/// In the order in which they are printed.
const std::vector<ClassRows>& metricTable();

/// Whether the host answered for a class: label "class".
extern const MetricRow kClassSuccess;

/// The time of this host's last heartbeat. Only the service has it, because it keeps a
/// subscription.
extern const MetricRow kHeartbeatTime;

}  // namespace orv::metrics
