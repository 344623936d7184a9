#include <chrono>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "notation/json.h"
#include "notation/object_path.h"
#include "tool/commands.h"
#include "tool/errors.h"
#include "tool/readable_text.h"
#include "tool/table_output.h"
#include "tool/text_table.h"

namespace orv::tool {
namespace {

using broker::Instance;
using broker::Value;
using notation::Json;
using notation::jsonText;
using notation::objectPathText;
using notation::toJson;

constexpr const char* kRecordClass = "Orvane_LatchedHealthState";
constexpr const char* kRollupClass = "Orvane_RollupHealthState";
constexpr const char* kAssociationClass = "Orvane_LatchedHealthAssociation";

std::string textOf(const Session& session, const Instance& instance, const char* property) {
  const Value* value = instance.property(property);
  const broker::ClassDefinition* definition = session.classes().find(instance.path.className);
  if (value == nullptr) return "-";
  return cellText(definition != nullptr ? definition->property(property) : nullptr, *value);
}

/// The element that a record is about, as it is now.
struct AffectedElement {
  std::string path;        ///< empty when it is not known
  std::string name = "-";  ///< ElementName
  std::string now = "-";   ///< health; "-" for an element that is gone
  std::vector<std::string> wrong;
};

std::vector<std::string> textsOf(const Instance& instance, const char* property) {
  std::vector<std::string> texts;
  const Value* value = instance.property(property);
  if (value == nullptr || value->null || !value->isArray()) return texts;
  for (const Value& element : value->array()) {
    if (!element.null) texts.push_back(oneLine(element.text()));
  }
  return texts;
}

AffectedElement elementOf(Session& session, const Instance& record) {
  broker::AssociationFilter filter;
  filter.assocClass = kAssociationClass;
  AffectedElement element;
  const broker::Response paths = session.broker().associatorNames(record.path, filter);
  if (paths.ok() && !paths.paths.empty()) element.path = objectPathText(paths.paths.front());
  const broker::Response found = session.broker().associators(record.path, filter);
  if (!found.ok() || found.instances.empty()) return element;
  const Instance& instance = found.instances.front();
  element.name = textOf(session, instance, "ElementName");
  element.now = textOf(session, instance, "HealthState");
  element.wrong = textsOf(instance, "StatusDescriptions");
  return element;
}

std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) all += (all.empty() ? "" : "; ") + text;
  return all.empty() ? "-" : all;
}

void printTable(Session& session, const Instance& rollup, const std::vector<Instance>& records) {
  std::cout << "Health of the host: " << textOf(session, rollup, "HealthState") << "\n\n";
  if (records.empty()) {
    std::cout << "No element has been seen in any health other than OK.\n";
    return;
  }
  TextTable table({"EVENT", "WORST HEALTH", "SINCE", "NOW", "ELEMENT", "WHAT IS WRONG", "OBJECT"});
  for (const Instance& record : records) {
    const AffectedElement element = elementOf(session, record);
    table.add({textOf(session, record, "EventId"), textOf(session, record, "HealthState"),
               textOf(session, record, "Timestamp"), element.now, element.name,
               joined(element.wrong), element.path});
  }
  table.print(std::cout);
}

void printJson(Session& session, const Instance& rollup, const std::vector<Instance>& records) {
  Json array = Json::array();
  for (const Instance& record : records) {
    const AffectedElement element = elementOf(session, record);
    Json one = toJson(record, session.classes(), false);
    one["healthText"] = textOf(session, record, "HealthState");
    one["element"] = element.path;
    one["elementName"] = element.name;
    one["now"] = element.now;
    one["wrong"] = element.wrong;
    array.push_back(std::move(one));
  }
  Json top = {{"rollup", toJson(rollup, session.classes(), false)}, {"records", std::move(array)}};
  top["rollup"]["healthText"] = textOf(session, rollup, "HealthState");
  std::cout << jsonText(top) << "\n";
}

}  // namespace

// The monitors release what they made on their attached threads after each class: that is the sign
// we can see. A host whose hardware reports nothing gives no sign, hence the limit.
void waitForFirstLook(broker::Broker& broker, const std::string& nameSpace) {
  constexpr auto kLimit = std::chrono::seconds(5);
  constexpr auto kStep = std::chrono::milliseconds(5);
  constexpr std::size_t kSigns = 2;  // the other monitor of the provider gives one sign of its own
  successful(broker.enumerateInstanceNames(nameSpace, kRollupClass));
  const auto end = std::chrono::steady_clock::now() + kLimit;
  while (broker.contextReleaseCalls() < kSigns && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(kStep);
  }
}

int runHealth(const Options& options, Session& session, Printer& printer) {
  broker::Broker& broker = session.broker();
  waitForFirstLook(broker, options.nameSpace);
  const broker::Response records = broker.enumerateInstances(options.nameSpace, kRecordClass);
  successful(records);
  const broker::Response rollup = broker.enumerateInstances(options.nameSpace, kRollupClass);
  successful(rollup);
  if (rollup.instances.empty()) throw CimError(CMPI_RC_ERR_NOT_FOUND, "no roll-up health");
  if (printer.format() == Format::kJson) {
    printJson(session, rollup.instances.front(), records.instances);
  } else {
    printTable(session, rollup.instances.front(), records.instances);
  }
  return kExitOk;
}

}  // namespace orv::tool
