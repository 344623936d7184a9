#pragma once

#include <vector>

#include "broker/wql.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// A condition in normal form, in the calling thread's memory. Disjunctive: type 0 (DOC), a
/// disjunction of conjunctions; else type 1 (COD), a conjunction of disjunctions.
CMPISelectCond* makeSelectCondition(std::vector<std::vector<WqlComparison>> content,
                                    bool disjunctive);

}  // namespace orv::broker
