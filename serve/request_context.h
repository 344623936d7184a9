#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>

#include "broker/broker.h"
#include "broker/class_repository.h"
#include "cimxml/messages.h"
#include "cimxml/response_writer.h"

namespace orv::serve {

using Names = std::set<std::string, broker::NameLess>;

/// One namespace as operations see it.
struct ServedNamespace {
  std::shared_ptr<const broker::ClassRepository> classes;
  Names propertyNames;  ///< of all classes
};

/// One request on its way: its parameters with their defaults, and the response that grows.
///
/// What reads a parameter throws CimError with status 4 when it is missing or makes no sense.
class RequestContext {
 public:
  RequestContext(const cimxml::Call& request, cimxml::ResponseWriter& response,
                 const ServedNamespace& nameSpace, const std::string& clientAddress)
      : call(request),
        writer(response),
        classes(*nameSpace.classes),
        client(clientAddress),
        names_(nameSpace) {}

  const cimxml::Call& call;
  cimxml::ResponseWriter& writer;
  const broker::ClassRepository& classes;
  const std::string& client;  ///< address

  bool isInterop() const;

  std::optional<std::string> text(const char* name) const;
  bool flag(const char* name, bool byDefault) const;
  /// An unsigned number.
  std::optional<std::uint64_t> number(const char* name) const;

  std::string className() const;
  /// Fails: CimError, 5 too.
  const broker::ClassDefinition& classDefinition() const;

  /// A path in the request's namespace.
  broker::ObjectPath object(const char* name) const;
  broker::Instance instance(const char* name) const;
  broker::AssociationFilter filter() const;

  /// PropertyList without names that no class of the namespace has, and each once: a client cannot
  /// make us look through more names than there are.
  broker::PropertyList properties() const;

  cimxml::ClassOptions classOptions() const;

  // Each takes properties away that the client does not want.

  /// LocalOnly TRUE: only what the instance's own class declares or overrides. It is not the
  /// default, as the standard once had it: clients that leave it out mean all properties.
  void applyLocalOnly(broker::Instance& instance) const;
  /// DeepInheritance FALSE: only what the requested class has.
  void applyDeepInheritance(broker::Instance& instance) const;
  /// What a provider set in spite of the list; the keys are in the path.
  void applyPropertyList(broker::Instance& instance, const broker::PropertyList& list) const;

 private:
  const cimxml::Parameter* parameter(const char* name) const;
  template <typename Keep>
  void trim(broker::Instance& instance, Keep&& keep) const;

  const ServedNamespace& names_;
};

/// Fails: CimError with the response's status and text, unless it is a success.
void throwUnlessOk(const broker::Response& response);

}  // namespace orv::serve
