#pragma once

#include <vector>

#include "broker/data.h"
#include "broker/instance_data.h"
#include "broker/object_tools.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// What one provider has returned in one operation.
struct ResultSink {
  std::vector<InstanceData> instances;
  std::vector<PathData> paths;
  std::vector<Value> data;
  int doneCount = 0;
};

/// The purpose of a result, on which some rules depend.
enum class ResultUse {
  kClientEnumeration,
  kClientGet,
  kUpCallEnumeration,
  kUpCallGet,
};

struct ResultObject : BrokerObject<ResultObject, CMPIResult> {
  static constexpr const char* kKind = "result";
  static CMPIResultFT table;

  explicit ResultObject(ResultUse useOfResult);

  ResultSink sink;
  ResultUse use;
  std::size_t markDepth;  ///< number of open marks when the provider is called
};

/// In the calling thread's memory. Called before the provider's own mark is opened.
ResultObject* makeResult(ResultUse use);

}  // namespace orv::broker
