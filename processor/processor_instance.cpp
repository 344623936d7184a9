#include "processor/processor_instance.h"

#include <charconv>

#include "cmpi/cmpi_array.h"

namespace OrvProcessor {

namespace {

constexpr std::uint16_t kOperationalStatusOk = 2;
constexpr std::uint16_t kCharacteristicEnabled = 2;
constexpr std::uint16_t kCharacteristicDisabled = 3;

struct Characteristic {
  bool ProcessorRecord::*supported;
  std::uint16_t code;
  bool ProcessorRecord::*enabled;
};

/// In the order of their fixed positions in the two arrays.
constexpr Characteristic kCharacteristics[] = {
    {&ProcessorRecord::longMode, 2, &ProcessorRecord::longMode},
    {&ProcessorRecord::virtualization, 4, &ProcessorRecord::virtualization},
    {&ProcessorRecord::hardwareThread, 5, &ProcessorRecord::hardwareThread},
    {&ProcessorRecord::noExecute, 6, &ProcessorRecord::noExecute},
    {&ProcessorRecord::powerControlSupported, 7, &ProcessorRecord::powerControlEnabled},
};
constexpr CMPICount kCharacteristicCount = std::size(kCharacteristics);
static_assert(kCharacteristicCount == 5);

template <typename Value>
CmpiArray arrayOfOne(CMPIType type, Value value) {
  CmpiArray array(1, type);
  array[0] = CmpiData(value);
  return array;
}

/// Calls `set` with each key, in the order of the path. Used for both path and instance.
template <typename Set>
void forEachKey(const ORV::ScopingKeys& scope, const ProcessorRecord& record, Set set) {
  set("SystemCreationClassName", scope.systemCreationClassName.c_str());
  set("SystemName", scope.systemName.c_str());
  set("CreationClassName", kProcessorClass);
  set("DeviceID", record.name.c_str());
}

/// A characteristic that the package lacks leaves its position null; the positions of the others do
/// not change.
void setCharacteristics(CmpiInstance& instance, const ProcessorRecord& record) {
  CmpiArray codes(kCharacteristicCount, CMPI_uint16);
  CmpiArray states(kCharacteristicCount, CMPI_uint16);
  for (CMPICount i = 0; i < kCharacteristicCount; ++i) {
    const Characteristic& row = kCharacteristics[i];
    if (!(record.*row.supported)) continue;
    codes[i] = CmpiData(CMPIUint16{row.code});
    states[i] = CmpiData(
        CMPIUint16{record.*row.enabled ? kCharacteristicEnabled : kCharacteristicDisabled});
  }
  instance.setProperty("Characteristics", codes);
  instance.setProperty("EnabledProcessorCharacteristics", states);
}

void fillProcessor(CmpiInstance& instance, const ProcessorRecord& record) {
  instance.setProperty("ElementName", record.name.c_str());
  instance.setProperty("OperationalStatus",
                       arrayOfOne(CMPI_uint16, CMPIUint16{kOperationalStatusOk}));
  instance.setProperty("Vendor", CMPIUint16{record.vendor});
  instance.setProperty("NumberOfEnabledCores", static_cast<CMPIUint16>(record.coreCount));
  instance.setProperty("Stepping", record.stepping.c_str());
  instance.setProperty("ModelName", record.modelName.c_str());
  instance.setProperty("OtherIdentifyingInfo",
                       arrayOfOne(CMPI_string, brandText(record.brandId).c_str()));
  instance.setProperty("IdentifyingDescriptions", arrayOfOne(CMPI_string, "Brand ID"));
  instance.setProperty("CPUStatus", CMPIUint16{record.status});
  setCharacteristics(instance, record);
}

}  // namespace

CmpiInstance processorInstance(const std::string& nameSpace, const ORV::ScopingKeys& scope,
                               const ProcessorRecord& record, const char** properties) {
  CmpiObjectPath path(nameSpace.c_str(), kProcessorClass);
  forEachKey(scope, record, [&](const char* name, const char* value) { path.setKey(name, value); });
  // Deliberate (contract.md#processor-fifth-key).
  path.setKey("ElementName", record.name.c_str());
  CmpiInstance instance(path);
  const char* keys[] = {"SystemCreationClassName", "SystemName", "CreationClassName", "DeviceID",
                        nullptr};
  instance.setPropertyFilter(properties, keys);
  forEachKey(scope, record,
             [&](const char* name, const char* value) { instance.setProperty(name, value); });
  fillProcessor(instance, record);
  return instance;
}

std::optional<std::size_t> packagePosition(std::string_view deviceId) {
  const std::size_t dash = deviceId.rfind('-');
  if (dash == std::string_view::npos) return std::nullopt;
  const std::string_view digits = deviceId.substr(dash + 1);
  const char* const last = digits.data() + digits.size();
  std::size_t position = 0;
  const auto [end, error] = std::from_chars(digits.data(), last, position);
  if (error != std::errc() || end != last) return std::nullopt;
  return position;
}

}  // namespace OrvProcessor
