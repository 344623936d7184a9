#pragma once

#include <istream>
#include <memory>

/// The boot configuration of the alternate boot bank, "/altbootbank/boot.cfg", or its first
/// mebibyte when it is longer. Null when it cannot be opened and read or is not a regular file. It
/// has a source file of its own, which tests replace at link time.
std::unique_ptr<std::istream> openBootConfig();
