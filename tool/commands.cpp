#include "tool/commands.h"

#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "notation/json.h"
#include "tool/errors.h"
#include "tool/object_paths.h"
#include "tool/text_table.h"

namespace orv::tool {
namespace {

using broker::RegistrationSection;
using broker::Response;
using notation::Json;
using notation::jsonText;

broker::PropertyList propertyList(const Options& options) {
  if (options.properties.empty()) return std::nullopt;
  return options.properties;
}

// A property list drops the keys that it does not name, while the path still has them: they are
// shown, so that the instances can be told apart.
std::vector<broker::Instance> withKeys(std::vector<broker::Instance> instances) {
  for (broker::Instance& instance : instances) {
    for (const broker::Key& key : instance.path.keys) {
      if (instance.property(key.name) == nullptr)
        instance.properties.push_back({key.name, key.value});
    }
  }
  return instances;
}

std::string kinds(const RegistrationSection& section) {
  std::string text;
  const std::pair<bool, const char*> parts[] = {{section.instance, "instance"},
                                                {section.association, "association"},
                                                {section.indication, "indication"},
                                                {section.method, "method"}};
  for (const auto& [present, name] : parts) {
    if (present) text += (text.empty() ? "" : ", ") + std::string(name);
  }
  return text;
}

struct ListRow {
  std::string className;
  std::string kind;
  std::optional<std::size_t> count;  // absent: has none to count, or the request failed
  std::string error;
};

ListRow listRow(const RegistrationSection& section, const Options& options, Session& session) {
  ListRow row{section.className, kinds(section), std::nullopt, ""};
  if (!section.instance) return row;
  const Response response =
      session.broker().enumerateInstanceNames(options.nameSpace, section.className);
  if (response.ok()) {
    row.count = response.paths.size();
  } else {
    row.error = statusLine(response.rc, response.message);
  }
  return row;
}

void printList(const std::vector<ListRow>& rows, Format format) {
  if (format == Format::kJson) {
    Json array = Json::array();
    for (const ListRow& row : rows) {
      Json one = {{"class", row.className}, {"kind", row.kind}};
      one["instances"] = row.count ? Json(*row.count) : Json(nullptr);
      if (!row.error.empty()) one["error"] = row.error;
      array.push_back(std::move(one));
    }
    std::cout << jsonText(array) << "\n";
    return;
  }
  TextTable table({"CLASS", "KIND", "INSTANCES"});
  for (const ListRow& row : rows) {
    table.add({row.className, row.kind,
               row.count           ? std::to_string(*row.count)
               : row.error.empty() ? "-"
                                   : "error"});
  }
  table.print(std::cout);
}

bool isIn(const RegistrationSection& section, const std::string& nameSpace) {
  for (const std::string& name : section.namespaces) {
    if (name == "*" || broker::sameName(name, nameSpace)) return true;
  }
  return false;
}

int runList(const Options& options, Session& session, Printer& printer) {
  std::vector<ListRow> rows;
  for (const RegistrationSection& section : session.registration()) {
    if (isIn(section, options.nameSpace)) rows.push_back(listRow(section, options, session));
  }
  if (rows.empty()) {
    throw CimError(CMPI_RC_ERR_INVALID_NAMESPACE,
                   "no class is served in namespace " + options.nameSpace);
  }
  printList(rows, printer.format());
  int status = kExitOk;
  for (const ListRow& row : rows) {
    if (row.error.empty()) continue;
    std::cerr << "orvcim: " << row.className << ": " << row.error << "\n";
    status = kExitCimError;
  }
  return status;
}

int runGet(const Options& options, Session& session, Printer& printer) {
  const broker::ObjectPath path =
      objectPathArgument(options.objectPath, options.nameSpace, session.classes());
  const Response response = session.broker().getInstance(path, propertyList(options));
  successful(response);
  if (response.instances.empty()) throw CimError(CMPI_RC_ERR_NOT_FOUND, std::nullopt);
  printer.instance(withKeys(response.instances).front());
  return kExitOk;
}

int runAssociation(const Options& options, Session& session, Printer& printer) {
  const broker::ObjectPath source =
      objectPathArgument(options.objectPath, options.nameSpace, session.classes());
  const broker::AssociationFilter filter = {options.assocClass, options.resultClass, options.role,
                                            options.resultRole};
  broker::Broker& broker = session.broker();
  const broker::PropertyList properties = propertyList(options);
  switch (options.command) {
    case Command::kAssociators:
      printer.instances(
          withKeys(successful(broker.associators(source, filter, properties)).instances));
      break;
    case Command::kReferences:
      printer.instances(
          withKeys(successful(broker.references(source, filter, properties)).instances));
      break;
    case Command::kAssociatorNames:
      printer.paths(successful(broker.associatorNames(source, filter)).paths);
      break;
    default:
      printer.paths(successful(broker.referenceNames(source, filter)).paths);
  }
  return kExitOk;
}

}  // namespace

const Response& successful(const Response& response) {
  if (!response.ok()) throw CimError(response.rc, response.message);
  return response;
}

int runCommand(const Options& options, Session& session, Printer& printer) {
  broker::Broker& broker = session.broker();
  switch (options.command) {
    case Command::kList:
      return runList(options, session, printer);
    case Command::kNames:
      printer.paths(
          successful(broker.enumerateInstanceNames(options.nameSpace, options.className)).paths);
      return kExitOk;
    case Command::kInstances:
      printer.instances(
          withKeys(successful(broker.enumerateInstances(options.nameSpace, options.className,
                                                        propertyList(options)))
                       .instances));
      return kExitOk;
    case Command::kGet:
      return runGet(options, session, printer);
    case Command::kAssociators:
    case Command::kAssociatorNames:
    case Command::kReferences:
    case Command::kReferenceNames:
      return runAssociation(options, session, printer);
    case Command::kWatch:
      return runWatch(options, session, printer);
    case Command::kHealth:
      return runHealth(options, session, printer);
    case Command::kMetrics:
      return runMetrics(options, session);
    case Command::kCheck:
      return runCheck(options, session);
    case Command::kServe:
      return runServe(options);
  }
  return kExitBadInput;
}

}  // namespace orv::tool
