#pragma once

#include <cstddef>
#include <cstdint>

/// Identity of the running image. Texts are NUL-terminated, cut to fit.
struct HykuserVersion_SystemVersion {
  char productName[32];
  char version[32];      ///< dotted, "5.1.0" form
  char edition[32];      ///< never empty when the call succeeds
  char releaseDate[32];  ///< "Oct 4 2014" form; empty when unknown
  std::int32_t buildNumber;
};

/// 0 for success; any other status leaves the record as it was.
int HykuserVersion_GetSystemVersion(HykuserVersion_SystemVersion* version);

/// The errno value that fits a non-zero status.
int HykuserStatus_CodeToErrno(int status);

/// Writes the text of a status, NUL-terminated and cut to `size` bytes, and returns `text`.
const char* HykuserStatus_CodeToString(int status, char* text, std::size_t size);

/// True on a host that can run virtual machines itself.
bool HostType_OSIsHYK();
