#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_object_path.h"
#include "processor/processor_decode.h"

constexpr const char* kProcessorClass = "Orvane_Processor";

/// The host's computer system, which scopes the processors.
struct ScopingSystem {
  std::string className;
  std::string name;
};

/// The instance of one package, in a namespace, with the property list applied.
///
/// Fails: the broker's CmpiStatus.
CmpiInstance processorInstance(const std::string& nameSpace, const ScopingSystem& system,
                               const ProcessorRecord& record, const char** properties);

/// Position of the package that a DeviceID names: the decimal number behind its last "-", whatever
/// stands before that. Absent without a "-" and with anything but digits behind it.
std::optional<std::size_t> packagePosition(std::string_view deviceId);
