#include "framework/factories.h"

#include <cstdio>
#include <typeinfo>

namespace ORV {

void initializeProvider(CmpiBaseMI& provider, const CmpiContext& context) {
  try {
    provider.initialize(context);
  } catch (...) {
    // Deliberate (contract.md#failed-initialize): the object is kept and serves. It has logged why
    // it failed.
  }
}

void printStartLine() {
  std::fprintf(stderr, "--- _Create_InstanceMI() %s\n", typeid(CmpiBaseMI*).name());
}

}  // namespace ORV
