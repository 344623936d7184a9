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

/// A context. Request and factory contexts end with their request; a prepared one is in no heap and
/// ends when the thread that it was made for detaches. The memory of a context that has ended is
/// kept until a few thousand others have ended, so that late use is reported instead of reading
/// freed memory.
struct ContextObject final : CMPIContext, HeapEntry {
  enum class Purpose { kRequest, kFactory, kPrepared, kCleanup };

  ContextObject(Purpose purposeOfContext, std::weak_ptr<BrokerState> brokerOfContext,
                std::string providerOfContext);

  ~ContextObject() override;
  void free() override;

  /// Number of contexts in the process that have not ended.
  static std::size_t countAlive();

  Purpose purpose;
  std::atomic<bool> dead{false};  ///< the context has ended
  std::weak_ptr<BrokerState> broker;
  /// The provider that the context was made for; reports of a thread that attaches with it name it.
  std::string provider;
  std::vector<std::pair<std::string, Value>> entries;
};

/// An entry of a context; null when there is none. The case of names matters.
const Value* contextEntry(const ContextObject& context, const std::string& name);
void setContextEntry(ContextObject& context, const std::string& name, Value value);

/// A copy in no heap, for a new thread; detachThread or its release slot frees it. Null, with a
/// report, as liveContext.
CMPIContext* prepareContext(const CMPIContext* source);

/// The context behind a record. Null, with a report, for a null pointer, for a context that has
/// ended and for one that the broker did not make. `use` names the slot in the report.
ContextObject* liveContext(const CMPIContext* record, const char* use);

}  // namespace orv::broker
