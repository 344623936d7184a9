#pragma once

#include <prometheus/metric_family.h>

#include <optional>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "metrics/ask.h"
#include "metrics/metric_table.h"

namespace orv::metrics {

/// A class that the host did not answer for.
struct ClassFailure {
  std::string className;
  CMPIrc rc;
  std::optional<std::string> message;
};

struct Metrics {
  std::vector<prometheus::MetricFamily> families;  ///< none without a sample
  std::vector<ClassFailure> failures;
};

/// Asks a host for everything in the table of metrics: one request for each class, and one for each
/// latched record. Counts beyond 2^53 lose their last digits, as all numbers of Prometheus do.
Metrics collect(const Ask& ask, const std::string& nameSpace);

/// A family of one sample without labels.
prometheus::MetricFamily single(const MetricRow& row, double value);

/// Prometheus's text format, version 0.0.4.
std::string textOf(const std::vector<prometheus::MetricFamily>& families);

/// What textOf's text is called in HTTP.
constexpr const char* kContentType = "text/plain; version=0.0.4; charset=utf-8";

}  // namespace orv::metrics
