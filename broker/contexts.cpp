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

std::atomic<std::size_t> liveContexts{0};

/// The standard's seven slots, and one more.
struct EightSlotTable {
  CMPIContextFT standard;
  CMPIStatus (*freeThreadObjects)(CMPIContext*);
};
static_assert(sizeof(CMPIContextFT) == 7 * sizeof(void*), "seven slots");
static_assert(offsetof(EightSlotTable, freeThreadObjects) == 7 * sizeof(void*), "index 7");

CMPIStatus releaseContext(CMPIContext* self) {
  ContextObject* context = liveContext(self, "release");
  if (context == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  if (context->heap() != nullptr) {
    report("", "", "releases the context of its request: used by the broker afterwards");
    return status(CMPI_RC_ERR_FAILED);
  }
  context->free();
  return status(CMPI_RC_OK);
}

CMPIContext* cloneContext(const CMPIContext* /*self*/, CMPIStatus* out) {
  answer(out, CMPI_RC_ERR_NOT_SUPPORTED);
  return nullptr;
}

/// Deliberate (contract.md#missing-entry): state null, with a meaningless value.
CMPIData missingEntry(CMPIStatus* out) {
  answer(out, CMPI_RC_ERR_NO_SUCH_PROPERTY);
  CMPIData data{};
  std::memset(&data.value, 0xA5, sizeof data.value);
  data.state = CMPI_nullValue;
  return data;
}

CMPIData getEntry(const CMPIContext* self, const char* name, CMPIStatus* out) {
  const ContextObject* context = liveContext(self, "getEntry");
  const Value* value =
      context != nullptr && name != nullptr ? contextEntry(*context, name) : nullptr;
  if (value == nullptr) return missingEntry(out);
  answer(out, CMPI_RC_OK);
  return toData(*value);
}

CMPIData getEntryAt(const CMPIContext* self, CMPICount index, CMPIString** name, CMPIStatus* out) {
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
  ContextObject* context = liveContext(self, "addEntry");
  if (context == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  if (name == nullptr) return status(CMPI_RC_ERR_INVALID_PARAMETER);
  ReadValue read = readValue(value, type);
  if (!read.complaint.empty()) report("", name, "context entry: " + read.complaint);
  if (read.rc != CMPI_RC_OK) return status(read.rc);
  setContextEntry(*context, name, std::move(read.value));
  return status(CMPI_RC_OK);
}

CMPIStatus freeThreadObjects(CMPIContext* self) {
  const ContextObject* context = liveContext(self, "the eighth slot");
  if (context == nullptr) return status(CMPI_RC_ERR_INVALID_HANDLE);
  if (const auto broker = context->broker.lock()) ++broker->contextReleaseCalls;
  ThreadHeap::ofThisThread().freeInnermost();
  return status(CMPI_RC_OK);
}

EightSlotTable contextTable = {
    {1, releaseContext, cloneContext, getEntry, getEntryAt, slot<getEntryCount>, slot<addEntry>},
    slot<freeThreadObjects>};

/// The contexts that ended last. Never destroyed, because threads may outlive main.
struct DeadContexts {
  std::mutex mutex;  // guards list; nothing is locked while it is held
  std::deque<std::unique_ptr<ContextObject>> list;
};

/// Keeps a context that has ended; frees it at once when there is no memory for the list.
void keepDead(std::unique_ptr<ContextObject> context) try {
  static auto* dead = new DeadContexts;
  std::unique_ptr<ContextObject> oldest;  // destroyed after the mutex is unlocked
  const std::lock_guard<std::mutex> lock(dead->mutex);
  dead->list.push_back(std::move(context));
  if (dead->list.size() <= kDeadContextsKept) return;
  oldest = std::move(dead->list.front());
  dead->list.pop_front();
} catch (const std::bad_alloc&) {
}

}  // namespace

ContextObject::ContextObject(Purpose purposeOfContext, std::weak_ptr<BrokerState> brokerOfContext,
                             std::string providerOfContext)
    : CMPIContext{this, &contextTable.standard},
      purpose(purposeOfContext),
      broker(std::move(brokerOfContext)),
      provider(std::move(providerOfContext)) {
  ++liveContexts;
}

ContextObject::~ContextObject() {
  if (!dead) --liveContexts;
}

std::size_t ContextObject::countAlive() { return liveContexts; }

void ContextObject::free() {
  dead = true;
  --liveContexts;
  retire();
  broker.reset();
  entries = {};
  keepDead(std::unique_ptr<ContextObject>(this));
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
  auto copy = std::make_unique<ContextObject>(ContextObject::Purpose::kPrepared, context->broker,
                                              context->provider);
  copy->ft = context->ft;
  copy->entries = context->entries;
  return copy.release();
}

ContextObject* liveContext(const CMPIContext* record, const char* use) {
  if (record == nullptr) {
    report("", "", std::string(use) + " without a context: a crash");
    return nullptr;
  }
  // Recognised by one slot, so that a copy of the table is accepted too.
  if (record->ft == nullptr || record->ft->addEntry != contextTable.standard.addEntry) {
    report("", "", std::string(use) + " with a context that the broker did not make: a crash");
    return nullptr;
  }
  auto* context = const_cast<ContextObject*>(static_cast<const ContextObject*>(record));
  if (!context->dead) return context;
  report("", "",
         std::string("uses a context (") + use +
             ") after its request has ended or its thread has detached: freed memory");
  return nullptr;
}

}  // namespace orv::broker
