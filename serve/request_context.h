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

/// One request while it is answered: its parameters with their defaults, and the response that is
/// being written. What it is constructed with must outlive it.
///
/// Functions that read a parameter throw CimError with status 4 when a required one is missing or
/// the value is invalid.
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

  /// Whether the request is for the interop namespace.
  bool isInterop() const;

  // Optional parameters: a string or class name, a boolean, an unsigned number.
  std::optional<std::string> text(const char* name) const;
  bool flag(const char* name, bool byDefault) const;
  std::optional<std::uint64_t> number(const char* name) const;

  /// The required ClassName.
  std::string className() const;
  /// The class that ClassName names. Fails: CimError, also 5 when there is no such class.
  const broker::ClassDefinition& classDefinition() const;

  // A required object path or instance, moved to the request's namespace.
  broker::ObjectPath object(const char* name) const;
  broker::Instance instance(const char* name) const;

  /// The optional filters of an association request.
  broker::AssociationFilter filter() const;

  /// PropertyList, each name once and only those that a class of the namespace has, so that a
  /// client cannot make the server search through an endless list. Absent: all properties.
  broker::PropertyList properties() const;

  cimxml::ClassOptions classOptions() const;

  // Each removes properties that the client does not want.

  /// LocalOnly TRUE: keeps what the instance's own class declares or overrides. Not the default, as
  /// it once was in the standard: clients that leave it out mean all properties.
  void applyLocalOnly(broker::Instance& instance) const;
  /// DeepInheritance FALSE: keeps what the requested class has.
  void applyDeepInheritance(broker::Instance& instance) const;

 private:
  const cimxml::Parameter* parameter(const char* name) const;
  template <typename Keep>
  void trim(broker::Instance& instance, Keep&& keep) const;

  const ServedNamespace& names_;
};

/// Fails: CimError with the response's status and text, unless the status is OK.
void throwUnlessOk(const broker::Response& response);

}  // namespace orv::serve
