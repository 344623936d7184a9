#pragma once

#include "broker/wql.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// A condition in normal form, in the calling thread's memory. Disjunctive: type 0 (DOC), a
/// disjunction of conjunctions; else type 1 (COD), a conjunction of disjunctions.
CMPISelectCond* makeSelectCondition(NormalForm content, bool disjunctive);

}  // namespace orv::broker
