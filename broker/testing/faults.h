#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "cmpi/abi/cmpi_tables.h"

/// Fault injection. All of the broker's function tables are decorated, once per process: a
/// decorated slot looks for an armed fault before it does its work.
namespace orv::broker {

struct BrokerState;

/// Makes a slot of the broker's tables fail or return something unusual.
struct Fault {
  enum class Effect {
    kStatus,      ///< fails with `rc`, and null, zero or a not-found value
    kNullResult,  ///< answers OK with a null pointer, zero, or a null value
    kNullText,    ///< string results: a string object whose text is null
    kNullValue,   ///< data results: good status, state null
  };
  /// "bft.getInstance", "eft.newInstance", "mft.mark", "instance.setProperty", "path.getKey", ...:
  /// one of faultSlots().
  std::string slot;
  Effect effect = Effect::kStatus;
  CMPIrc rc = CMPI_RC_ERR_FAILED;
  int skip = 0;    ///< calls that are not affected before the first one that is
  int times = -1;  ///< calls that are affected after that; -1: all
};

/// Decorates the broker's tables at the first call, which must be made before any provider's thread
/// runs.
void decorateTables();

/// Names of all slots that faults can affect, in the order of the tables.
const std::vector<std::string>& faultSlots();

/// Arms a fault for calls in threads that work for that broker. Fails: std::invalid_argument for a
/// slot that does not exist.
void armFault(const BrokerState& broker, Fault fault);
void disarmFaults(const BrokerState& broker);
/// Number of armed faults with limited `times` that have not all happened yet.
std::size_t faultsToCome(const BrokerState& broker);

}  // namespace orv::broker
