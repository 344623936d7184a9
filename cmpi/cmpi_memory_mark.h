#pragma once

#include "cmpi/abi/cmpi_tables.h"
#include "cmpi/cmpi_broker.h"

/// Frees at its end what the calling thread has made through the broker during its life. None of
/// these objects, texts of statuses included, may be used afterwards. Does nothing where the broker
/// has no such service.
class CmpiMemoryMark {
 public:
  explicit CmpiMemoryMark(const CmpiBroker& broker) : broker_(broker.getEnc()) {
    if (!available()) return;
    CMPIStatus status{CMPI_RC_OK, nullptr};
    mark_ = broker_->mft->mark(broker_, &status);
  }
  ~CmpiMemoryMark() {
    if (mark_ != nullptr) broker_->mft->release(broker_, mark_);
  }
  CmpiMemoryMark(const CmpiMemoryMark&) = delete;
  CmpiMemoryMark& operator=(const CmpiMemoryMark&) = delete;

 private:
  bool available() const {
    const CMPIBrokerMemFT* table = broker_->mft;
    return table != nullptr && table->mark != nullptr && table->release != nullptr;
  }

  const CMPIBroker* broker_;
  CMPIGcStat* mark_ = nullptr;
};
