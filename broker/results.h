#pragma once

#include <vector>

#include "broker/data.h"
#include "broker/heap.h"
#include "broker/instance_data.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// What a provider returned in one operation.
struct ResultSink {
  std::vector<InstanceData> instances;
  std::vector<PathData> paths;
  std::vector<Value> data;
  int doneCount = 0;
};

/// For whom a result is: the rules differ a little.
enum class ResultUse {
  kClientEnumeration,
  kClientGet,
  kUpCallEnumeration,
  kUpCallGet,
};

struct ResultObject : CMPIResult, HeapEntry {
  explicit ResultObject(ResultUse useOfResult);
  /// Null for a null pointer and, with a report, for a foreign record.
  static ResultObject* own(const CMPIResult* record);

  ResultSink sink;
  ResultUse use;
  std::size_t markDepth;  ///< open marks when the operation began
};

/// In the calling thread's memory; open the provider's mark after this.
ResultObject* makeResult(ResultUse use);

}  // namespace orv::broker
