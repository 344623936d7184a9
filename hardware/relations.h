#pragma once

#include <functional>
#include <string>
#include <vector>

#include "hardware/hardware_classes.h"

/// Which elements belong together, as pairs of class and id: a pure function of the elements.
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

/// An association class: its two roles, and what is related by it.
struct Association {
  const char* className;
  const char* leftRole;
  const char* rightRole;
  /// Whether elements of the class can be at that end; null asks for the computer system.
  bool (*canBeLeft)(const HardwareClass* row);
  bool (*canBeRight)(const HardwareClass* row);
  /// Elements of the system that are not wanted are not looked for. Of elements among themselves
  /// all pairs come.
  std::vector<Pair> (*pairs)(const Wanted& wanted);
  /// Classes of other providers whose elements are parts of the system too, at the right end; ends
  /// with null.
  const char* const* foreignClasses;
};

ORV::Rows<Association> associations();

/// The association of a class name in any case; null when it is not ours.
const Association* findAssociation(const std::string& className);

}  // namespace Hardware
