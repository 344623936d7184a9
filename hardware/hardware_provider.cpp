// Instances of the hardware classes, which all come from one table.

#include <algorithm>

#include "framework/factories.h"
#include "framework/text.h"
#include "hardware/hardware_classes.h"
#include "hardware/hardware_paths.h"

namespace Hardware {
namespace {

const HardwareClass* requestedClass(const CmpiObjectPath& path) {
  return findHardwareClass(ORV::classNameOf(path));
}

class HardwareProvider : public CmpiInstanceMI {
 public:
  HardwareProvider(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context), CmpiInstanceMI(mbp, context) {}

  CmpiStatus enumInstanceNames(const CmpiContext& context, CmpiResult& result,
                               const CmpiObjectPath& path) override {
    const HardwareClass* row = requestedClass(path);
    if (row == nullptr) return CMPI_RC_ERR_INVALID_CLASS;
    const std::string nameSpace = ORV::nameSpaceOf(path);
    const ORV::ScopingKeys system = ORV::scopingKeys(context, broker);
    for (const Element& element : row->elements(Query{false, ""})) {
      result.returnData(elementPath(nameSpace, system, *row, element.id));
    }
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override {
    const HardwareClass* row = requestedClass(path);
    if (row == nullptr) return CMPI_RC_ERR_INVALID_CLASS;
    const std::string nameSpace = ORV::nameSpaceOf(path);
    const ORV::ScopingKeys system = ORV::scopingKeys(context, broker);
    for (const Element& element : row->elements(Query{})) {
      result.returnData(elementInstance(nameSpace, system, *row, element, properties));
    }
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus getInstance(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         const char** properties) override {
    const HardwareClass* row = requestedClass(path);
    if (row == nullptr) return CMPI_RC_ERR_INVALID_CLASS;
    const ORV::ScopingKeys system = ORV::scopingKeys(context, broker);
    const std::string id = idOf(path, *row, system);
    if (id.empty()) return CMPI_RC_ERR_NOT_FOUND;
    const std::vector<Element> elements = row->elements(Query{true, id});
    const auto found = std::find_if(elements.begin(), elements.end(),
                                    [&](const Element& element) { return element.id == id; });
    if (found == elements.end()) return CMPI_RC_ERR_NOT_FOUND;
    result.returnData(elementInstance(ORV::nameSpaceOf(path), system, *row, *found, properties));
    result.returnDone();
    return CMPI_RC_OK;
  }
};

}  // namespace
}  // namespace Hardware

ORV_PROVIDER_BASE(OrvaneHostHardware);
ORV_INSTANCE_FACTORY(OrvaneHostHardware, Hardware::HardwareProvider)
