#include "tests/support/fake_boot_config.h"

#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>
#include <utility>

#include "software/boot_config_file.h"

namespace {

std::mutex mutex;  // guards what follows
std::optional<std::string> content;
bool isDirectory = false;
int opens = 0;

void replace(std::optional<std::string> text, bool directory) {
  const std::lock_guard<std::mutex> lock(mutex);
  content = std::move(text);
  isDirectory = directory;
  opens = 0;
}

}  // namespace

namespace orv::test {

void setBootConfig(std::optional<std::string> text) { replace(std::move(text), false); }
void setBootConfigDirectory() { replace(std::nullopt, true); }

int bootConfigOpens() {
  const std::lock_guard<std::mutex> lock(mutex);
  return opens;
}

}  // namespace orv::test

std::unique_ptr<std::istream> openBootConfig() {
  const std::lock_guard<std::mutex> lock(mutex);
  ++opens;
  if (isDirectory) {
    return std::make_unique<std::ifstream>(std::filesystem::temp_directory_path());
  }
  if (!content) return nullptr;
  return std::make_unique<std::istringstream>(*content);
}
