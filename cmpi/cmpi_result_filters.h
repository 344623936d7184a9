#pragma once

#include "cmpi/cmpi_broker.h"
#include "cmpi/cmpi_result.h"

/// A CmpiResult whose record is part of the object, so that a derived class receives what a
/// provider returns; the broker never sees the record. Borrows the inner result and lives no longer
/// than one operation. A status that a sink answers is thrown by CmpiResult, as usual.
class CmpiResultFilter : public CmpiResult {
 public:
  CmpiResultFilter(const CmpiResultFilter&) = delete;
  CmpiResultFilter& operator=(const CmpiResultFilter&) = delete;

 protected:
  explicit CmpiResultFilter(const CmpiResult& inner) : CmpiResult(&record_), inner_(inner) {
    record_.hdl = this;
    record_.ft = functionTable();
  }
  virtual ~CmpiResultFilter() = default;

  // What the sink does with an instance, with a path, and at the end. Default: passes it on.
  virtual CMPIStatus onInstance(const CMPIInstance* instance);
  virtual CMPIStatus onObjectPath(const CMPIObjectPath* path);
  virtual CMPIStatus onDone();

  const CMPIResult* inner() const { return inner_.getEnc(); }

 private:
  struct Slots;
  static CMPIResultFT* functionTable();

  CmpiResult inner_;
  CMPIResult record_{};
};

/// Turns each returned instance into its object path.
class CmpiResultInstanceToPathFilter : public CmpiResultFilter {
 public:
  explicit CmpiResultInstanceToPathFilter(const CmpiResult& inner) : CmpiResultFilter(inner) {}

 private:
  CMPIStatus onInstance(const CMPIInstance* instance) override;
};

/// Turns each returned object path into the instance, which the broker fetches with the given
/// property list. The up-call may re-enter the same provider in this thread.
class CmpiResultPathToInstanceFilter : public CmpiResultFilter {
 public:
  CmpiResultPathToInstanceFilter(const CmpiResult& inner, const CmpiContext& context,
                                 const CmpiBroker& broker, const char** properties)
      : CmpiResultFilter(inner), context_(context), broker_(broker), properties_(properties) {}

 private:
  CMPIStatus onObjectPath(const CMPIObjectPath* path) override;

  CmpiContext context_;
  CmpiBroker broker_;
  const char** properties_;
};
