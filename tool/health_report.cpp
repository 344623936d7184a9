#include "tool/health_report.h"

#include "notation/object_path.h"
#include "tool/commands.h"
#include "tool/errors.h"
#include "tool/readable_text.h"
#include "tool/table_output.h"

namespace orv::tool {
namespace {

using broker::Instance;
using broker::Value;
using client::CimClient;
using notation::Json;
using notation::objectPathText;

constexpr const char* kRecordClass = "Orvane_LatchedHealthState";
constexpr const char* kRollupClass = "Orvane_RollupHealthState";
constexpr const char* kAssociationClass = "Orvane_LatchedHealthAssociation";
constexpr std::uint64_t kOk = 5;

std::string textOf(const broker::ClassSource& classes, const Instance& instance,
                   const char* property) {
  const Value* value = instance.property(property);
  if (value == nullptr) return "-";
  const broker::ClassDefinition* definition = classes.find(instance.path.className);
  return cellText(definition != nullptr ? definition->property(property) : nullptr, *value);
}

std::uint64_t healthStateOf(const Instance& instance) {
  const Value* value = instance.property("HealthState");
  const auto* number = value == nullptr ? nullptr : std::get_if<std::uint64_t>(&value->content);
  return number == nullptr ? 0 : *number;
}

std::vector<std::string> textsOf(const Instance& instance, const char* property) {
  std::vector<std::string> texts;
  const Value* value = instance.property(property);
  if (value == nullptr || value->null || !value->isArray()) return texts;
  for (const Value& element : value->array()) {
    if (!element.null) texts.push_back(oneLine(element.text()));
  }
  return texts;
}

broker::Response related(CimClient& client, broker::Operation operation, const Instance& record) {
  broker::Request request;
  request.operation = operation;
  request.path = record.path;
  request.filter.assocClass = kAssociationClass;
  return client.request(request);
}

AffectedElement elementOf(CimClient& client, const broker::ClassSource& classes,
                          const Instance& record) {
  AffectedElement element;
  const broker::Response paths = related(client, broker::Operation::kAssociatorNames, record);
  if (paths.ok() && !paths.paths.empty()) element.path = objectPathText(paths.paths.front());
  const broker::Response found = related(client, broker::Operation::kAssociators, record);
  if (!found.ok() || found.instances.empty()) return element;
  const Instance& instance = found.instances.front();
  element.name = textOf(classes, instance, "ElementName");
  element.now = textOf(classes, instance, "HealthState");
  element.wrong = textsOf(instance, "StatusDescriptions");
  return element;
}

HealthRecord readRecord(CimClient& client, const broker::ClassSource& classes,
                        const Instance& record) {
  return {record,
          textOf(classes, record, "EventId"),
          textOf(classes, record, "HealthState"),
          textOf(classes, record, "Timestamp"),
          healthStateOf(record),
          elementOf(client, classes, record)};
}

}  // namespace

HealthReport readHealth(CimClient& client, const std::string& nameSpace) {
  client.waitForHealth(nameSpace);
  const broker::Response records = enumerateInstances(client, nameSpace, kRecordClass);
  successful(records);
  const broker::Response rollup = enumerateInstances(client, nameSpace, kRollupClass);
  successful(rollup);
  if (rollup.instances.empty()) throw CimError(CMPI_RC_ERR_NOT_FOUND, "no roll-up health");
  const broker::ClassSource classes = client.classes(nameSpace);
  HealthReport report;
  report.rollup = rollup.instances.front();
  report.text = textOf(classes, report.rollup, "HealthState");
  report.state = healthStateOf(report.rollup);
  for (const Instance& record : records.instances) {
    report.records.push_back(readRecord(client, classes, record));
  }
  return report;
}

Json toJson(const HealthReport& report, const broker::ClassSource& classes) {
  Json array = Json::array();
  for (const HealthRecord& record : report.records) {
    Json one = notation::toJson(record.record, classes, false);
    one["healthText"] = record.worst;
    one["element"] = record.element.path;
    one["elementName"] = record.element.name;
    one["now"] = record.element.now;
    one["wrong"] = record.element.wrong;
    array.push_back(std::move(one));
  }
  Json top = {{"rollup", notation::toJson(report.rollup, classes, false)},
              {"records", std::move(array)}};
  top["rollup"]["healthText"] = report.text;
  return top;
}

std::string wrongText(const AffectedElement& element) {
  std::string all;
  for (const std::string& text : element.wrong) all += (all.empty() ? "" : "; ") + text;
  return all.empty() ? "-" : all;
}

std::uint64_t severityOf(std::uint64_t healthState) {
  if (healthState == 0) return 1;
  return healthState == kOk ? 0 : healthState;
}

}  // namespace orv::tool
