#include <iostream>

#include "metrics/collect.h"
#include "tool/commands.h"
#include "tool/errors.h"

namespace orv::tool {

int runMetrics(const Options& options, Session& session) {
  waitForFirstLook(session.broker(), options.nameSpace);
  const metrics::Metrics found = metrics::collect(
      [&](const broker::Request& request) { return session.broker().request(request); },
      options.nameSpace);
  std::cout << metrics::textOf(found.families);
  for (const metrics::ClassFailure& failure : found.failures) {
    std::cerr << "orvcim: " + failure.className + ": " + statusLine(failure.rc, failure.message) +
                     "\n";
  }
  return found.failures.empty() ? kExitOk : kExitCimError;
}

}  // namespace orv::tool
