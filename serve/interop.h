#pragma once

#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/class_repository.h"
#include "serve/subscriptions.h"

namespace orv::serve {

/// Objects of the interop namespace: those that clients look for when they connect (the object
/// manager, its namespaces, a registered profile) and the indication objects. Associations between
/// them are found from the reference properties of the association instances.
///
/// Every operation may be called from any thread and throws CimError.
class Interop {
 public:
  static constexpr const char* kNamespace = "root/interop";

  /// `classes` and `subscriptions` must outlive the object. `host` is the SystemName of the object
  /// manager, `namespaces` are those that are served.
  Interop(const broker::ClassRepository& classes, Subscriptions& subscriptions,
          const std::string& host, const std::vector<std::string>& namespaces);

  std::vector<broker::Instance> enumerate(const std::string& className) const;
  broker::Instance get(const broker::ObjectPath& path) const;
  std::vector<broker::Instance> references(const broker::ObjectPath& source,
                                           const broker::AssociationFilter& filter) const;
  std::vector<broker::Instance> associators(const broker::ObjectPath& source,
                                            const broker::AssociationFilter& filter) const;

  // Only indication objects can be written. `client` is the client's address.
  broker::ObjectPath create(const broker::Instance& given, const std::string& client);
  void modify(const broker::Instance& given, const broker::PropertyList& properties);
  void remove(const broker::ObjectPath& path);

 private:
  void requireClass(const std::string& className) const;
  void requireWritable(const std::string& className) const;
  bool matches(const std::string& className, const std::optional<std::string>& wanted) const;

  const broker::ClassRepository& classes_;
  Subscriptions& subscriptions_;
  std::vector<broker::Instance> fixed_;  // written by the constructor only
};

}  // namespace orv::serve
