#pragma once

#include <string>

#include "broker/class_repository.h"
#include "broker/values.h"
#include "broker/wql.h"

namespace orv::serve {

/// A query over instances: SELECT * | a, b FROM class [WHERE condition], as broker/wql.h has it.
class Query {
 public:
  /// Fails: CimError, 14 for another language than WQL, CQL and DMTF:CQL, 15 for what is not a
  /// query, 5 for an unknown class.
  Query(const std::string& text, const std::string& language,
        const broker::ClassRepository& classes);

  const std::string& className() const { return query_.className; }
  bool selects(const broker::Instance& instance) const;
  /// Leaves the properties that are selected; all for *.
  void project(broker::Instance& instance) const;

 private:
  const broker::WqlQuery query_;
  const broker::ClassRepository& classes_;
};

}  // namespace orv::serve
