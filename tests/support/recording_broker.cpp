#include "tests/support/recording_broker.h"

#include <chrono>
#include <memory>

#include "broker/mof_reader.h"
#include "cmpi/cmpi_provider_base.h"

namespace orv::test {
namespace {

RecordingBroker* current = nullptr;

broker::Broker::Options optionsWithSchema() {
  static const auto schema = std::make_shared<const broker::ClassRepository>(
      broker::loadSchema(std::string(ORV_SOURCE_DIR) + "/schema"));
  broker::Broker::Options options;
  options.namespaces["root/cimv2"] = schema;
  return options;
}

}  // namespace

RecordingBroker::RecordingBroker()
    : embedded_(optionsWithSchema()),
      scope_(embedded_),
      calls_(*broker::Broker::cmpi()->bft),
      record_(*broker::Broker::cmpi()),
      binding_(&record_) {
  calls_.deliverIndication = deliver;
  calls_.prepareAttachThread = prepareAttach;
  calls_.attachThread = attach;
  record_.bft = &calls_;
  current = this;
  CmpiProviderBase::setBroker(&record_);
}

RecordingBroker::~RecordingBroker() {
  CmpiProviderBase::setBroker(broker::Broker::cmpi());
  current = nullptr;
}

std::vector<Delivery> RecordingBroker::deliveries() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return deliveries_;
}

std::size_t RecordingBroker::deliveryCount() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return count_;
}

bool RecordingBroker::waitForDeliveries(std::size_t count) const {
  std::unique_lock<std::mutex> lock(mutex_);
  return changed_.wait_for(lock, std::chrono::minutes(5), [&] { return count_ >= count; });
}

void RecordingBroker::removeMemoryTable() {
  record_.mft = nullptr;
  CmpiProviderBase::setBroker(&record_);
}

CMPIStatus RecordingBroker::deliver(const CMPIBroker*, const CMPIContext*, const char* nameSpace,
                                    const CMPIInstance* indication) {
  RecordingBroker& self = *current;
  const std::size_t number = self.deliveryCount();
  const CMPIrc answer = self.onDelivery ? self.onDelivery(number) : CMPI_RC_OK;
  const std::lock_guard<std::mutex> lock(self.mutex_);
  if (self.keepDeliveries) {
    self.deliveries_.push_back({nameSpace, broker::RequestScope::copy(indication)});
  }
  ++self.count_;
  self.changed_.notify_all();
  return {answer, nullptr};
}

CMPIContext* RecordingBroker::prepareAttach(const CMPIBroker* broker, const CMPIContext* context) {
  if (current->preparesNone) return nullptr;
  ++current->preparedThreads_;
  return broker::Broker::cmpi()->bft->prepareAttachThread(broker, context);
}

CMPIStatus RecordingBroker::attach(const CMPIBroker* broker, const CMPIContext* context) {
  const CMPIrc answer = current->onAttach ? current->onAttach() : CMPI_RC_OK;
  if (answer != CMPI_RC_OK) return {answer, nullptr};
  ++current->attachedThreads_;
  return broker::Broker::cmpi()->bft->attachThread(broker, context);
}

}  // namespace orv::test
