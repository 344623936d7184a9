#include "software/boot_config_file.h"

#include <sstream>

#include "framework/text_file.h"

std::unique_ptr<std::istream> openBootConfig() {
  auto text = ORV::readTextFile("/altbootbank/boot.cfg");
  if (!text) return nullptr;
  return std::make_unique<std::istringstream>(std::move(*text));
}
