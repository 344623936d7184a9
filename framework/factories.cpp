#include "framework/factories.h"

namespace ORV {

void initializeProvider(CmpiBaseMI& provider, const CmpiContext& context) {
  try {
    provider.initialize(context);
  } catch (...) {
    // Deliberate: an object that failed to initialise is kept and serves; it has logged why. An
    // exception that left the factory would end the object manager's process.
  }
}

void printStartLine() {
  std::fprintf(stderr, "--- _Create_InstanceMI() %s\n", typeid(CmpiBaseMI*).name());
}

}  // namespace ORV
