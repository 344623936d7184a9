#pragma once

#include <istream>
#include <memory>

/// Opens the boot configuration of the alternate boot bank, "/altbootbank/boot.cfg". Null when it
/// cannot be opened. Stands in a source file of its own, which tests replace at link time.
std::unique_ptr<std::istream> openBootConfig();
