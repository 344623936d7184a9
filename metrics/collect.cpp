#include "metrics/collect.h"

#include <prometheus/text_serializer.h>

#include <algorithm>
#include <set>
#include <utility>

#include "metrics/elements.h"

namespace orv::metrics {
namespace {

using broker::Instance;
using prometheus::ClientMetric;
using prometheus::MetricFamily;
using Labels = std::vector<ClientMetric::Label>;

/// Builds a family. Of samples with the same labels only the first is kept: Prometheus rejects an
/// answer that has a series twice.
class FamilyBuilder {
 public:
  explicit FamilyBuilder(const MetricRow& row) : family_{row.name, row.help, row.type, {}} {}

  void add(Labels labels, double value) {
    Labels sorted = labels;
    std::sort(sorted.begin(), sorted.end());
    if (!series_.insert(std::move(sorted)).second) return;
    ClientMetric sample;
    sample.label = std::move(labels);
    (family_.type == prometheus::MetricType::Counter ? sample.counter.value : sample.gauge.value) =
        value;
    family_.metric.push_back(std::move(sample));
  }

  void finish(std::vector<MetricFamily>& families) {
    if (!family_.metric.empty()) families.push_back(std::move(family_));
  }

 private:
  MetricFamily family_;
  std::set<Labels> series_;
};

/// Adds a label unless its text is empty: to Prometheus that is the same as no label.
void append(Labels& labels, const char* name, std::string text) {
  if (!text.empty()) labels.push_back({name, std::move(text)});
}

void append(Labels& labels, const std::vector<LabelRow>& rows, const Instance& instance) {
  for (const LabelRow& row : rows) {
    const broker::Value* value = instance.property(row.property);
    if (value == nullptr || value->null) value = instance.path.key(row.property);
    if (value != nullptr) append(labels, row.name, row.text(*value));
  }
}

broker::Request enumeration(const ClassRows& rows, const std::string& nameSpace) {
  broker::Request request;
  request.operation = broker::Operation::kEnumerateInstances;
  request.path.nameSpace = nameSpace;
  request.path.className = rows.className;
  std::set<std::string> wanted;
  for (const LabelRow& label : rows.labels) wanted.insert(label.property);
  for (const MetricRow& row : rows.metrics) {
    if (row.property != nullptr) wanted.insert(row.property);
    for (const LabelRow& label : row.labels) wanted.insert(label.property);
  }
  request.properties.emplace(wanted.begin(), wanted.end());
  return request;
}

/// Adds the families of one class.
void addClass(const Ask& ask, const ClassRows& rows, const std::vector<Instance>& instances,
              std::vector<MetricFamily>& families) {
  std::vector<FamilyBuilder> builders(rows.metrics.begin(), rows.metrics.end());
  for (const Instance& instance : instances) {
    Labels identity;
    append(identity, rows.labels, instance);
    if (rows.elementThrough != nullptr) {
      append(identity, "element", elementOf(ask, instance, rows.elementThrough));
    }
    for (std::size_t i = 0; i < rows.metrics.size(); ++i) {
      const MetricRow& row = rows.metrics[i];
      const broker::Value* value =
          row.property == nullptr ? nullptr : instance.property(row.property);
      std::optional<double> number;
      if (row.property == nullptr) number = 1;
      if (value != nullptr) number = row.conversion->apply(*value);
      if (!number) continue;
      Labels labels = identity;
      append(labels, row.labels, instance);
      builders[i].add(std::move(labels), *number);
    }
  }
  for (FamilyBuilder& builder : builders) builder.finish(families);
}

}  // namespace

Metrics collect(const Ask& ask, const std::string& nameSpace) {
  Metrics metrics;
  FamilyBuilder success(kClassSuccess);
  for (const ClassRows& rows : metricTable()) {
    const broker::Response response = ask(enumeration(rows, nameSpace));
    success.add({{"class", rows.className}}, response.ok() ? 1 : 0);
    if (response.ok()) {
      addClass(ask, rows, response.instances, metrics.families);
    } else {
      metrics.failures.push_back({rows.className, response.rc, response.message});
    }
  }
  success.finish(metrics.families);
  return metrics;
}

MetricFamily single(const MetricRow& row, double value) {
  FamilyBuilder builder(row);
  builder.add({}, value);
  std::vector<MetricFamily> families;
  builder.finish(families);
  return std::move(families.front());
}

std::string textOf(const std::vector<MetricFamily>& families) {
  return prometheus::TextSerializer().Serialize(families);
}

}  // namespace orv::metrics
