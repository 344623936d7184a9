#include "software/identity_instance.h"

#include "cmpi/cmpi_date_time.h"
#include "framework/text.h"
#include "software/release_date.h"
#include "software/version_identity.h"

namespace OrvSoftware {

namespace {

void setTime(CmpiInstance& instance, const char* name, std::uint64_t microseconds) {
  instance.setProperty(name, CmpiDateTime(microseconds, /*interval=*/false));
}

void setVersionNumbers(CmpiInstance& instance, const char* version) {
  const auto numbers = versionNumbers(version);
  if (!numbers) return;
  const auto [major, minor, revision] = *numbers;
  instance.setProperty("MinorVersion", CmpiData(CMPIUint16{minor}));
  instance.setProperty("MajorVersion", CmpiData(CMPIUint16{major}));
  instance.setProperty("RevisionNumber", CmpiData(CMPIUint16{revision}));
}

}  // namespace

std::string instanceIdOf(const CmpiObjectPath& path) {
  return ORV::textKey(path, kInstanceIdKey).value_or("");
}

void fillIdentity(CmpiInstance& instance, const HykuserVersion_SystemVersion& image,
                  std::uint64_t lastStartMicroseconds) {
  const std::string identity = identityString(image);
  const std::string name = imageName(image);
  if (const auto released = releaseDateMicroseconds(image.releaseDate)) {
    setTime(instance, "ReleaseDate", *released);
  }
  instance.setProperty(kInstanceIdKey, identity.c_str());
  instance.setProperty("Name", name.c_str());
  instance.setProperty("Caption", name.c_str());
  instance.setProperty("Description", name.c_str());
  instance.setProperty("ElementName", identity.c_str());
  instance.setProperty("LargeBuildNumber", largeBuildNumber(image));
  if (isRunningImage(image)) setTime(instance, "LastStartTime", lastStartMicroseconds);
  instance.setProperty("VersionString", versionString(image).c_str());
  setVersionNumbers(instance, image.version);
  instance.setProperty("Manufacturer", "Orvane, Inc.");
  instance.setProperty("IsEntity", CmpiBooleanData(true));
}

}  // namespace OrvSoftware
