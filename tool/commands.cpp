#include "tool/commands.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "broker/object_path_text.h"
#include "metrics/collect.h"
#include "notation/json.h"
#include "tool/errors.h"
#include "tool/object_paths.h"
#include "tool/text_table.h"

namespace orv::tool {
namespace {

using broker::Operation;
using broker::Response;
using client::CimClient;
using client::ServedClass;
using notation::Json;
using notation::jsonText;

// Adds the keys that a property list has left out, so that the instances can be told apart. The
// path still has them.
std::vector<broker::Instance> withKeys(std::vector<broker::Instance> instances) {
  for (broker::Instance& instance : instances) {
    for (const broker::Key& key : instance.path.keys) {
      if (instance.property(key.name) == nullptr)
        instance.properties.push_back({key.name, key.value});
    }
  }
  return instances;
}

struct ListRow {
  ServedClass served;
  std::optional<std::size_t> count;  // absent: not countable, or the request failed
  std::string error;
};

ListRow listRow(const ServedClass& served, const Options& options, CimClient& client) {
  ListRow row{served, std::nullopt, ""};
  if (!served.countable) return row;
  const Response response = enumerateInstanceNames(client, options.nameSpace, served.name);
  if (response.ok()) {
    row.count = response.paths.size();
  } else {
    row.error = statusLine(response.rc, response.message);
  }
  return row;
}

void printList(const std::vector<ListRow>& rows, Printer& printer) {
  if (printer.format() == Format::kJson) {
    Json array = Json::array();
    for (const ListRow& row : rows) {
      Json one = {{"class", row.served.name}, {"kind", row.served.kind}};
      one["instances"] = row.count ? Json(*row.count) : Json(nullptr);
      if (!row.error.empty()) one["error"] = row.error;
      array.push_back(std::move(one));
    }
    printer.out() << jsonText(array) << "\n";
    return;
  }
  TextTable table({"CLASS", "KIND", "INSTANCES"});
  for (const ListRow& row : rows) {
    table.add({row.served.name, row.served.kind,
               row.count           ? std::to_string(*row.count)
               : row.error.empty() ? "-"
                                   : "error"});
  }
  table.print(printer.out());
}

int runList(const Options& options, CimClient& client, Printer& printer) {
  const client::ServedClasses served = client.servedClasses(options.nameSpace);
  if (served.rc != CMPI_RC_OK) throw CimError(served.rc, served.message);
  std::vector<ListRow> rows;
  for (const ServedClass& one : served.classes) rows.push_back(listRow(one, options, client));
  printList(rows, printer);
  int status = kExitOk;
  for (const ListRow& row : rows) {
    if (row.error.empty()) continue;
    printer.complain(row.served.name + ": " + row.error);
    status = kExitCimError;
  }
  return status;
}

/// Prints metrics for Prometheus, once the providers have read the hardware. Classes that cannot be
/// read are reported through the printer.
int runMetrics(const Options& options, CimClient& client, Printer& printer) {
  client.waitForHealth(options.nameSpace);
  const metrics::Metrics found = metrics::collect(
      [&](const broker::Request& request) { return client.request(request); }, options.nameSpace);
  printer.out() << metrics::textOf(found.families);
  for (const metrics::ClassFailure& failure : found.failures) {
    printer.complain(failure.className + ": " + statusLine(failure.rc, failure.message));
  }
  return found.failures.empty() ? kExitOk : kExitCimError;
}

/// A command that makes one request.
struct Question {
  Command command;
  Operation operation;
};

constexpr Question kQuestions[] = {
    {Command::kNames, Operation::kEnumerateInstanceNames},
    {Command::kInstances, Operation::kEnumerateInstances},
    {Command::kGet, Operation::kGetInstance},
    {Command::kAssociators, Operation::kAssociators},
    {Command::kAssociatorNames, Operation::kAssociatorNames},
    {Command::kReferences, Operation::kReferences},
    {Command::kReferenceNames, Operation::kReferenceNames},
};

broker::Request requestOf(const Options& options, Operation operation, CimClient& client) {
  broker::Request request;
  request.operation = operation;
  if (options.objectPath.empty()) {
    request.path.nameSpace = options.nameSpace;
    request.path.className = options.className;
  } else {
    request.path = objectPathArgument(options.objectPath, options.nameSpace,
                                      client.classes(nameSpaceOf(options)));
  }
  if (!options.properties.empty()) request.properties = options.properties;
  request.filter = {options.assocClass, options.resultClass, options.role, options.resultRole};
  return request;
}

int runQuestion(const Options& options, Operation operation, CimClient& client, Printer& printer) {
  const Response response = client.request(requestOf(options, operation, client));
  successful(response);
  switch (operation) {
    case Operation::kEnumerateInstanceNames:
    case Operation::kAssociatorNames:
    case Operation::kReferenceNames:
      printer.paths(response.paths);
      break;
    case Operation::kGetInstance:
      if (response.instances.empty()) throw CimError(CMPI_RC_ERR_NOT_FOUND, std::nullopt);
      printer.instance(withKeys(response.instances).front());
      break;
    default:
      printer.instances(withKeys(response.instances));
  }
  return kExitOk;
}

}  // namespace

const Response& successful(const Response& response) {
  if (!response.ok()) throw CimError(response.rc, response.message);
  return response;
}

std::string nameSpaceOf(const Options& options) {
  if (options.objectPath.empty()) return options.nameSpace;
  try {
    const std::string own = broker::parseObjectPath(options.objectPath).nameSpace;
    return own.empty() ? options.nameSpace : own;
  } catch (const broker::ObjectPathError& e) {
    throw BadInput(e.what());
  }
}

int runCommand(const Options& options, CimClient& client, Printer& printer) {
  for (const Question& question : kQuestions) {
    if (question.command == options.command) {
      return runQuestion(options, question.operation, client, printer);
    }
  }
  switch (options.command) {
    case Command::kList:
      return runList(options, client, printer);
    case Command::kWatch:
      return runWatch(options, client, printer);
    case Command::kHealth:
      return runHealth(options, client, printer);
    case Command::kMetrics:
      return runMetrics(options, client, printer);
    case Command::kCheck:
      return runCheck(options, client);
    default:
      return kExitBadInput;
  }
}

}  // namespace orv::tool
