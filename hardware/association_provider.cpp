// The associations of the hardware classes: those of the computer system with its parts, and those
// of parts with one another.

#include <algorithm>
#include <optional>

#include "cmpi/cmpi_reference.h"
#include "framework/factories.h"
#include "framework/object_identity.h"
#include "framework/simple_association_mi.h"
#include "framework/text.h"
#include "hardware/hardware_paths.h"
#include "hardware/relations.h"

namespace Hardware {
namespace {

using ORV::isGiven;
using ORV::passesFilter;
using ORV::sameName;

CmpiObjectPath pathOf(const End& end, const std::string& nameSpace,
                      const ORV::ScopingKeys& system) {
  return end.isSystem() ? systemPath(nameSpace, system)
                        : elementPath(nameSpace, system, *end.row, end.id);
}

bool wantsAll(const char*) { return true; }

CmpiObjectPath linkPath(const Association& association, const std::string& nameSpace,
                        const CmpiObjectPath& left, const CmpiObjectPath& right) {
  CmpiObjectPath path(nameSpace.c_str(), association.className);
  path.setKey(association.leftRole, left);
  path.setKey(association.rightRole, right);
  return path;
}

CmpiInstance linkInstance(const Association& association, const std::string& nameSpace,
                          const CmpiObjectPath& left, const CmpiObjectPath& right,
                          const char** properties) {
  CmpiInstance instance(CmpiObjectPath(nameSpace.c_str(), association.className));
  const char* keys[] = {association.leftRole, association.rightRole, nullptr};
  instance.setPropertyFilter(properties, keys);
  instance.setProperty(association.leftRole, left);
  instance.setProperty(association.rightRole, right);
  return instance;
}

Wanted isOneOfClasses(const std::string& first, const std::string& second) {
  return [=](const char* className) {
    return sameName(className, first.c_str()) || sameName(className, second.c_str());
  };
}

// ---- References of an object ----

/// The filters of one request; null or empty restricts nothing.
struct Filters {
  const char* assocClass;
  const char* resultClass;
  const char* role;
  const char* resultRole;
};

bool isForeign(const Association& association, const std::string& className) {
  for (auto foreign = association.foreignClasses; *foreign != nullptr; ++foreign) {
    if (sameName(*foreign, className.c_str())) return true;
  }
  return false;
}

/// The ends of an association at which the object that a request names can be.
struct Places {
  bool left = false;
  bool right = false;
};

Places placesOf(const Association& association, const std::string& className) {
  const HardwareClass* row = findHardwareClass(className);
  if (row == nullptr && !sameName(className.c_str(), kSystemClass)) {
    return {false, isForeign(association, className)};
  }
  return {association.canBeLeft(row), association.canBeRight(row)};
}

/// The places that the role filters allow.
Places withRoles(const Association& association, Places places, const Filters& filters) {
  const bool asLeft = passesFilter(filters.role, association.leftRole) &&
                      passesFilter(filters.resultRole, association.rightRole);
  const bool asRight = passesFilter(filters.role, association.rightRole) &&
                       passesFilter(filters.resultRole, association.leftRole);
  return {places.left && asLeft, places.right && asRight};
}

bool isA(const std::string& nameSpace, const char* className, const char* wanted) {
  return !isGiven(wanted) || CmpiObjectPath(nameSpace.c_str(), className).classPathIsA(wanted);
}

/// Whether an object of a class that `isResult` accepts can be at that end.
bool canBeResult(bool (*canBeEnd)(const HardwareClass*), const char* const* foreignClasses,
                 const Wanted& isResult) {
  if (canBeEnd(nullptr) && isResult(kSystemClass)) return true;
  for (auto foreign = foreignClasses; *foreign != nullptr; ++foreign) {
    if (isResult(*foreign)) return true;
  }
  const auto classes = hardwareClasses();
  return std::any_of(classes.begin(), classes.end(), [&](const HardwareClass& row) {
    return canBeEnd(&row) && isResult(row.className);
  });
}

/// The places that the result class allows.
Places withResults(const Association& association, Places places, const Wanted& isResult) {
  constexpr const char* kNoForeignClasses[] = {nullptr};
  return {places.left && canBeResult(association.canBeRight, association.foreignClasses, isResult),
          places.right && canBeResult(association.canBeLeft, kNoForeignClasses, isResult)};
}

class AssociationProvider : public virtual CmpiInstanceMI, public virtual OMC::SimpleAssociationMI {
 public:
  AssociationProvider(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context),
        CmpiInstanceMI(mbp, context),
        OMC::SimpleAssociationMI(mbp, context) {}

  CmpiStatus enumInstanceNames(const CmpiContext& context, CmpiResult& result,
                               const CmpiObjectPath& path) override {
    return returnLinks(context, result, path, linkPath);
  }

  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override {
    return returnLinks(context, result, path,
                       [&](const auto&... link) { return linkInstance(link..., properties); });
  }

  CmpiStatus getInstance(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         const char** properties) override {
    const Association* association = findAssociation(ORV::classNameOf(path));
    if (association == nullptr) return CMPI_RC_ERR_INVALID_CLASS;
    const CmpiObjectPath left = ORV::referenceKey(path, association->leftRole);
    const CmpiObjectPath right = ORV::referenceKey(path, association->rightRole);
    if (left.isNull() || right.isNull()) return CMPI_RC_ERR_INVALID_PARAMETER;

    const std::string nameSpace = ORV::nameSpaceOf(path);
    const std::string wantedLeft = ORV::objectIdentity(left, nameSpace);
    const std::string wantedRight = ORV::objectIdentity(right, nameSpace);
    const Wanted named = isOneOfClasses(ORV::classNameOf(left), ORV::classNameOf(right));
    std::optional<CmpiInstance> found;
    forEachLink(context, nameSpace, *association, named, [&](const auto& l, const auto& r) {
      if (found || ORV::objectIdentity(l, nameSpace) != wantedLeft) return;
      if (ORV::objectIdentity(r, nameSpace) != wantedRight) return;
      found = linkInstance(*association, nameSpace, l, r, properties);
    });
    if (!found) return CMPI_RC_ERR_NOT_FOUND;
    result.returnData(*found);
    result.returnDone();
    return CMPI_RC_OK;
  }

 protected:
  CmpiStatus doReferences(const CmpiContext& context, CmpiResult& result,
                          const CmpiObjectPath& path, const char* assocClass,
                          const char* resultClass, const char* role,
                          const char* resultRole) override {
    const Filters filters{assocClass, resultClass, role, resultRole};
    const std::string nameSpace = ORV::nameSpaceOf(path);
    const std::string className = ORV::classNameOf(path);
    const Wanted isResult = [&](const char* name) { return isA(nameSpace, name, resultClass); };
    // From the system only parts that can be results are looked for; from a part, only parts of its
    // own class.
    const Wanted isOfClass = isOneOfClasses(className, className);
    const Wanted& wanted = sameName(className.c_str(), kSystemClass) ? isResult : isOfClass;
    for (const Association& association : associations()) {
      Places places = withRoles(association, placesOf(association, className), filters);
      if (!places.left && !places.right) continue;
      if (!isA(nameSpace, association.className, assocClass)) continue;
      places = withResults(association, places, isResult);
      if (!places.left && !places.right) continue;
      // Keys are read only now: an object manager asks about objects of any class, and may crash
      // when the keys of some paths are read.
      const std::string source = ORV::objectIdentity(path, nameSpace);
      const auto returnReference = [&](const CmpiObjectPath& left, const CmpiObjectPath& right) {
        const bool fromLeft = places.left && ORV::objectIdentity(left, nameSpace) == source;
        const bool fromRight = places.right && ORV::objectIdentity(right, nameSpace) == source;
        if (!fromLeft && !fromRight) return;
        const CmpiObjectPath& other = fromLeft ? right : left;
        if (isGiven(resultClass) && !other.classPathIsA(resultClass)) return;
        result.returnData(linkInstance(association, nameSpace, left, right, nullptr));
      };
      forEachLink(context, nameSpace, association, wanted, returnReference);
    }
    result.returnDone();
    return CMPI_RC_OK;
  }

 private:
  /// Returns what `make` makes of each link of the requested class.
  template <typename Make>
  CmpiStatus returnLinks(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         Make make) const {
    const Association* association = findAssociation(ORV::classNameOf(path));
    if (association == nullptr) return CMPI_RC_ERR_INVALID_CLASS;
    const std::string nameSpace = ORV::nameSpaceOf(path);
    forEachLink(context, nameSpace, *association, wantsAll, [&](const auto&... ends) {
      result.returnData(make(*association, nameSpace, ends...));
    });
    result.returnDone();
    return CMPI_RC_OK;
  }

  /// Calls `visit` with both paths of each pair that the association relates, without the elements
  /// of the system that are not wanted.
  template <typename Visit>
  void forEachLink(const CmpiContext& context, const std::string& nameSpace,
                   const Association& association, const Wanted& wanted, Visit visit) const {
    const ORV::ScopingKeys system = ORV::scopingKeys(context, broker);
    for (const Pair& pair : association.pairs(wanted)) {
      leavingOutUncarriable([&] {
        visit(pathOf(pair.left, nameSpace, system), pathOf(pair.right, nameSpace, system));
      });
    }
    forEachForeignLink(context, nameSpace, association, wanted, systemPath(nameSpace, system),
                       visit);
  }

  /// The names come from the other library's provider, by an up-call, which fails where there is no
  /// such provider.
  template <typename Visit>
  void forEachForeignLink(const CmpiContext& context, const std::string& nameSpace,
                          const Association& association, const Wanted& wanted,
                          const CmpiObjectPath& system, Visit visit) const {
    for (auto foreign = association.foreignClasses; *foreign != nullptr; ++foreign) {
      if (!wanted(*foreign)) continue;
      std::vector<CmpiObjectPath> devices;
      try {
        const CmpiObjectPath all(nameSpace.c_str(), *foreign);
        const CmpiEnumeration names = broker->enumInstanceNames(context, all);
        while (names.hasNext()) {
          const auto device = static_cast<CmpiObjectPath>(names.getNext());
          if (!device.isNull()) devices.push_back(device);
        }
      } catch (const CmpiStatus&) {
        // Nobody serves the class here.
      }
      for (const CmpiObjectPath& device : devices) {
        leavingOutUncarriable([&] { visit(system, device); });
      }
    }
  }
};

}  // namespace
}  // namespace Hardware

ORV_PROVIDER_BASE(OrvaneHostAssociations);
ORV_INSTANCE_FACTORY(OrvaneHostAssociations, Hardware::AssociationProvider)
ORV_ASSOCIATION_FACTORY(OrvaneHostAssociations, Hardware::AssociationProvider)
