#include "hardware/hardware_paths.h"

#include <utility>
#include <vector>

#include "cmpi/cmpi_array.h"
#include "framework/text.h"

namespace Hardware {
namespace {

using Keys = std::vector<std::pair<const char*, std::string>>;

/// The keys of an element; the last one is its id.
Keys keysOf(const ORV::ScopingKeys& system, const HardwareClass& row, const std::string& id) {
  switch (row.keys) {
    case KeyKind::kDevice:
      return {{"SystemCreationClassName", system.systemCreationClassName},
              {"SystemName", system.systemName},
              {"CreationClassName", row.className},
              {"DeviceID", id}};
    case KeyKind::kPhysical:
      return {{"CreationClassName", row.className}, {"Tag", id}};
    case KeyKind::kPool:
      return {{"InstanceID", id}};
  }
  return {};
}

CmpiObjectPath pathWith(const std::string& nameSpace, const char* className, const Keys& keys) {
  CmpiObjectPath path(nameSpace.c_str(), className);
  for (const auto& [name, value] : keys) path.setKey(name, value.c_str());
  return path;
}

void setValue(CmpiInstance& instance, const char* name, const std::string& text) {
  instance.setProperty(name, text.c_str());
}
void setValue(CmpiInstance& instance, const char* name, bool flag) {
  instance.setProperty(name, CmpiBooleanData(flag));
}
void setValue(CmpiInstance& instance, const char* name, const std::vector<std::string>& texts) {
  setTexts(instance, name, texts);
}
template <typename Number>
void setValue(CmpiInstance& instance, const char* name, Number number) {
  instance.setProperty(name, CmpiData(number));
}

}  // namespace

CmpiObjectPath systemPath(const std::string& nameSpace, const ORV::ScopingKeys& system) {
  return pathWith(
      nameSpace, kSystemClass,
      {{"CreationClassName", system.systemCreationClassName}, {"Name", system.systemName}});
}

CmpiObjectPath elementPath(const std::string& nameSpace, const ORV::ScopingKeys& system,
                           const HardwareClass& row, const std::string& id) {
  return pathWith(nameSpace, row.className, keysOf(system, row, id));
}

std::string idOf(const CmpiObjectPath& path, const HardwareClass& row,
                 const ORV::ScopingKeys& system) {
  const Keys keys = keysOf(system, row, "");
  const std::optional<std::string> id = ORV::textKey(path, keys.back().first);
  if (!id) return "";
  for (const auto& [name, value] : keys) {
    if (name == keys.back().first) break;
    // Names are compared without regard to case. A key that the client left out is accepted.
    const std::optional<std::string> given = ORV::textKey(path, name);
    if (given && !ORV::sameName(given->c_str(), value.c_str())) return "";
  }
  return *id;
}

void setTexts(CmpiInstance& instance, const char* name, const std::vector<std::string>& texts) {
  CmpiArray array(static_cast<CMPICount>(texts.size()), CMPI_string);
  for (CMPICount i = 0; i < texts.size(); ++i) array[i] = CmpiData(texts[i].c_str());
  instance.setProperty(name, array);
}

void setHealth(CmpiInstance& instance, const Judgement& judgement) {
  instance.setProperty("HealthState", CMPIUint16{judgement.health});
  CmpiArray status(1, CMPI_uint16);
  status[0] = CmpiData(CMPIUint16{operationalStatusOf(judgement.health)});
  instance.setProperty("OperationalStatus", status);
  if (!judgement.words.empty()) setTexts(instance, "StatusDescriptions", judgement.words);
}

CmpiInstance elementInstance(const std::string& nameSpace, const ORV::ScopingKeys& system,
                             const HardwareClass& row, const Element& element,
                             const char** properties) {
  const Keys keys = keysOf(system, row, element.id);
  CmpiInstance instance(pathWith(nameSpace, row.className, keys));
  std::vector<const char*> keyNames;
  for (const auto& key : keys) keyNames.push_back(key.first);
  keyNames.push_back(nullptr);
  instance.setPropertyFilter(properties, keyNames.data());
  for (const auto& [name, value] : keys) instance.setProperty(name, value.c_str());
  instance.setProperty("ElementName", element.name.c_str());
  setHealth(instance, element.judgement);
  for (const auto& [name, value] : element.properties) {
    std::visit([&, property = name](const auto& v) { setValue(instance, property, v); }, value);
  }
  return instance;
}

}  // namespace Hardware
