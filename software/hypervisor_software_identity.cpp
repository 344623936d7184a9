// The hypervisor images of this host: the one that runs and, on hosts that have it, the one in the
// alternate boot bank, which the host would boot after a rollback.

#include <sys/sysinfo.h>
#include <syslog.h>

#include <ctime>
#include <mutex>
#include <optional>

#include "cmpi/cmpi_date_time.h"
#include "framework/factories.h"
#include "framework/locks.h"
#include "framework/text.h"
#include "platform/host_version.h"
#include "software/boot_config.h"
#include "software/boot_config_file.h"
#include "software/identity_instance.h"
#include "software/version_identity.h"

namespace OrvSoftware {

namespace {

std::uint64_t lastStartMicroseconds() {
  struct sysinfo host {};
  sysinfo(&host);
  return static_cast<std::uint64_t>(std::time(nullptr) - host.uptime) * kMicrosecondsPerSecond;
}

/// What is published about the running image when the host does not tell its version.
HykuserVersion_SystemVersion fallbackVersion() {
  HykuserVersion_SystemVersion image{};
  setField(image.productName, HostType_OSIsHYK() ? kHypervisorProductName : kHostedProductName);
  setField(image.version, "5.1.0");
  setField(image.edition, "unknown");  // not empty: that would mark it as the alternate image
  // Deliberate (contract.md#fallback-build-number).
  image.buildNumber = 0;
  return image;
}

HykuserVersion_SystemVersion readRunningImage() {
  HykuserVersion_SystemVersion image{};
  const int status = HykuserVersion_GetSystemVersion(&image);
  if (status == 0) return image;
  char text[1024] = "";
  syslog(LOG_ERR, "Got error from HykuserVersion_GetSystemVersion (%d): %s\n",
         HykuserStatus_CodeToErrno(status), HykuserStatus_CodeToString(status, text, sizeof text));
  return fallbackVersion();
}

bool isServedClass(const std::string& className) {
  return ORV::sameName(className.c_str(), kHypervisorIdentityClass);
}

/// Logs that an operation was requested for another class, and refuses it.
[[noreturn]] void refuseClass(const char* operation, const std::string& className) {
  syslog(LOG_ERR,
         "Orvane_HypervisorSoftwareIdentityProvider::%s was for %s, not the One True Class, %s.",
         operation, className.c_str(), kHypervisorIdentityClass);
  throw CmpiStatus(CMPI_RC_ERR_NOT_SUPPORTED);
}

class HypervisorSoftwareIdentity : public CmpiInstanceMI {
 public:
  HypervisorSoftwareIdentity(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context), CmpiInstanceMI(mbp, context) {}

  CmpiStatus initialize(const CmpiContext& /*context*/) override {
    const std::lock_guard<OMC::Mutex> lock(mutex_);
    lastStartMicroseconds_ = lastStartMicroseconds();
    return CMPI_RC_OK;
  }

  CmpiStatus enumInstanceNames(const CmpiContext& /*context*/, CmpiResult& result,
                               const CmpiObjectPath& path) override {
    const std::lock_guard<OMC::Mutex> lock(mutex_);
    const std::string className = ORV::classNameOf(path);
    if (!isServedClass(className)) refuseClass("enumInstanceNames", className);
    refresh();
    returnPath(result, path, runningImage_);
    if (alternateImage_) returnPath(result, path, *alternateImage_);
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus enumInstances(const CmpiContext& /*context*/, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override {
    const std::lock_guard<OMC::Mutex> lock(mutex_);
    if (!isServedClass(ORV::classNameOf(path))) {
      syslog(
          LOG_ERR,
          "ERR: Orvane_HypervisorSoftwareIdentityProvider::enumInstances::Throwing not supported "
          "error!!!!!");
      throw CmpiStatus(CMPI_RC_ERR_NOT_SUPPORTED);
    }
    refresh();
    returnInstance(result, path, properties, runningImage_);
    if (alternateImage_) returnInstance(result, path, properties, *alternateImage_);
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus getInstance(const CmpiContext& /*context*/, CmpiResult& result,
                         const CmpiObjectPath& path, const char** properties) override {
    const std::lock_guard<OMC::Mutex> lock(mutex_);
    const std::string className = ORV::classNameOf(path);
    if (!isServedClass(className)) refuseClass("getInstance", className);
    refresh();
    const std::string wanted = instanceIdOf(path);
    if (wanted == identityString(runningImage_)) {
      returnInstance(result, path, properties, runningImage_);
    } else if (alternateImage_ && wanted == identityString(*alternateImage_)) {
      returnInstance(result, path, properties, *alternateImage_);
    } else {
      syslog(LOG_ERR,
             "Orvane_HypervisorSoftwareIdentityProvider::getInstance: Software instance not found "
             "with InstanceID = %s",
             wanted.c_str());
      throw CmpiStatus(CMPI_RC_ERR_NOT_FOUND);
    }
    result.returnDone();
    return CMPI_RC_OK;
  }

 private:
  void refresh() {
    runningImage_ = readRunningImage();
    if (HostType_OSIsHYK()) {
      refreshAlternateImage();
    } else {
      alternateImage_.reset();
    }
  }

  /// Keeps the image of an earlier request when the file cannot be read.
  void refreshAlternateImage() {
    const std::unique_ptr<std::istream> file = openBootConfig();
    if (file == nullptr) return;
    if (const auto image = readAlternateImage(*file)) alternateImage_ = image;
  }

  void returnPath(const CmpiResult& result, const CmpiObjectPath& request,
                  const HykuserVersion_SystemVersion& image) const {
    CmpiObjectPath path(ORV::nameSpaceOf(request).c_str(), ORV::classNameOf(request).c_str());
    path.setKey(kInstanceIdKey, identityString(image).c_str());
    result.returnData(path);
  }

  void returnInstance(const CmpiResult& result, const CmpiObjectPath& request,
                      const char** properties, const HykuserVersion_SystemVersion& image) const {
    const char* keys[] = {kInstanceIdKey, nullptr};
    CmpiInstance instance(request);
    instance.setPropertyFilter(properties, keys);
    fillIdentity(instance, image, lastStartMicroseconds_);
    result.returnData(instance);
  }

  /// Guards the members below, and is held during the whole of every operation. No lock is taken
  /// before it.
  OMC::Mutex mutex_;
  HykuserVersion_SystemVersion runningImage_{};
  std::optional<HykuserVersion_SystemVersion> alternateImage_;  ///< absent until first found
  std::uint64_t lastStartMicroseconds_ = 0;
};

}  // namespace

}  // namespace OrvSoftware

ORV_PROVIDER_BASE(HypervisorSoftwareIdentity);
ORV_INSTANCE_FACTORY(HypervisorSoftwareIdentity, OrvSoftware::HypervisorSoftwareIdentity)
