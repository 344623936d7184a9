#pragma once

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "broker/broker.h"
#include "broker/mof_reader.h"
#include "broker/registration.h"
#include "tests/platform/linux/hardware/hardware_tree.h"

namespace orv::test {

inline constexpr const char* kMounted[] = {"class", "devices", "bus", "firmware", "fs"};

inline broker::Broker::Options hostLibrary() {
  auto classes = std::make_shared<broker::ClassRepository>();
  broker::MofReader reader(*classes);
  reader.readDirectory(ORV_SOURCE_DIR "/schema");
  reader.readFile(ORV_SOURCE_DIR "/schema/host/orvhost.mof");
  broker::Broker::Options options;
  options.namespaces["root/cimv2"] = classes;
  options.registration = broker::readRegistrationFile(ORV_SOURCE_DIR "/schema/host/orvhost.reg");
  options.libraryFile = ORV_HOST_LIBRARY;
  return options;
}

/// A directory in the place of another for as long as the object lives, within this process's mount
/// namespace.
class Mounted {
 public:
  Mounted(const std::string& directory, std::string place) : place_(std::move(place)) {
    EXPECT_EQ(mount(directory.c_str(), place_.c_str(), nullptr, MS_BIND, nullptr), 0)
        << place_ << ": " << std::strerror(errno);
  }
  Mounted(const Mounted&) = delete;
  Mounted& operator=(const Mounted&) = delete;
  ~Mounted() { umount(place_.c_str()); }

 private:
  std::string place_;
};

/// The library itself, which sees a tree of our own making, mounted over /sys, in a mount
/// namespace.
class RecordedTree : public testing::Test {
 protected:
  void SetUp() override {
    if (unshare(CLONE_NEWNS) != 0 ||
        mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
      GTEST_SKIP() << "no mount namespace: " << std::strerror(errno);
    }
    setenv("SYSTEMD_DEVICE_VERIFY_SYSFS", "0", 1);  // libudev takes the tree for a sysfs
  }

  /// From now on the library sees the tree.
  void mountTree() {
    for (const char* name : kMounted) {
      const std::string place = std::string("/sys/") + name;
      ASSERT_EQ(
          mount((tree_.root() + "/" + name).c_str(), place.c_str(), nullptr, MS_BIND, nullptr), 0)
          << place << ": " << std::strerror(errno);
    }
  }
  void TearDown() override {
    for (const char* name : kMounted) umount((std::string("/sys/") + name).c_str());
  }

  std::vector<broker::Instance> instances(const std::string& className) {
    const broker::Response response = broker_.enumerateInstances("root/cimv2", className);
    EXPECT_EQ(response.rc, CMPI_RC_OK) << className;
    return response.instances;
  }
  static unsigned healthOf(const broker::Instance& instance) {
    return static_cast<unsigned>(std::stoul(instance.property("HealthState")->toText()));
  }
  static std::string wordsOf(const broker::Instance& instance) {
    const broker::Value* words = instance.property("StatusDescriptions");
    return words == nullptr || words->null ? "" : words->toText();
  }

  LinuxHost::HardwareTree tree_;
  broker::Broker broker_{hostLibrary()};
};

}  // namespace orv::test
