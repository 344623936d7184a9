#pragma once

#include <string>

#include "tests/serve/endpoint_fixture.h"

/// A client that makes subscriptions with messages, as a management server does.
namespace orv::test {

struct FilterText {
  std::string query = "SELECT * FROM T_Alert";
  std::string language = "WQL";
  std::string sourceNamespace = "root/cimv2";  ///< empty: none is given
};

/// INSTANCENAME with the four keys of filters and handlers.
std::string objectName(const std::string& className, const std::string& name);
/// INSTANCE of it with more properties, given as elements.
std::string objectInstance(const std::string& className, const std::string& name,
                           const std::string& properties);
std::string stringProperty(const std::string& name, const std::string& text);
/// How a reference is written: as an INSTANCENAME alone, or with the namespace around it.
enum class ReferenceForm { kInstanceName, kLocalInstancePath, kInstancePath };
std::string reference(ReferenceForm form, const std::string& instanceName);

class Subscriber {
 public:
  explicit Subscriber(int port) : port_(port) {}

  Reply ask(const std::string& method, const std::string& parameters) const {
    return postTo(port_, requestMessage(method, "root/interop", parameters));
  }
  Reply create(const std::string& instance) const {
    return ask("CreateInstance", parameter("NewInstance", instance));
  }
  Reply remove(const std::string& instanceName) const {
    return ask("DeleteInstance", parameter("InstanceName", instanceName));
  }

  Reply createFilter(const std::string& name, const FilterText& filter = {}) const;
  Reply createHandler(const std::string& name, const std::string& url,
                      const std::string& className = "CIM_IndicationHandlerCIMXML") const;
  Reply createSubscription(const std::string& filter, const std::string& handler,
                           const std::string& handlerClass = "CIM_IndicationHandlerCIMXML",
                           ReferenceForm form = ReferenceForm::kInstanceName,
                           const std::string& moreProperties = "") const;
  static std::string subscriptionName(
      const std::string& filter, const std::string& handler,
      const std::string& handlerClass = "CIM_IndicationHandlerCIMXML",
      ReferenceForm form = ReferenceForm::kInstanceName);

  /// Filter, handler and subscription of one name; empty, or the first failure.
  std::string subscribe(const std::string& name, const std::string& url,
                        const FilterText& filter = {}) const;

 private:
  int port_;
};

}  // namespace orv::test
