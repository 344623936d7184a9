#include "platform/host_version.h"

#include <cstring>
#include <exception>
#include <string>

#include "platform/simulated/host_file.h"
#include "platform/thread_slot.h"

namespace {

using simulated::SimulatedHost;
using simulated::SimulatedVersion;

constexpr int kUnreadable = 1;

/// What the thread's last version call saw, so that the calls that follow it describe the same
/// host.
struct VersionView {
  bool called = false;
  std::shared_ptr<const SimulatedHost> host;  ///< null when it could not be read
};
VersionView& versionView() {
  static platform::ThreadSlot<VersionView> view;
  return view.get();
}

/// Copies as much of the text as fits, NUL-terminated.
void copyText(const std::string& from, char* to, std::size_t size) {
  const std::size_t length = from.copy(to, size - 1);
  std::memset(to + length, 0, size - length);
}

HykuserVersion_SystemVersion recordOf(const SimulatedVersion& version) {
  HykuserVersion_SystemVersion record{};
  copyText(version.productName, record.productName, sizeof record.productName);
  copyText(version.version, record.version, sizeof record.version);
  copyText(version.edition, record.edition, sizeof record.edition);
  copyText(version.releaseDate, record.releaseDate, sizeof record.releaseDate);
  record.buildNumber = version.buildNumber;
  return record;
}

/// The failure as the file describes it; the default description for any other status.
SimulatedVersion failureOf(int status) {
  const VersionView& view = versionView();
  if (view.host != nullptr && view.host->version.status == status) return view.host->version;
  return {};
}

}  // namespace

int HykuserVersion_GetSystemVersion(HykuserVersion_SystemVersion* version) try {
  VersionView& view = versionView();
  view = {true, nullptr};
  view.host = simulated::loadHost();
  if (view.host == nullptr) return kUnreadable;
  const SimulatedVersion& simulatedVersion = view.host->version;
  if (simulatedVersion.status == 0) *version = recordOf(simulatedVersion);
  return simulatedVersion.status;
} catch (const std::exception&) {
  return kUnreadable;
}

int HykuserStatus_CodeToErrno(int status) { return failureOf(status).errnoValue; }

const char* HykuserStatus_CodeToString(int status, char* text, std::size_t size) {
  if (size != 0) copyText(failureOf(status).text, text, size);
  return text;
}

bool HostType_OSIsHYK() {
  const VersionView& view = versionView();
  const auto host = view.called ? view.host : simulated::loadHost();
  return host == nullptr || host->hypervisor;
}
