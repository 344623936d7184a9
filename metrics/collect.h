#pragma once

#include <prometheus/metric_family.h>

#include <optional>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "metrics/ask.h"
#include "metrics/metric_table.h"

namespace orv::metrics {

/// A class whose request failed.
struct ClassFailure {
  std::string className;
  CMPIrc rc;
  std::optional<std::string> message;
};

struct Metrics {
  std::vector<prometheus::MetricFamily> families;  ///< those that have samples
  std::vector<ClassFailure> failures;
};

/// Reads everything in the table of metrics: one request per class, and one per latched record.
/// Counts above 2^53 lose their last digits, as do all numbers in Prometheus. Passes on what `ask`
/// throws.
Metrics collect(const Ask& ask, const std::string& nameSpace);

/// A family of one sample without labels.
prometheus::MetricFamily single(const MetricRow& row, double value);

/// The families in Prometheus's text format, version 0.0.4.
std::string textOf(const std::vector<prometheus::MetricFamily>& families);

/// The media type of textOf's text.
constexpr const char* kContentType = "text/plain; version=0.0.4; charset=utf-8";

}  // namespace orv::metrics
