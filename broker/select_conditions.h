#pragma once

#include <vector>

#include "broker/wql.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// A normalised condition with its parts, in the calling thread's memory. Disjunctive: type 0
/// (DOC), a disjunction of conjunctions; else type 1 (COD).
CMPISelectCond* makeSelectCondition(std::vector<std::vector<WqlComparison>> content,
                                    bool disjunctive);

}  // namespace orv::broker
