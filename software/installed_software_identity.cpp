// Which hypervisor image is installed on the host's computer system: the running one. The image in
// the alternate boot bank is never associated.

#include <array>
#include <string>

#include "cmpi/cmpi_reference.h"
#include "cmpi/cmpi_result_filters.h"
#include "framework/factories.h"
#include "framework/simple_association_mi.h"
#include "framework/text.h"
#include "platform/computer_system.h"
#include "software/identity_instance.h"
#include "software/version_identity.h"

namespace OrvSoftware {

namespace {

constexpr const char* kAssociationClass = "Orvane_InstalledSoftwareIdentity";
constexpr const char* kSystemClass = "OMC_UnitaryComputerSystem";

/// The two references of the association, which are its keys.
constexpr const char* kSystemRole = "System";
constexpr const char* kSoftwareRole = "InstalledSoftware";

/// Deliberate (contract.md#system-namespace): in names and single instances the system's path has
/// this namespace; in references it has that of the request.
constexpr const char* kSystemNameSpace = "/root/cimv2";

/// One end of the association, as the filters of a request see it.
struct End {
  const char* role;        ///< of the object that the request starts from
  const char* otherRole;   ///< of the objects that it looks for
  const char* otherClass;  ///< of the objects that it looks for
};
constexpr End kSystemEnd = {kSystemRole, kSoftwareRole, kHypervisorIdentityClass};
constexpr End kSoftwareEnd = {kSoftwareRole, kSystemRole, kSystemClass};

bool isWanted(const End& end, const std::string& nameSpace, const char* resultClass,
              const char* role, const char* resultRole) {
  if (!ORV::passesFilter(role, end.role)) return false;
  if (!ORV::passesFilter(resultRole, end.otherRole)) return false;
  return !ORV::isGiven(resultClass) ||
         CmpiObjectPath(nameSpace.c_str(), end.otherClass).classPathIsA(resultClass);
}

bool isAlternateImage(const CmpiObjectPath& software) {
  return instanceIdOf(software).rfind(kAlternateIdentityPrefix, 0) == 0;
}

/// The image that a request names; null when the key is absent, null or not a reference. A path
/// without a namespace is given the request's.
CmpiObjectPath softwareKey(const CmpiObjectPath& request) {
  CmpiObjectPath software = ORV::referenceKey(request, kSoftwareRole);
  if (!software.isNull() && ORV::nameSpaceOf(software).empty()) {
    software.setNameSpace(ORV::nameSpaceOf(request).c_str());
  }
  return software;
}

/// At most 127 characters of a text, in a buffer of the provider object.
using ShortText = std::array<char, 128>;

void assign(ShortText& field, const std::string& text) {
  field.fill('\0');
  text.copy(field.data(), field.size() - 1);
}

class OrvaneInstalledSoftwareIdentity : public virtual CmpiInstanceMI,
                                        public virtual OMC::SimpleAssociationMI {
 public:
  OrvaneInstalledSoftwareIdentity(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context),
        CmpiInstanceMI(mbp, context),
        OMC::SimpleAssociationMI(mbp, context) {}

  CmpiStatus enumInstanceNames(const CmpiContext& context, CmpiResult& result,
                               const CmpiObjectPath& path) override {
    if (!path.classPathIsA(kAssociationClass)) return CMPI_RC_OK;
    const std::string nameSpace = ORV::nameSpaceOf(path);
    const std::string className = ORV::classNameOf(path);
    const CmpiObjectPath system = systemPath(kSystemNameSpace);
    forEachInstalled(context, result, nameSpace, [&](const CmpiObjectPath& software) {
      CmpiObjectPath name(nameSpace.c_str(), className.c_str());
      name.setKey(kSystemRole, system);
      name.setKey(kSoftwareRole, software);
      result.returnData(name);
    });
    return CMPI_RC_OK;
  }

  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override {
    // The broker calls getInstance for each name, in this thread.
    CmpiResultPathToInstanceFilter instances(result, context, *broker, properties);
    return enumInstanceNames(context, instances, path);
  }

  CmpiStatus getInstance(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         const char** properties) override {
    if (!path.classPathIsA(kAssociationClass)) return CMPI_RC_OK;
    const CmpiObjectPath software = softwareKey(path);
    if (software.isNull() || !software.classPathIsA(kHypervisorIdentityClass)) return CMPI_RC_OK;
    try {
      broker->getInstance(context, software, nullptr);
    } catch (const CmpiStatus& status) {
      return status;
    }
    const char* keys[] = {kSystemRole, kSoftwareRole, nullptr};
    CmpiInstance instance(path);
    instance.setPropertyFilter(properties, keys);
    instance.setProperty(kSystemRole, systemPath(kSystemNameSpace));
    instance.setProperty(kSoftwareRole, software);
    result.returnData(instance);
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus initialize(const CmpiContext& context) override {
    assign(systemClassName_, OMC::getComputerSystemClassName());
    assign(systemName_, OMC::getComputerSystemName(context, broker));
    return CMPI_RC_OK;
  }

 protected:
  /// Ignores `assocClass`: this provider serves only one association class.
  CmpiStatus doReferences(const CmpiContext& context, CmpiResult& result,
                          const CmpiObjectPath& path, const char* /*assocClass*/,
                          const char* resultClass, const char* role,
                          const char* resultRole) override {
    const std::string nameSpace = ORV::nameSpaceOf(path);
    if (path.classPathIsA(kSystemClass)) {
      if (!isWanted(kSystemEnd, nameSpace, resultClass, role, resultRole)) return CMPI_RC_OK;
      requireCarriable(path);
      forEachInstalled(context, result, nameSpace, [&](const CmpiObjectPath& software) {
        returnReference(result, nameSpace, path, software);
      });
    } else if (path.classPathIsA(kHypervisorIdentityClass)) {
      if (!isWanted(kSoftwareEnd, nameSpace, resultClass, role, resultRole)) return CMPI_RC_OK;
      if (isAlternateImage(path)) return CMPI_RC_OK;
      requireCarriable(path);
      leavingOutUncarriable(
          [&] { returnReference(result, nameSpace, systemPath(nameSpace.c_str()), path); });
      result.returnDone();
    }
    return CMPI_RC_OK;
  }

 private:
  CmpiObjectPath systemPath(const char* nameSpace) const {
    CmpiObjectPath path(nameSpace, kSystemClass);
    path.setKey("Name", systemName_.data());
    path.setKey("CreationClassName", systemClassName_.data());
    return path;
  }

  /// Calls `visit` for the path of each image that may be associated, then `returnDone`; does
  /// neither when the broker knows no image. The paths come from the provider of the images, by an
  /// up-call.
  template <typename Visit>
  void forEachInstalled(const CmpiContext& context, const CmpiResult& result,
                        const std::string& nameSpace, Visit visit) const {
    const CmpiObjectPath images(nameSpace.c_str(), kHypervisorIdentityClass);
    const CmpiEnumeration names = broker->enumInstanceNames(context, images);
    if (!names.hasNext()) return;
    while (names.hasNext()) {
      const auto software = static_cast<CmpiObjectPath>(names.getNext());
      if (software.isNull() || isAlternateImage(software)) continue;
      leavingOutUncarriable([&] { visit(software); });
    }
    result.returnDone();
  }

  void returnReference(const CmpiResult& result, const std::string& nameSpace,
                       const CmpiObjectPath& system, const CmpiObjectPath& software) const {
    CmpiInstance instance(CmpiObjectPath(nameSpace.c_str(), kAssociationClass));
    instance.setProperty(kSystemRole, system);
    instance.setProperty(kSoftwareRole, software);
    result.returnData(instance);
  }

  // Written once, by initialize.
  ShortText systemClassName_{};
  ShortText systemName_{};
};

}  // namespace

}  // namespace OrvSoftware

ORV_PROVIDER_BASE(OrvaneInstalledSoftwareIdentity);
ORV_INSTANCE_FACTORY(OrvaneInstalledSoftwareIdentity, OrvSoftware::OrvaneInstalledSoftwareIdentity)
ORV_ASSOCIATION_FACTORY(OrvaneInstalledSoftwareIdentity,
                        OrvSoftware::OrvaneInstalledSoftwareIdentity)
