#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/class_repository.h"
#include "serve/interop.h"
#include "serve/open_enumerations.h"
#include "serve/request_context.h"

namespace orv::serve {

/// The CIM operations of the endpoint: from a request message to a response message.
///
/// Operations on instances go to the broker, or in the interop namespace to its objects; reading
/// classes and qualifiers is answered from the repository. Operations that write classes or
/// qualifiers answer "not supported", extrinsic methods "method not found". Thread-safe.
class Operations {
 public:
  using Namespaces =
      std::map<std::string, std::shared_ptr<const broker::ClassRepository>, broker::NameLess>;

  struct Limits {
    std::size_t answerBytes = 32U << 20;  ///< of one response message
    OpenEnumerations::Limits enumerations;
  };

  /// `broker` and `interop` must outlive the object; `namespaces` includes the interop namespace.
  /// `host` is the HOST element of object paths that name no host.
  Operations(broker::Broker& broker, const Namespaces& namespaces, Interop& interop,
             std::string host, Limits limits);

  /// The response message. `client` is the client's address.
  ///
  /// Fails: BadMessage for a text that is not a request. A CIM error is part of the response, not
  /// an exception.
  std::string answer(const std::string& requestText, const std::string& client);

 private:
  using Handler = void (Operations::*)(RequestContext&);
  static const std::map<std::string, Handler, broker::NameLess>& handlers();

  void dispatch(RequestContext& context);

  // Instances.
  void enumerateInstanceNames(RequestContext& context);
  void enumerateInstances(RequestContext& context);
  void getInstance(RequestContext& context);
  void createInstance(RequestContext& context);
  void modifyInstance(RequestContext& context);
  void deleteInstance(RequestContext& context);
  void execQuery(RequestContext& context);

  // Associations.
  template <broker::Operation operation>
  void writeRelated(RequestContext& context);
  template <broker::Operation operation>
  void writeRelatedNames(RequestContext& context);

  // Classes; class_operations.cpp.
  void getClass(RequestContext& context);
  void enumerateClasses(RequestContext& context);
  void enumerateClassNames(RequestContext& context);
  void getQualifier(RequestContext& context);
  void enumerateQualifiers(RequestContext& context);

  // Enumerations that are pulled; pull_operations.cpp.
  void openEnumerateInstances(RequestContext& context);
  void openEnumerateInstancePaths(RequestContext& context);
  template <broker::Operation operation>
  void openRelated(RequestContext& context);
  void openQueryInstances(RequestContext& context);
  template <PullKind kind>
  void pull(RequestContext& context);
  void closeEnumeration(RequestContext& context);
  void open(RequestContext& context, PullKind kind, std::vector<broker::Instance> objects);

  // Shared by classic and pulled operations. For names only the paths of the instances are used.
  std::vector<broker::Instance> instancesOf(RequestContext& context);
  std::vector<broker::Instance> namesOf(RequestContext& context);
  std::vector<broker::Instance> related(RequestContext& context, broker::Operation operation,
                                        const char* objectParameter);
  std::vector<broker::Instance> selected(RequestContext& context, const std::string& query,
                                         const std::string& language);

  broker::Broker& broker_;
  std::map<std::string, ServedNamespace, broker::NameLess> namespaces_;
  Interop& interop_;
  const std::string host_;
  const Limits limits_;
  OpenEnumerations enumerations_;
};

}  // namespace orv::serve
