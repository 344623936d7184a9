#include "broker/contexts.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <mutex>
#include <new>

#include "broker/broker_state.h"
#include "broker/data.h"
#include "broker/object_tools.h"
#include "broker/strings.h"

namespace orv::broker {
namespace {

constexpr std::size_t kDeadContextsKept = 4096;

/// The standard's seven slots, and the word at index 7.
struct EightSlotTable {
  CMPIContextFT standard;
  CMPIStatus (*freeThreadObjects)(CMPIContext*);
};
struct SevenSlotTable {
  CMPIContextFT standard;
  const void* next;
};
static_assert(sizeof(CMPIContextFT) == 7 * sizeof(void*), "seven slots");
static_assert(offsetof(EightSlotTable, freeThreadObjects) == 7 * sizeof(void*), "index 7");

CMPIStatus releaseContext(CMPIContext* self) {
  if (const auto fault = injected("context.release")) return fault->status;
  const ContextObject* context = liveContext(self, "release");
  if (context == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  if (context->heap() != nullptr) {
    report("", "", "releases the context of its request: used by the broker afterwards");
    return status(CMPI_RC_ERR_FAILED);
  }
  delete context;
  return status(CMPI_RC_OK);
}

CMPIContext* cloneContext(const CMPIContext* /*self*/, CMPIStatus* out) {
  answer(out, CMPI_RC_ERR_NOT_SUPPORTED);
  return nullptr;
}

/// Deliberate: the state is null and the value is rubbish, as the object manager leaves it.
CMPIData missingEntry(CMPIStatus* out) {
  answer(out, CMPI_RC_ERR_NO_SUCH_PROPERTY);
  CMPIData data{};
  std::memset(&data.value, 0xA5, sizeof data.value);
  data.state = CMPI_nullValue;
  return data;
}

CMPIData getEntry(const CMPIContext* self, const char* name, CMPIStatus* out) {
  if (const auto fault = injected("context.getEntry")) return faultyData(*fault, out);
  const ContextObject* context = liveContext(self, "getEntry");
  const Value* value =
      context != nullptr && name != nullptr ? contextEntry(*context, name) : nullptr;
  if (value == nullptr) return missingEntry(out);
  answer(out, CMPI_RC_OK);
  return toData(*value);
}

CMPIData getEntryAt(const CMPIContext* self, CMPICount index, CMPIString** name, CMPIStatus* out) {
  if (const auto fault = injected("context.getEntryAt")) return faultyData(*fault, out);
  const ContextObject* context = liveContext(self, "getEntryAt");
  if (context == nullptr || index >= context->entries.size()) return missingEntry(out);
  if (name != nullptr) *name = makeString(context->entries[index].first);
  answer(out, CMPI_RC_OK);
  return toData(context->entries[index].second);
}

CMPICount getEntryCount(const CMPIContext* self, CMPIStatus* out) {
  const ContextObject* context = liveContext(self, "getEntryCount");
  answer(out, context != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE);
  return context != nullptr ? static_cast<CMPICount>(context->entries.size()) : 0;
}

CMPIStatus addEntry(const CMPIContext* self, const char* name, const CMPIValue* value,
                    CMPIType type) {
  if (const auto fault = injected("context.addEntry")) return fault->status;
  auto* context = const_cast<ContextObject*>(liveContext(self, "addEntry"));
  if (context == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  if (name == nullptr) return status(CMPI_RC_ERR_INVALID_PARAMETER);
  ReadValue read = readValue(value, type);
  if (!read.complaint.empty()) report("", name, "context entry: " + read.complaint);
  if (read.rc != CMPI_RC_OK) return status(read.rc);
  setContextEntry(*context, name, std::move(read.value));
  return status(CMPI_RC_OK);
}

CMPIStatus freeThreadObjects(CMPIContext* self) {
  if (const auto fault = injected("context.freeThreadObjects")) return fault->status;
  const ContextObject* context = liveContext(self, "the eighth slot");
  if (context == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  if (const auto broker = context->broker.lock()) ++broker->contextReleaseCalls;
  ThreadHeap::ofThisThread().freeInnermost();
  return status(CMPI_RC_OK);
}

// What stands behind a table without an eighth slot: the address of data, as a neighbouring object
// would be.
const int neighbour = 1;

constexpr CMPIContextFT kStandard = {1,          releaseContext, cloneContext, getEntry,
                                     getEntryAt, getEntryCount,  addEntry};
EightSlotTable eightSlots = {kStandard, freeThreadObjects};
SevenSlotTable sevenSlots = {kStandard, &neighbour};
SevenSlotTable sevenSlotsNull = {kStandard, nullptr};

CMPIContextFT* tableOf(ContextTable table) {
  switch (table) {
    case ContextTable::kSevenSlots:
      return &sevenSlots.standard;
    case ContextTable::kSevenSlotsNull:
      return &sevenSlotsNull.standard;
    default:
      return &eightSlots.standard;
  }
}

void reportDeadContext(const char* use) {
  report("", "",
         std::string("uses a context (") + use +
             ") after its request has ended or its thread has detached: freed memory");
}

CMPIStatus deadStatus(CMPIContext* /*self*/) {
  reportDeadContext("release");
  return status(CMPI_RC_ERR_INVALID_HANDLE);
}
CMPIData deadEntry(const CMPIContext* /*self*/, const char* /*name*/, CMPIStatus* out) {
  reportDeadContext("getEntry");
  return missingEntry(out);
}
CMPIData deadEntryAt(const CMPIContext* /*self*/, CMPICount /*index*/, CMPIString** /*name*/,
                     CMPIStatus* out) {
  reportDeadContext("getEntryAt");
  return missingEntry(out);
}
CMPICount deadCount(const CMPIContext* /*self*/, CMPIStatus* out) {
  reportDeadContext("getEntryCount");
  answer(out, CMPI_RC_ERR_INVALID_HANDLE);
  return 0;
}
CMPIStatus deadAdd(const CMPIContext* /*self*/, const char* /*name*/, const CMPIValue* /*value*/,
                   CMPIType /*type*/) {
  reportDeadContext("addEntry");
  return status(CMPI_RC_ERR_INVALID_HANDLE);
}
EightSlotTable deadTable = {
    {1, deadStatus, cloneContext, deadEntry, deadEntryAt, deadCount, deadAdd}, deadStatus};

/// Where the C record stands in a ContextObject.
std::size_t recordOffset() {
  static const std::size_t offset = [] {
    const ContextObject probe(ContextObject::Purpose::kCleanup, {}, "", ContextTable::kEightSlots);
    return static_cast<std::size_t>(
        reinterpret_cast<const char*>(static_cast<const CMPIContext*>(&probe)) -
        reinterpret_cast<const char*>(&probe));
  }();
  return offset;
}

/// Memory of dead contexts, oldest first. Never destroyed: threads may outlive main.
struct Graveyard {
  std::mutex mutex;
  std::deque<void*> memory;
};

void bury(void* memory) {
  static auto* graveyard = new Graveyard;
  const std::lock_guard<std::mutex> lock(graveyard->mutex);
  graveyard->memory.push_back(memory);
  if (graveyard->memory.size() <= kDeadContextsKept) return;
  ::operator delete(graveyard->memory.front());
  graveyard->memory.pop_front();
}

}  // namespace

ContextObject::ContextObject(Purpose purposeOfContext, std::weak_ptr<BrokerState> brokerOfContext,
                             std::string providerOfContext, ContextTable table)
    : CMPIContext{this, tableOf(table)},
      HeapEntry(ObjectKind::kContext),
      purpose(purposeOfContext),
      broker(std::move(brokerOfContext)),
      provider(std::move(providerOfContext)) {}

void* ContextObject::operator new(std::size_t size) { return ::operator new(size); }

void ContextObject::operator delete(void* memory) {
  new (static_cast<char*>(memory) + recordOffset()) CMPIContext{nullptr, &deadTable.standard};
  bury(memory);
}

const Value* contextEntry(const ContextObject& context, const std::string& name) {
  for (const auto& entry : context.entries) {
    if (entry.first == name) return &entry.second;
  }
  return nullptr;
}

void setContextEntry(ContextObject& context, const std::string& name, Value value) {
  const auto place = std::find_if(context.entries.begin(), context.entries.end(),
                                  [&name](const auto& entry) { return entry.first == name; });
  if (place != context.entries.end()) {
    place->second = std::move(value);
  } else {
    context.entries.emplace_back(name, std::move(value));
  }
}

CMPIContext* prepareContext(const CMPIContext* source) {
  const ContextObject* context = liveContext(source, "prepareAttachThread");
  if (context == nullptr) return nullptr;
  const auto broker = context->broker.lock();
  auto* copy =
      new ContextObject(ContextObject::Purpose::kPrepared, context->broker, context->provider,
                        broker ? broker->options.contextTable : ContextTable::kEightSlots);
  copy->entries = context->entries;
  return copy;
}

const ContextObject* liveContext(const CMPIContext* record, const char* use) {
  if (record == nullptr) {
    report("", "", std::string(use) + " without a context: a crash");
    return nullptr;
  }
  const CMPIContextFT* table = record->ft;
  if (table == &deadTable.standard) {
    reportDeadContext(use);
    return nullptr;
  }
  if (table == &eightSlots.standard || table == &sevenSlots.standard ||
      table == &sevenSlotsNull.standard) {
    return static_cast<const ContextObject*>(record);
  }
  report("", "", std::string(use) + " with a context that the broker did not make: a crash");
  return nullptr;
}

}  // namespace orv::broker
