#pragma once

#include <optional>
#include <string>

#include "cmpi/cmpi_data.h"
#include "cmpi/cmpi_object_path.h"
#include "cmpi/cmpi_string.h"

namespace ORV {

/// Whether two CIM names are the same: without regard to the case of ASCII letters, whatever the
/// locale. Null is not the same as anything.
bool sameName(const char* a, const char* b);

/// Whether a request gives an optional filter. Brokers send null or an empty text where it gives
/// none.
bool isGiven(const char* filter);

/// Whether the filter of a request allows a name: it is not given, or it is that name.
bool passesFilter(const char* filter, const char* name);

/// The text; empty for null.
std::string textOf(const CmpiString& text);

/// The text of a value; absent when the value is absent or null, empty for a string without a text.
///
/// Fails: CmpiStatus 13 for a value of another type.
std::optional<std::string> textOf(const CmpiData& data);

/// The text of a key; absent when the key is absent, null or not a text.
std::optional<std::string> textKey(const CmpiObjectPath& path, const char* name);

/// The path in a reference key; a null path when the key is absent, null or of another type.
CmpiObjectPath referenceKey(const CmpiObjectPath& path, const char* name);

/// Class name and namespace of a request's path; empty for null.
std::string classNameOf(const CmpiObjectPath& path);
std::string nameSpaceOf(const CmpiObjectPath& path);

}  // namespace ORV
