#pragma once

#include <string>

#include "broker/class_repository.h"
#include "broker/values.h"
#include "broker/wql.h"
#include "serve/objects.h"

namespace orv::serve {

/// A query for instances: SELECT * | a, b FROM class [WHERE condition]; broker/wql.h has the
/// grammar.
class Query {
 public:
  /// `classes` must outlive the query.
  ///
  /// Fails: CimError, 14 for a language other than WQL, CQL and DMTF:CQL, 15 for a text that is not
  /// a query, 5 for an unknown class.
  Query(const std::string& text, const std::string& language,
        const broker::ClassRepository& classes);

  const std::string& className() const { return query_.className; }
  bool selects(const broker::Instance& instance) const;
  /// Removes the properties that are not selected; none for *.
  void project(broker::Instance& instance) const { keepListed(instance, query_.projection); }

 private:
  const broker::WqlQuery query_;
  const broker::ClassRepository& classes_;
};

}  // namespace orv::serve
