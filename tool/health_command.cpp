#include "notation/json.h"
#include "tool/commands.h"
#include "tool/errors.h"
#include "tool/health_report.h"
#include "tool/text_table.h"

namespace orv::tool {
namespace {

void printTable(const HealthReport& report, std::ostream& out) {
  out << "Health of the host: " << report.text << "\n\n";
  if (report.records.empty()) {
    out << "No element has been seen in any health other than OK.\n";
    return;
  }
  TextTable table({"EVENT", "WORST HEALTH", "SINCE", "NOW", "ELEMENT", "WHAT IS WRONG", "OBJECT"});
  for (const HealthRecord& record : report.records) {
    table.add({record.event, record.worst, record.since, record.element.now, record.element.name,
               wrongText(record.element), record.element.path});
  }
  table.print(out);
}

}  // namespace

int runHealth(const Options& options, client::CimClient& client, Printer& printer) {
  const HealthReport report = readHealth(client, options.nameSpace);
  if (printer.format() == Format::kJson) {
    printer.out() << notation::jsonText(toJson(report, printer.classes())) << "\n";
  } else {
    printTable(report, printer.out());
  }
  return kExitOk;
}

}  // namespace orv::tool
