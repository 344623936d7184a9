#pragma once

#include "cmpi/abi/cmpi_tables.h"

/// Base of the handle classes around the broker's objects.
///
/// A handle neither owns nor releases its object: objects belong to the broker's memory for the
/// calling thread and end with the request (or with an enclosing CmpiMemoryMark). Copies share the
/// object. Use a handle only on the thread that got it.
class CmpiObject {
 public:
  bool isNull() const { return enc_ == nullptr; }

 protected:
  CmpiObject() = default;
  explicit CmpiObject(const void* enc) : enc_(const_cast<void*>(enc)) {}

  void* enc_ = nullptr;
};

using CmpiBoolean = CMPIBoolean;
using CmpiRc = CMPIrc;
