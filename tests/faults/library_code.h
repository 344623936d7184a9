#pragma once

#include <string>

/// Who makes a call: the provider library under test, or the broker and the test.
namespace orv::test {

/// Names the library by its file; it must be loaded.
void watchLibrary(const std::string& name);

/// Whether the call that returns to `caller` was made by the watched library's own code, or for it
/// by another library that it uses. `caller` is the calling function's __builtin_return_address(0).
/// False in calls that the answer itself takes.
bool isOfTheLibrary(const void* caller);

}  // namespace orv::test
