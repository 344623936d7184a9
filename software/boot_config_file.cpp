#include "software/boot_config_file.h"

#include <fstream>

std::unique_ptr<std::istream> openBootConfig() {
  auto file = std::make_unique<std::ifstream>("/altbootbank/boot.cfg");
  if (!file->is_open()) return nullptr;
  return file;
}
