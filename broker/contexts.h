#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "broker/broker.h"
#include "broker/heap.h"
#include "broker/values.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// A context. Request and factory contexts die with their request; a prepared one lives in no heap
/// until the thread that it was made for detaches. A dead context stays in memory until a few
/// thousand others have died, so that a late use is reported instead of reading freed memory.
struct ContextObject final : CMPIContext, HeapEntry {
  enum class Purpose { kRequest, kFactory, kPrepared, kCleanup };

  ContextObject(Purpose purposeOfContext, std::weak_ptr<BrokerState> brokerOfContext,
                std::string providerOfContext);

  ~ContextObject() override;
  void free() override;

  /// Contexts of the process that are not dead.
  static std::size_t countAlive();

  Purpose purpose;
  std::atomic<bool> dead{false};
  std::weak_ptr<BrokerState> broker;
  /// Whose context it is; a thread that attaches with it reports under this name.
  std::string provider;
  std::vector<std::pair<std::string, Value>> entries;
};

/// Entry of a context; null when there is none. Names are compared exactly.
const Value* contextEntry(const ContextObject& context, const std::string& name);
void setContextEntry(ContextObject& context, const std::string& name, Value value);

/// A copy outside any heap, for a new thread; detachThread or its release slot frees it.
CMPIContext* prepareContext(const CMPIContext* source);

/// The context behind a record. Null, with a report, for one that is dead or not of this broker's
/// making, and for a null pointer. `use` names the slot in the report.
ContextObject* liveContext(const CMPIContext* record, const char* use);

}  // namespace orv::broker
