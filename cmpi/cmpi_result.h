#pragma once

#include "cmpi/cmpi_data.h"
#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_object.h"
#include "cmpi/cmpi_object_path.h"

/// Takes the objects that an operation returns, and copies each at once.
///
/// Operations throw the sink's CmpiStatus.
class CmpiResult : public CmpiObject {
 public:
  explicit CmpiResult(const CMPIResult* enc) : CmpiObject(enc) {}

  CMPIResult* getEnc() const { return static_cast<CMPIResult*>(enc_); }

  void returnData(const CmpiData& data) const;
  /// Instances and paths have slots of their own: a broker may end the process when one comes as
  /// plain data.
  void returnData(const CmpiInstance& instance) const;
  void returnData(const CmpiObjectPath& path) const;
  /// Says that the answer is complete.
  void returnDone() const;
};
