#pragma once

#include "cmpi/cmpi_context.h"

namespace ORV {

/// The service behind the entry that some object managers have at index 7 of a context's function
/// table, one past the seven slots of the standard: it frees what an attached thread has made
/// through the broker.
///
/// A standard object manager has padding or another object of its own at that place. The word is
/// therefore looked at once, at construction, and taken for a function only when it is not null and
/// points into an executable segment of a loaded object. Construct it on the attached thread, when
/// the thread starts; the context must outlive it.
class AttachedThreadMemory {
 public:
  /// For a thread that is not attached: offers nothing.
  AttachedThreadMemory() : context_(nullptr), entry_(nullptr) {}
  explicit AttachedThreadMemory(const CmpiContext& context);

  /// Invokes the entry on the context and drops its status; does nothing where it is not offered.
  /// No broker object made on this thread since it attached may be used afterwards.
  void release() const;

 private:
  using Entry = CMPIStatus (*)(CMPIContext*);

  CmpiContext context_;
  Entry entry_;
};

}  // namespace ORV
