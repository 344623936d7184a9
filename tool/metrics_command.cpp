#include "metrics/collect.h"
#include "tool/commands.h"
#include "tool/errors.h"

namespace orv::tool {

int runMetrics(const Options& options, client::CimClient& client, Printer& printer) {
  client.waitForHealth(options.nameSpace);
  const metrics::Metrics found = metrics::collect(
      [&](const broker::Request& request) { return client.request(request); }, options.nameSpace);
  printer.out() << metrics::textOf(found.families);
  for (const metrics::ClassFailure& failure : found.failures) {
    printer.complain(failure.className + ": " + statusLine(failure.rc, failure.message));
  }
  return found.failures.empty() ? kExitOk : kExitCimError;
}

}  // namespace orv::tool
