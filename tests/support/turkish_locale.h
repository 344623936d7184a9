#pragma once

#include <stdlib.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/scoped_environment.h"

namespace orv::test {

/// While it lives the process is Turkish: the capital of "i" is not "I". The locale is compiled
/// from the definitions of the C library; `isThere` is false on a machine without them.
class TurkishLocale {
 public:
  TurkishLocale() {
    char directory[] = "/tmp/orv-locale-XXXXXX";
    if (mkdtemp(directory) == nullptr) return;
    directory_ = directory;
    const std::string command =
        "localedef -i tr_TR -f ISO-8859-9 " + directory_ + "/tr_TR.ISO-8859-9 >/dev/null 2>&1";
    [[maybe_unused]] const int compiled = std::system(command.c_str());
    const ScopedEnvironment path("LOCPATH", directory_.c_str());
    isThere_ = std::setlocale(LC_ALL, "tr_TR.ISO-8859-9") != nullptr;
  }
  ~TurkishLocale() {
    std::setlocale(LC_ALL, "C");
    if (!directory_.empty()) std::filesystem::remove_all(directory_);
  }
  TurkishLocale(const TurkishLocale&) = delete;
  TurkishLocale& operator=(const TurkishLocale&) = delete;

  bool isThere() const { return isThere_; }

 private:
  std::string directory_;
  bool isThere_ = false;
};

}  // namespace orv::test
