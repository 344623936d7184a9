// The host's computer system, whose health is that of the worst of its hardware.

#include <algorithm>
#include <vector>

#include "cmpi/cmpi_array.h"
#include "framework/factories.h"
#include "framework/text.h"
#include "hardware/hardware_classes.h"
#include "hardware/hardware_paths.h"

namespace Hardware {
namespace {

bool isServed(const CmpiObjectPath& path) {
  return ORV::sameName(ORV::classNameOf(path).c_str(), kSystemClass);
}

/// The worst health of all elements, with the words of every element that has it, each after the
/// element's name.
Judgement worstOfAll() {
  Judgement worst;
  for (const HardwareClass& row : hardwareClasses()) {
    for (const Element& element : row.elements(Query{})) {
      const Judgement& judgement = element.judgement;
      if (judgement.health <= kOk || judgement.health < worst.health) continue;
      if (judgement.health > worst.health) worst = {judgement.health, {}};
      for (const std::string& words : judgement.words) {
        worst.words.push_back(element.name + ": " + words);
      }
    }
  }
  return worst;
}

struct IdentifyingText {
  const char* description;
  std::string System::*text;
};
constexpr IdentifyingText kIdentifyingTexts[] = {
    {"Vendor", &System::vendor},
    {"Product", &System::product},
    {"Version", &System::version},
    {"Serial number", &System::serialNumber},
    {"UUID", &System::uuid},
    {"Firmware", &System::firmware},
    {"Kernel release", &System::kernelRelease},
    {"Operating system", &System::operatingSystem},
};

void setIdentity(CmpiInstance& instance, const System& facts) {
  std::vector<std::string> texts;
  std::vector<std::string> descriptions;
  for (const IdentifyingText& row : kIdentifyingTexts) {
    if ((facts.*row.text).empty()) continue;
    texts.push_back(facts.*row.text);
    descriptions.emplace_back(row.description);
  }
  setTexts(instance, "OtherIdentifyingInfo", texts);
  setTexts(instance, "IdentifyingDescriptions", descriptions);
}

/// Product and operating system, as far as they are known, cut to the 64 characters of a caption.
std::string captionOf(const System& facts) {
  std::string caption = facts.product;
  if (!caption.empty() && !facts.operatingSystem.empty()) caption += ", ";
  caption += facts.operatingSystem;
  std::size_t size = std::min<std::size_t>(caption.size(), 64);
  const auto insideCharacter = [&] {  // of UTF-8
    return size < caption.size() && (static_cast<unsigned char>(caption[size]) & 0xC0) == 0x80;
  };
  while (size > 0 && insideCharacter()) --size;
  return caption.substr(0, size);
}

CmpiInstance systemInstance(const std::string& nameSpace, const ORV::ScopingKeys& system,
                            const char** properties) {
  constexpr CMPIUint16 kEnabled = 2;
  constexpr CMPIUint16 kNotApplicable = 12;
  CmpiInstance instance(systemPath(nameSpace, system));
  const char* keys[] = {"CreationClassName", "Name", nullptr};
  instance.setPropertyFilter(properties, keys);
  instance.setProperty("CreationClassName", system.systemCreationClassName.c_str());
  instance.setProperty("Name", system.systemName.c_str());
  const System facts = Hardware::system();
  instance.setProperty("ElementName", system.systemName.c_str());
  instance.setProperty("Caption", captionOf(facts).c_str());
  instance.setProperty("NameFormat", "HostName");
  instance.setProperty("EnabledState", kEnabled);
  instance.setProperty("RequestedState", kNotApplicable);
  setHealth(instance, worstOfAll());
  setIdentity(instance, facts);
  return instance;
}

/// Whether the path names this system; host names are compared without regard to case. A null name
/// is that of a host without one.
bool namesThisSystem(const CmpiObjectPath& path, const ORV::ScopingKeys& system) {
  const CmpiData name = path.getKey("Name");
  if (!name.isText()) return false;
  return ORV::sameName(ORV::textOf(name).value_or("").c_str(), system.systemName.c_str());
}

class ComputerSystemProvider : public CmpiInstanceMI {
 public:
  ComputerSystemProvider(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context), CmpiInstanceMI(mbp, context) {}

  CmpiStatus enumInstanceNames(const CmpiContext& context, CmpiResult& result,
                               const CmpiObjectPath& path) override {
    if (!isServed(path)) return CMPI_RC_ERR_INVALID_CLASS;
    result.returnData(systemPath(ORV::nameSpaceOf(path), ORV::scopingKeys(context, broker)));
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override {
    if (!isServed(path)) return CMPI_RC_ERR_INVALID_CLASS;
    result.returnData(
        systemInstance(ORV::nameSpaceOf(path), ORV::scopingKeys(context, broker), properties));
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus getInstance(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         const char** properties) override {
    if (!isServed(path)) return CMPI_RC_ERR_INVALID_CLASS;
    const ORV::ScopingKeys system = ORV::scopingKeys(context, broker);
    if (!namesThisSystem(path, system)) return CMPI_RC_ERR_NOT_FOUND;
    result.returnData(systemInstance(ORV::nameSpaceOf(path), system, properties));
    result.returnDone();
    return CMPI_RC_OK;
  }
};

}  // namespace
}  // namespace Hardware

ORV_PROVIDER_BASE(OrvaneHostSystem);
ORV_INSTANCE_FACTORY(OrvaneHostSystem, Hardware::ComputerSystemProvider)
