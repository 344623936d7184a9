#pragma once

#include <prometheus/metric_type.h>

#include <vector>

#include "metrics/conversions.h"

/// What the host reports to Prometheus: one row for each metric. docs/metrics.md is written from
/// it.
namespace orv::metrics {

struct LabelRow {
  const char* name;
  const char* property;
  LabelText text = &plainText;
};

struct MetricRow {
  const char* name;
  prometheus::MetricType type;
  const char* property;  ///< null: the labels carry the information; the value is 1
  const Conversion* conversion;
  const char* help;
  std::vector<LabelRow> labels;  ///< besides those of the class
};

/// The metrics of a class. Each instance has one sample of each metric, unless its property is
/// null.
struct ClassRows {
  const char* className;
  std::vector<LabelRow> labels;  ///< tell instances apart
  /// Association that leads from an instance to the element that it is about; label "element" tells
  /// which. Null: none.
  const char* elementThrough;
  std::vector<MetricRow> metrics;
};

/// In the order in which they are printed.
const std::vector<ClassRows>& metricTable();

/// Whether the host answered for a class: label "class".
extern const MetricRow kClassSuccess;

/// When the last heartbeat of this host came: only where somebody listens for as long as the host
/// runs.
extern const MetricRow kHeartbeatTime;

}  // namespace orv::metrics
