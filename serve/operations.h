#pragma once

#include <map>
#include <memory>
#include <string>

#include "broker/broker.h"
#include "broker/class_repository.h"
#include "serve/subscriptions.h"

namespace orv::serve {

/// The CIM operations of the endpoint: from a request message to a response message.
///
/// Reading operations go to the broker; those on the indication classes of the interop namespace to
/// the subscriptions; those that write classes, qualifiers or provider instances answer "not
/// supported", extrinsic methods "method not found". Any number of threads may ask at once.
class Operations {
 public:
  using Namespaces =
      std::map<std::string, std::shared_ptr<const broker::ClassRepository>, broker::NameLess>;

  static constexpr const char* kInteropNamespace = "root/interop";

  /// `broker` and `subscriptions` must outlive the object; `namespaces` holds the interop namespace
  /// too.
  Operations(broker::Broker& broker, Namespaces namespaces, Subscriptions& subscriptions,
             std::string host);

  /// The response message.
  ///
  /// Fails: BadMessage for a text that is no request; a CIM failure is an answer, not an exception.
  std::string answer(const std::string& requestText);

 private:
  struct Context;
  using Handler = void (Operations::*)(Context&);
  static const std::map<std::string, Handler, broker::NameLess>& handlers();

  void dispatch(Context& context);
  void enumerateInstanceNames(Context& context);
  void enumerateInstances(Context& context);
  void getInstance(Context& context);
  void createInstance(Context& context);
  void modifyInstance(Context& context);
  void deleteInstance(Context& context);
  void associators(Context& context);
  void associatorNames(Context& context);
  void references(Context& context);
  void referenceNames(Context& context);
  void getClass(Context& context);
  void enumerateClasses(Context& context);
  void enumerateClassNames(Context& context);

  broker::Broker& broker_;
  const Namespaces namespaces_;
  Subscriptions& subscriptions_;
  const std::string host_;
};

}  // namespace orv::serve
