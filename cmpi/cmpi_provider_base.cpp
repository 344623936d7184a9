#include "cmpi/cmpi_provider_base.h"

#include <mutex>

#include "cmpi/cmpi_status.h"

namespace {

std::atomic<const CMPIBroker*> currentBroker{nullptr};

bool sameRecord(const CMPIBroker& a, const CMPIBroker& b) {
  return a.hdl == b.hdl && a.bft == b.bft && a.eft == b.eft && a.xft == b.xft && a.mft == b.mft;
}

}  // namespace

const CMPIBroker* CmpiProviderBase::getBroker() {
  return currentBroker.load(std::memory_order_acquire);
}

void CmpiProviderBase::setBroker(const CMPIBroker* broker) {
  struct Record {
    CMPIBroker broker;
    const Record* next;
  };
  static std::mutex mutex;                 // guards `records`
  static const Record* records = nullptr;  // never freed: another thread may be reading one

  if (broker == nullptr) return;
  const std::lock_guard<std::mutex> lock(mutex);
  const Record* record = records;
  while (record != nullptr && !sameRecord(record->broker, *broker)) record = record->next;
  if (record == nullptr) record = records = new Record{*broker, records};
  currentBroker.store(&record->broker, std::memory_order_release);
}

const CMPIBroker* requireBroker() {
  const CMPIBroker* broker = CmpiProviderBase::getBroker();
  if (broker == nullptr) throw CmpiStatus(CMPI_RC_ERR_FAILED);
  return broker;
}
