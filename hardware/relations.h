#pragma once

#include <functional>
#include <string>
#include <vector>

#include "hardware/hardware_classes.h"

/// Which elements belong together, as pairs of class and id. The host is asked for the elements,
/// not for their health.
namespace Hardware {

/// One end of a relation. The computer system has no row and no id.
struct End {
  const HardwareClass* row = nullptr;
  std::string id;

  bool isSystem() const { return row == nullptr; }
};

struct Pair {
  End left;
  End right;
};

/// Whether elements of a class are wanted.
using Wanted = std::function<bool(const char* className)>;

/// An association class: its two roles, and the pairs that it relates.
struct Association {
  const char* className;
  const char* leftRole;
  const char* rightRole;
  /// Whether elements of the class can be at that end; null stands for the computer system.
  bool (*canBeLeft)(const HardwareClass* row);
  bool (*canBeRight)(const HardwareClass* row);
  /// The pairs. In an association with the system, elements that are not wanted are not looked for;
  /// in one between elements, all pairs are returned.
  std::vector<Pair> (*pairs)(const Wanted& wanted);
  /// Classes of other providers whose elements are also parts of the system, at the right end; the
  /// list ends with null.
  const char* const* foreignClasses;
};

/// All association classes.
ORV::Rows<Association> associations();

/// The association of a class, whose name may be in any case; null when it is not one of these.
const Association* findAssociation(const std::string& className);

}  // namespace Hardware
