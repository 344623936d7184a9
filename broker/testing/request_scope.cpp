#include "broker/testing/request_scope.h"

#include "broker/broker_state.h"
#include "broker/contexts.h"
#include "broker/data.h"
#include "broker/heap.h"
#include "broker/instances.h"
#include "broker/object_paths.h"
#include "broker/request_context.h"
#include "broker/results.h"
#include "broker/strings.h"
#include "broker/testing/reports.h"
#include "broker/testing/test_broker.h"
#include "broker/thread_state.h"

namespace orv::broker {
namespace {

/// A context table without the eighth slot, followed by other data.
struct SevenSlotTable {
  CMPIContextFT standard;
  const void* next;
};

const int neighbour = 1;

void useTable(CMPIContext& context, ContextTable table) {
  static SevenSlotTable sevenSlots{*context.ft, &neighbour};
  static SevenSlotTable sevenSlotsNull{*context.ft, nullptr};
  if (table == ContextTable::kSevenSlots) context.ft = &sevenSlots.standard;
  if (table == ContextTable::kSevenSlotsNull) context.ft = &sevenSlotsNull.standard;
}

}  // namespace

struct RequestScope::Impl {
  Impl(const std::shared_ptr<BrokerState>& broker, const std::string& provider,
       const std::string& className, ContextTable table)
      : binding(broker),
        frame(provider, className),
        context(makeRequestContext(*broker, provider, 0)) {
    useTable(*context, table);
  }

  BrokerBinding binding;
  ThreadReports reports;
  HeapScope ownMemory;  // of the scope: its context and results
  ProviderFrame frame;
  CMPIContext* context;
  HeapScope providerMemory;  // what is made in the scope
};

RequestScope::RequestScope(TestBroker& broker, const std::string& providerName,
                           const std::string& className)
    : impl_(
          std::make_unique<Impl>(broker.state(), providerName, className, broker.contextTable())) {}

RequestScope::~RequestScope() = default;

const CMPIContext* RequestScope::context() const { return impl_->context; }
const std::vector<Report>& RequestScope::reports() const { return impl_->reports.reports(); }

CMPIObjectPath* RequestScope::make(const ObjectPath& path) { return makePath(PathData::of(path)); }

CMPIInstance* RequestScope::make(const Instance& instance) {
  CMPIInstance* made = newInstance(make(instance.path), nullptr);
  auto& data = InstanceObject::own(made)->data;
  for (const Property& property : instance.properties) data.set(property.name, property.value);
  return made;
}

ObjectPath RequestScope::copy(const CMPIObjectPath* path) {
  const PathObject* own = PathObject::own(path);
  return own != nullptr ? own->data.toPlain() : ObjectPath();
}

Instance RequestScope::copy(const CMPIInstance* instance) {
  const InstanceObject* own = InstanceObject::own(instance);
  return own != nullptr ? own->data.toPlain() : Instance();
}

Value RequestScope::copy(const CMPIData& data) {
  if ((data.state & (CMPI_nullValue | CMPI_notFound | CMPI_badValue)) != 0) {
    return Value::ofNull(data.type);
  }
  if (data.type == CMPI_ref) {  // as it is, not as it would be stored
    return data.value.ref != nullptr ? Value::ofReference(copy(data.value.ref))
                                     : Value{CMPI_ref, false, {}};
  }
  if (data.type == CMPI_chars) {
    return data.value.chars != nullptr ? Value::ofString(data.value.chars)
                                       : Value::ofNull(CMPI_string);
  }
  return readValue(&data.value, data.type).value;
}

std::optional<std::string> RequestScope::copy(const CMPIString* text) { return textOf(text); }

struct RecordingResult::Impl {
  ResultObject result{ResultUse::kClientGet};
  mutable std::vector<Instance> instances;
  mutable std::vector<ObjectPath> paths;
};

RecordingResult::RecordingResult(RequestScope& /*scope*/) : impl_(std::make_unique<Impl>()) {}
RecordingResult::~RecordingResult() = default;

const CMPIResult* RecordingResult::record() const { return &impl_->result; }

const std::vector<Instance>& RecordingResult::instances() const {
  impl_->instances.clear();
  for (const InstanceData& data : impl_->result.sink.instances)
    impl_->instances.push_back(data.toPlain());
  return impl_->instances;
}

const std::vector<ObjectPath>& RecordingResult::paths() const {
  impl_->paths.clear();
  for (const PathData& data : impl_->result.sink.paths) impl_->paths.push_back(data.toPlain());
  return impl_->paths;
}

const std::vector<Value>& RecordingResult::data() const { return impl_->result.sink.data; }
int RecordingResult::doneCount() const { return impl_->result.sink.doneCount; }

}  // namespace orv::broker
