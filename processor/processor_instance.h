#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_object_path.h"
#include "framework/scoping_keys.h"
#include "processor/processor_decode.h"

namespace OrvProcessor {

constexpr const char* kProcessorClass = "Orvane_Processor";

/// The instance of one package, in a namespace, with the property list applied.
///
/// Fails: the broker's CmpiStatus.
CmpiInstance processorInstance(const std::string& nameSpace, const ORV::ScopingKeys& scope,
                               const ProcessorRecord& record, const char** properties);

/// The position of the package that a DeviceID names: the decimal number after its last "-",
/// whatever precedes it. Absent when there is no "-", or anything but digits after it.
std::optional<std::size_t> packagePosition(std::string_view deviceId);

}  // namespace OrvProcessor
