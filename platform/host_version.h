#pragma once

#include <cstddef>
#include <cstdint>

/// Identity of the running image. Texts are NUL-terminated and cut to their fields.
struct HykuserVersion_SystemVersion {
  char productName[32];
  char version[32];      ///< dotted, "5.1.0" form
  char edition[32];      ///< never empty when the call succeeds
  char releaseDate[32];  ///< "Oct 4 2014" form; empty when unknown
  std::int32_t buildNumber;
};

/// Fills the record and returns 0; any other status leaves it unchanged.
int HykuserVersion_GetSystemVersion(HykuserVersion_SystemVersion* version);

/// The errno value for a status other than 0.
int HykuserStatus_CodeToErrno(int status);

/// Writes the text of a status to `text`, NUL-terminated and cut to `size` bytes, and returns
/// `text`.
const char* HykuserStatus_CodeToString(int status, char* text, std::size_t size);

/// Whether the host can run virtual machines itself.
bool HostType_OSIsHYK();
