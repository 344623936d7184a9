#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "broker/heap.h"
#include "broker/values.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// A context. Request and factory contexts die with their request; a prepared one lives in no heap
/// until the thread that it was made for detaches. What is left of a dead context answers every
/// slot with a report for a good while, so that a late use is seen instead of reading freed memory.
struct ContextObject final : CMPIContext, HeapEntry {
  enum class Purpose { kRequest, kFactory, kPrepared, kCleanup };

  ContextObject(Purpose purposeOfContext, std::weak_ptr<BrokerState> brokerOfContext,
                std::string providerOfContext, ContextTable table);
  // A pair, though g++ 12 warns of a mismatch where it inlines only the first.
  [[gnu::noinline]] static void* operator new(std::size_t size);
  [[gnu::noinline]] static void operator delete(void* memory);

  Purpose purpose;
  std::weak_ptr<BrokerState> broker;
  std::string
      provider;  ///< whose context it is; a thread that attaches with it reports under this name
  std::vector<std::pair<std::string, Value>> entries;
};

/// Entry of a context; null when there is none. Names are compared exactly.
const Value* contextEntry(const ContextObject& context, const std::string& name);
void setContextEntry(ContextObject& context, const std::string& name, Value value);

/// A copy outside any heap, for a new thread; detachThread or its release slot frees it.
CMPIContext* prepareContext(const CMPIContext* source);

/// Null, with a report, for a context that is dead or not of this broker's making, and for a null
/// pointer.
const ContextObject* liveContext(const CMPIContext* record, const char* use);

}  // namespace orv::broker
