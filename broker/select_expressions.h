#pragma once

#include <memory>

#include "broker/instance_data.h"
#include "broker/object_tools.h"
#include "broker/wql.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// A filter as providers see it.
struct SelectExpressionObject : BrokerObject<SelectExpressionObject, CMPISelectExp> {
  static constexpr const char* kKind = "select expression";
  static CMPISelectExpFT table;

  explicit SelectExpressionObject(std::shared_ptr<const WqlQuery> content)
      : query(std::move(content)) {}
  SelectExpressionObject* clone() const { return new SelectExpressionObject(query); }

  std::shared_ptr<const WqlQuery> query;
};

/// In the calling thread's memory.
CMPISelectExp* makeSelectExpression(std::shared_ptr<const WqlQuery> query);

/// The newSelectExp slot: status 14 for a language other than WQL and CQL, 15 for a text that is
/// not a query. The projection is an array of names, or null for *.
CMPISelectExp* newSelectExpression(const char* query, const char* language, CMPIArray** projection,
                                   CMPIStatus* out);

/// Whether the language is WQL, CQL or DMTF:CQL, in any case.
bool isKnownQueryLanguage(const std::string& language);

/// Whether the instance's class is the query's class or derives from it, and the condition holds.
bool selects(const WqlQuery& query, const InstanceData& instance);

}  // namespace orv::broker
