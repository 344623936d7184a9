#include <iostream>
#include <mutex>
#include <string>
#include <vector>

#include "tool/commands.h"
#include "tool/end_signals.h"
#include "tool/errors.h"

namespace orv::tool {
namespace {

// Subscriptions, which the destructor ends, the latest first.
class Subscriptions {
 public:
  Subscriptions(client::CimClient& client, Printer& printer) : client_(client), printer_(printer) {}
  ~Subscriptions() {
    for (auto id = ids_.rbegin(); id != ids_.rend(); ++id) {
      const broker::Response response = client_.unsubscribe(*id);
      if (!response.ok()) printer_.complain(statusLine(response.rc, response.message));
    }
  }
  Subscriptions(const Subscriptions&) = delete;
  Subscriptions& operator=(const Subscriptions&) = delete;

  void add(const Options& options, const std::string& className,
           const broker::IndicationHandler& handler) {
    broker::IndicationFilter filter;
    filter.query = "SELECT * FROM " + className;
    filter.sourceNamespace = options.nameSpace;
    filter.name = "orvcim:" + className;
    const broker::SubscribeResult result = client_.subscribe(filter, handler);
    if (!result.ok()) throw CimError(result.rc, result.message);
    ids_.push_back(result.id);
  }

 private:
  client::CimClient& client_;
  Printer& printer_;
  std::vector<broker::SubscriptionId> ids_;
};

void requireIndicationClass(const broker::ClassSource& classes, const std::string& className) {
  const broker::ClassDefinition* definition = classes.find(className);
  if (definition == nullptr) {
    throw CimError(CMPI_RC_ERR_INVALID_CLASS, "class " + className + " is not known");
  }
  if (!definition->indication) throw BadInput("class " + className + " is not an indication");
}

}  // namespace

int runWatch(const Options& options, client::CimClient& client, Printer& printer) {
  for (const std::string& name : options.classNames) {
    requireIndicationClass(printer.classes(), name);
  }
  std::mutex printing;  // guards the printer; several handlers may run at once
  const auto print = [&](const broker::Instance& indication) {
    const std::lock_guard<std::mutex> lock(printing);
    printer.indication(indication);
    if (!printer.out()) raiseEndSignal();  // the reader is gone
  };
  Subscriptions subscriptions(client, printer);
  for (const std::string& name : options.classNames) subscriptions.add(options, name, print);
  std::cerr << "orvcim: watching; Ctrl-C ends\n";
  waitForEndSignal();
  return kExitOk;
}

}  // namespace orv::tool
