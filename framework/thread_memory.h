#pragma once

#include "cmpi/cmpi_context.h"

namespace ORV {

/// The service behind an entry that some object managers have at index 7 of a context's function
/// table, one past the seven slots of the standard. It frees what an attached thread has made
/// through the broker.
///
/// A standard object manager has padding or some other object there. So the word is looked at once,
/// in the constructor, and taken for a function only when it is not null and points into an
/// executable segment of a loaded object. Construct it on the attached thread, when the thread
/// starts. The context must outlive it.
class AttachedThreadMemory {
 public:
  /// For a thread that is not attached: offers nothing.
  AttachedThreadMemory() : context_(nullptr), entry_(nullptr) {}
  explicit AttachedThreadMemory(const CmpiContext& context);

  /// Calls the entry with the context and ignores its status; does nothing where there is none. No
  /// broker object that this thread has made since it attached may be used afterwards.
  void release() const;

 private:
  using Entry = CMPIStatus (*)(CMPIContext*);

  CmpiContext context_;
  Entry entry_;
};

}  // namespace ORV
