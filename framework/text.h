#pragma once

#include <optional>
#include <string>

#include "cmpi/cmpi_data.h"
#include "cmpi/cmpi_object_path.h"
#include "cmpi/cmpi_string.h"

namespace ORV {

/// CIM names: compared without regard to the case of ASCII letters, whatever the locale. Null
/// equals nothing.
bool sameName(const char* a, const char* b);

/// An optional filter of a request is given unless it is null or empty: brokers send either.
bool isGiven(const char* filter);

/// Null becomes empty.
std::string textOf(const CmpiString& text);

/// Absent when the value is absent or null; empty when it is a string without a text.
///
/// Fails: CmpiStatus 13 for a value of another type.
std::optional<std::string> textOf(const CmpiData& data);

/// Class name and namespace of a request's path, null texts as empty ones.
std::string classNameOf(const CmpiObjectPath& path);
std::string nameSpaceOf(const CmpiObjectPath& path);

}  // namespace ORV
