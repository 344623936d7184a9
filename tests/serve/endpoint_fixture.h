#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "broker/testing/test_broker.h"
#include "serve/endpoint.h"
#include "tests/support/simulated_host_file.h"

/// The endpoint as clients meet it: over HTTP, on the simulated library with the example host, and
/// on the test's own indication provider.
namespace orv::test {

// Classes that the tests ask for.
inline constexpr const char* kPort = "Orvane_EthernetPort";
inline constexpr const char* kFilter = "CIM_IndicationFilter";
inline constexpr const char* kHandler = "CIM_IndicationHandlerCIMXML";
inline constexpr const char* kListenerDestination = "CIM_ListenerDestinationCIMXML";
inline constexpr const char* kSubscription = "CIM_IndicationSubscription";

/// What came back for one message.
struct Reply {
  int httpStatus = -1;
  std::string cimError;      ///< header CIMError
  std::string cimOperation;  ///< header CIMOperation
  std::string body;
  std::shared_ptr<pugi::xml_document> document = std::make_shared<pugi::xml_document>();

  pugi::xml_node response() const;  ///< IMETHODRESPONSE or METHODRESPONSE
  pugi::xml_node value() const { return response().child("IRETURNVALUE"); }
  int code() const { return response().child("ERROR").attribute("CODE").as_int(); }
  std::string description() const {
    return response().child("ERROR").attribute("DESCRIPTION").value();
  }
  std::string messageId() const;
  std::size_t count() const;  ///< children of the return value
};

Reply postTo(int port, const std::string& body);

// Pieces of a request.
std::string requestMessage(const std::string& method, const std::string& nameSpace,
                           const std::string& parameters);
std::string parameter(const std::string& name, const std::string& element);
std::string classParameter(const std::string& name, const std::string& className);
std::string valueParameter(const std::string& name, const std::string& text);
std::string listParameter(const std::string& name, const std::vector<std::string>& texts);
/// An element as it stands in a document.
std::string textOf(const pugi::xml_node& node);

/// The classes of root/cimv2 that a ServedLibrary has.
std::shared_ptr<const broker::ClassRepository> servedClasses();

class ServedLibrary {
 public:
  /// Adds to the settings what needs the broker, such as routes.
  using Prepare = std::function<void(broker::TestBroker&, serve::Endpoint::Settings&)>;
  explicit ServedLibrary(serve::Endpoint::Settings settings = {}, const std::string& host = "",
                         const Prepare& prepare = nullptr);
  ~ServedLibrary();
  ServedLibrary(const ServedLibrary&) = delete;
  ServedLibrary& operator=(const ServedLibrary&) = delete;

  int port() const { return port_; }
  broker::TestBroker& broker() { return *broker_; }
  void stopEndpoint() { endpoint_.reset(); }

  Reply post(const std::string& body) const { return postTo(port_, body); }
  Reply ask(const std::string& method, const std::string& parameters = "",
            const std::string& nameSpace = "root/cimv2") const {
    return post(requestMessage(method, nameSpace, parameters));
  }
  /// INSTANCENAME of the first instance of a class, as the endpoint prints it.
  std::string firstName(const std::string& className) const;

 private:
  SimulatedHostFile host_;
  std::unique_ptr<broker::TestBroker> broker_;
  std::unique_ptr<serve::Endpoint> endpoint_;
  int port_ = 0;
};

}  // namespace orv::test
