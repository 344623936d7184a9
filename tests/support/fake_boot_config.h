#pragma once

#include <optional>
#include <string>

/// The boot configuration of a test: linked in place of the file. Safe from any thread.
namespace orv::test {

/// What the file holds; absent: it cannot be opened.
void setBootConfig(std::optional<std::string> text);
/// A directory stands in the file's place.
void setBootConfigDirectory();
/// How often it was opened since the last of the two.
int bootConfigOpens();

}  // namespace orv::test
