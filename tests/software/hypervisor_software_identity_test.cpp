#include <gmock/gmock.h>
#include <sys/sysinfo.h>
#include <syslog.h>

#include <atomic>
#include <ctime>
#include <thread>

#include "tests/software/software_fixture.h"
#include "tests/support/scoped_environment.h"

namespace {

using orv::test::bootConfigOpens;
using orv::test::setBootConfig;
using orv::test::setBootConfigDirectory;
using orv::test::SyslogLine;
using testing::ElementsAre;
using testing::IsEmpty;

class HypervisorIdentity : public SoftwareTest {
 protected:
  static constexpr const char* kProvider = "HypervisorSoftwareIdentity";

  Response names() { return broker_.enumerateInstanceNames(kNameSpace, kImageClass); }
  Response instances(const orv::broker::PropertyList& properties = std::nullopt) {
    return broker_.enumerateInstances(kNameSpace, kImageClass, properties);
  }
  Instance running() { return instances().instances.at(0); }
  Instance alternate() { return instances().instances.at(1); }

  Response ask(Operation operation, ObjectPath path) {
    return broker_.requestTo(kProvider, requestFor(operation, std::move(path)));
  }

  static std::string text(const Instance& instance, const char* property) {
    const Value* value = instance.property(property);
    return value == nullptr || value->null ? "(null)" : value->text();
  }
  static bool isSet(const Instance& instance, const char* property) {
    const Value* value = instance.property(property);
    return value != nullptr && !value->null;
  }
};

// ---- Names ----

TEST_F(HypervisorIdentity, NamesListTheRunningImage) {
  const Response response = names();
  EXPECT_TRUE(response.ok());
  EXPECT_THAT(response.paths, ElementsAre(imagePath(kRunningId)));
  EXPECT_EQ(response.doneCount, 1);
  EXPECT_THAT(response.reports, IsEmpty());
}

TEST_F(HypervisorIdentity, NamesListTheRunningImageFirst) {
  setBootConfig(kBootConfig);
  const Response response = names();
  EXPECT_THAT(response.paths, ElementsAre(imagePath(kRunningId), imagePath(kAlternateId)));
  EXPECT_EQ(response.doneCount, 1);
}

TEST_F(HypervisorIdentity, NamesCarryTheClassAsItWasAskedFor) {
  const Response response = ask(Operation::kEnumerateInstanceNames,
                                orv::test::pathOf("orvane_HYPERVISORsoftwareidentity"));
  EXPECT_TRUE(response.ok());
  ASSERT_EQ(response.paths.size(), 1U);
  EXPECT_EQ(response.paths[0].className, "orvane_HYPERVISORsoftwareidentity");
}

// ---- Another class ----

TEST_F(HypervisorIdentity, NamesOfAnotherClassAreNotSupported) {
  const Response response =
      ask(Operation::kEnumerateInstanceNames, orv::test::pathOf("CIM_SoftwareIdentity"));
  EXPECT_EQ(response.rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(response.message, std::nullopt);
  EXPECT_EQ(response.doneCount, 0);
  EXPECT_THAT(
      orv::test::syslogLines(),
      ElementsAre(SyslogLine{
          LOG_ERR,
          "Orvane_HypervisorSoftwareIdentityProvider::enumInstanceNames was for "
          "CIM_SoftwareIdentity, not the One True Class, Orvane_HypervisorSoftwareIdentity."}));
  EXPECT_EQ(bootConfigOpens(), 0);
}

TEST_F(HypervisorIdentity, InstancesOfAnotherClassAreNotSupported) {
  const Response response =
      ask(Operation::kEnumerateInstances, orv::test::pathOf("CIM_SoftwareIdentity"));
  EXPECT_EQ(response.rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(response.message, std::nullopt);
  EXPECT_THAT(orv::test::syslogLines(),
              ElementsAre(SyslogLine{
                  LOG_ERR,
                  "ERR: Orvane_HypervisorSoftwareIdentityProvider::enumInstances::Throwing not "
                  "supported error!!!!!"}));
  EXPECT_EQ(bootConfigOpens(), 0);
}

TEST_F(HypervisorIdentity, InstanceOfAnotherClassIsNotSupported) {
  const Response response =
      ask(Operation::kGetInstance,
          orv::test::pathOf("CIM_SoftwareIdentity", {{"InstanceID", kRunningId}}));
  EXPECT_EQ(response.rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(response.message, std::nullopt);
  EXPECT_THAT(
      orv::test::syslogLines(),
      ElementsAre(SyslogLine{
          LOG_ERR,
          "Orvane_HypervisorSoftwareIdentityProvider::getInstance was for CIM_SoftwareIdentity, "
          "not the One True Class, Orvane_HypervisorSoftwareIdentity."}));
  EXPECT_EQ(bootConfigOpens(), 0);
}

TEST_F(HypervisorIdentity, FailedRequestReleasesTheLock) {
  ask(Operation::kEnumerateInstances, orv::test::pathOf("CIM_SoftwareIdentity"));
  ask(Operation::kGetInstance, imagePath("nobody"));
  EXPECT_TRUE(names().ok());
}

// ---- Properties ----

TEST_F(HypervisorIdentity, PropertiesOfTheRunningImage) {
  const orv::test::ScopedEnvironment zone("TZ", "UTC0");
  setVersion(R"({"buildNumber": 1234, "version": "5.2.3", "releaseDate": "Oct 4 2014"})");
  const Instance image = running();
  EXPECT_EQ(image.property("ReleaseDate")->dateTime().microseconds, 1'412'380'800'000'000U);
  EXPECT_FALSE(image.property("ReleaseDate")->dateTime().interval);
  EXPECT_EQ(text(image, "InstanceID"), "Orvane Ondi 5.2.3 build-1234");
  EXPECT_EQ(text(image, "Name"), "Orvane Ondi");
  EXPECT_EQ(text(image, "Caption"), "Orvane Ondi");
  EXPECT_EQ(text(image, "Description"), "Orvane Ondi");
  EXPECT_EQ(text(image, "ElementName"), "Orvane Ondi 5.2.3 build-1234");
  EXPECT_EQ(*image.property("LargeBuildNumber"), Value::ofUnsigned(CMPI_uint64, 1234));
  EXPECT_EQ(text(image, "VersionString"), "5.2.3 build-1234");
  EXPECT_EQ(*image.property("MajorVersion"), Value::ofUnsigned(CMPI_uint16, 5));
  EXPECT_EQ(*image.property("MinorVersion"), Value::ofUnsigned(CMPI_uint16, 2));
  EXPECT_EQ(*image.property("RevisionNumber"), Value::ofUnsigned(CMPI_uint16, 3));
  EXPECT_EQ(text(image, "Manufacturer"), "Orvane, Inc.");
  EXPECT_EQ(*image.property("IsEntity"), Value::ofBoolean(true));
}

TEST_F(HypervisorIdentity, PropertiesAreSetInTheirOrder) {
  setVersion(R"({"releaseDate": "Oct 4 2014"})");
  EXPECT_THAT(
      running().setOrder,
      ElementsAre("ReleaseDate", "InstanceID", "Name", "Caption", "Description", "ElementName",
                  "LargeBuildNumber", "LastStartTime", "VersionString", "MinorVersion",
                  "MajorVersion", "RevisionNumber", "Manufacturer", "IsEntity"));
}

TEST_F(HypervisorIdentity, PropertiesOfTheAlternateImage) {
  setBootConfig(kBootConfig);
  const Instance image = alternate();
  EXPECT_EQ(text(image, "InstanceID"), kAlternateId);
  EXPECT_EQ(text(image, "Name"), "Orvane Ondi Alternate Boot Bank");
  EXPECT_EQ(text(image, "Caption"), "Orvane Ondi Alternate Boot Bank");
  EXPECT_EQ(text(image, "Description"), "Orvane Ondi Alternate Boot Bank");
  EXPECT_EQ(text(image, "ElementName"), kAlternateId);
  EXPECT_EQ(image.property("LargeBuildNumber")->number(), 799733U);
  EXPECT_EQ(text(image, "VersionString"), "5.1.0 build-799733");
  EXPECT_EQ(image.property("MajorVersion")->number(), 5U);
  EXPECT_EQ(text(image, "Manufacturer"), "Orvane, Inc.");
  EXPECT_TRUE(image.property("IsEntity")->boolean());
  EXPECT_FALSE(isSet(image, "ReleaseDate"));
  EXPECT_FALSE(isSet(image, "LastStartTime"));
}

TEST_F(HypervisorIdentity, UnreadableBuildNumberIsTheLargest) {
  setBootConfig("build=5.1.0-0.0.7997x\n");
  const Instance image = alternate();
  EXPECT_EQ(image.property("LargeBuildNumber")->number(), 4294967295U);
  EXPECT_EQ(text(image, "VersionString"), "5.1.0 build--1");
}

TEST_F(HypervisorIdentity, ReleaseDateIsSetOnlyWhenItIsKnown) {
  for (const char* date : {"", "Oct 4", "Oct 4, 2014"}) {
    setVersion(R"({"releaseDate": ")" + std::string(date) + R"("})");
    EXPECT_FALSE(isSet(running(), "ReleaseDate")) << date;
  }
}

TEST_F(HypervisorIdentity, VersionOfTwoNumbersSetsNoneOfThem) {
  setVersion(R"({"version": "5.1"})");
  const Instance image = running();
  EXPECT_FALSE(isSet(image, "MajorVersion"));
  EXPECT_FALSE(isSet(image, "MinorVersion"));
  EXPECT_FALSE(isSet(image, "RevisionNumber"));
  EXPECT_EQ(text(image, "Manufacturer"), "Orvane, Inc.");
  EXPECT_TRUE(image.property("IsEntity")->boolean());
}

TEST_F(HypervisorIdentity, LastStartTimeIsNowLessTheUptime) {
  struct sysinfo host {};
  ASSERT_EQ(sysinfo(&host), 0);
  const auto expected = static_cast<double>(std::time(nullptr) - host.uptime);
  const auto microseconds = running().property("LastStartTime")->dateTime().microseconds;
  EXPECT_EQ(microseconds % 1'000'000, 0U);
  EXPECT_NEAR(static_cast<double>(microseconds / 1'000'000), expected, 2.0);
}

TEST_F(HypervisorIdentity, PropertyListIsApplied) {
  const Response response = instances({{"VersionString", "LastStartTime"}});
  ASSERT_TRUE(response.ok());
  EXPECT_THAT(response.instances.at(0).setOrder,
              ElementsAre("InstanceID", "LastStartTime", "VersionString"));
}

TEST_F(HypervisorIdentity, InstancesHaveTheirNamesPaths) {
  setBootConfig(kBootConfig);
  const Response response = instances();
  EXPECT_EQ(response.doneCount, 1);
  ASSERT_EQ(response.instances.size(), 2U);
  EXPECT_EQ(response.instances[0].path, imagePath(kRunningId));
  EXPECT_EQ(response.instances[1].path, imagePath(kAlternateId));
  EXPECT_THAT(response.reports, IsEmpty());
}

// ---- One instance ----

TEST_F(HypervisorIdentity, GetInstanceFindsBothImages) {
  setBootConfig(kBootConfig);
  for (const char* id : {kRunningId, kAlternateId}) {
    const Response response = broker_.getInstance(imagePath(id));
    EXPECT_TRUE(response.ok()) << id;
    EXPECT_THAT(idsOf(response), ElementsAre(id));
    EXPECT_EQ(response.doneCount, 1);
    EXPECT_THAT(response.reports, IsEmpty());
  }
  EXPECT_THAT(orv::test::syslogLines(), IsEmpty());
}

TEST_F(HypervisorIdentity, GetInstanceAppliesThePropertyList) {
  const Response response = broker_.getInstance(imagePath(kRunningId), {{"Name"}});
  EXPECT_THAT(response.instances.at(0).setOrder, ElementsAre("InstanceID", "Name"));
}

TEST_F(HypervisorIdentity, GetInstanceComparesTheIdentityExactly) {
  const Response response = broker_.getInstance(imagePath("orvane ondi 5.1.0 build-1234"));
  EXPECT_EQ(response.rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(response.message, std::nullopt);
  EXPECT_EQ(response.doneCount, 0);
  EXPECT_THAT(orv::test::syslogLines(),
              ElementsAre(SyslogLine{
                  LOG_ERR,
                  "Orvane_HypervisorSoftwareIdentityProvider::getInstance: Software instance not "
                  "found with InstanceID = orvane ondi 5.1.0 build-1234"}));
}

TEST_F(HypervisorIdentity, GetInstanceOfAnImageThatIsNotThere) {
  EXPECT_EQ(broker_.getInstance(imagePath(kAlternateId)).rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_F(HypervisorIdentity, GetInstanceWithoutAReadableKeyFindsNothing) {
  ObjectPath numeric = orv::test::pathOf(kImageClass);
  numeric.keys.push_back({"InstanceID", Value::ofUnsigned(CMPI_uint64, 5)});
  ObjectPath null = orv::test::pathOf(kImageClass);
  null.keys.push_back({"InstanceID", Value::ofNull(CMPI_string)});
  for (const ObjectPath& path : {orv::test::pathOf(kImageClass), numeric, null}) {
    orv::test::clearSyslog();
    const Response response = ask(Operation::kGetInstance, path);
    EXPECT_EQ(response.rc, CMPI_RC_ERR_NOT_FOUND) << path;
    EXPECT_THAT(orv::test::syslogTexts(),
                ElementsAre("Orvane_HypervisorSoftwareIdentityProvider::getInstance: Software "
                            "instance not found with InstanceID = "));
  }
}

TEST_F(HypervisorIdentity, OtherOperationsAreNotSupported) {
  for (const Operation operation : {Operation::kCreateInstance, Operation::kModifyInstance,
                                    Operation::kDeleteInstance, Operation::kExecQuery}) {
    Request request = requestFor(operation, imagePath(kRunningId));
    request.instance = Instance{imagePath(kRunningId), {}, {}};
    request.query = "SELECT * FROM Orvane_HypervisorSoftwareIdentity";
    EXPECT_EQ(broker_.requestTo(kProvider, request).rc, CMPI_RC_ERR_NOT_SUPPORTED);
  }
}

// ---- The version call fails ----

TEST_F(HypervisorIdentity, FailedVersionCallIsLoggedAndFallsBack) {
  setVersion(R"({"status": 77, "errno": 13, "text": "no version today"})");
  const Response response = instances();
  EXPECT_TRUE(response.ok());
  EXPECT_THAT(
      orv::test::syslogLines(),
      ElementsAre(SyslogLine{
          LOG_ERR, "Got error from HykuserVersion_GetSystemVersion (13): no version today\n"}));
  const Instance& image = response.instances.at(0);
  EXPECT_EQ(text(image, "InstanceID"), "Orvane Ondi 5.1.0 build-0");
  EXPECT_EQ(text(image, "Name"), "Orvane Ondi");
  EXPECT_EQ(image.property("LargeBuildNumber")->number(), 0U);
  EXPECT_TRUE(isSet(image, "LastStartTime")) << "still the running image";
  EXPECT_FALSE(isSet(image, "ReleaseDate"));
}

TEST_F(HypervisorIdentity, FallbackOfAHostThatIsNoHypervisor) {
  setVersion(R"({"status": 77})", /*hypervisor=*/false);
  EXPECT_THAT(idsOf(names()), ElementsAre("Orvane Ond 5.1.0 build-0"));
}

TEST_F(HypervisorIdentity, FailureReplacesWhatAnEarlierRequestRead) {
  setVersion(R"({"version": "6.6.6", "releaseDate": "Oct 4 2014"})");
  EXPECT_TRUE(isSet(running(), "ReleaseDate"));
  setVersion(R"({"status": 77})");
  const Instance image = running();
  EXPECT_EQ(text(image, "VersionString"), "5.1.0 build-0");
  EXPECT_FALSE(isSet(image, "ReleaseDate"));
}

TEST_F(HypervisorIdentity, AlternateImageIsServedBesideTheFallback) {
  setVersion(R"({"status": 77})");
  setBootConfig(kBootConfig);
  EXPECT_THAT(idsOf(names()), ElementsAre("Orvane Ondi 5.1.0 build-0", kAlternateId));
}

// ---- The boot configuration ----

TEST_F(HypervisorIdentity, HostThatIsNoHypervisorHasNoAlternateImage) {
  setBootConfig(kBootConfig);
  setVersion(R"({"buildNumber": 1234})", /*hypervisor=*/false);
  EXPECT_THAT(idsOf(names()), ElementsAre(kRunningId));
  EXPECT_EQ(bootConfigOpens(), 0);
}

TEST_F(HypervisorIdentity, AlternateImageEndsWithTheHypervisor) {
  setBootConfig(kBootConfig);
  EXPECT_THAT(idsOf(names()), ElementsAre(kRunningId, kAlternateId));
  setVersion(R"({"buildNumber": 1234})", /*hypervisor=*/false);
  EXPECT_THAT(idsOf(names()), ElementsAre(kRunningId));
}

TEST_F(HypervisorIdentity, FileIsReadAfreshForEveryRequest) {
  EXPECT_THAT(idsOf(names()), ElementsAre(kRunningId));
  setBootConfig(kBootConfig);
  EXPECT_THAT(idsOf(names()), ElementsAre(kRunningId, kAlternateId));
  setBootConfig("build=6.0.0-7\n");
  EXPECT_THAT(idsOf(instances()),
              ElementsAre(kRunningId, "Alt Boot Bank: Orvane Ondi 6.0.0 build-7"));
  EXPECT_TRUE(broker_.getInstance(imagePath("Alt Boot Bank: Orvane Ondi 6.0.0 build-7")).ok());
  EXPECT_EQ(broker_.getInstance(imagePath(kAlternateId)).rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_F(HypervisorIdentity, VanishedFileLeavesTheImageOfAnEarlierRequest) {
  setBootConfig(kBootConfig);
  names();
  setBootConfig(std::nullopt);
  EXPECT_THAT(idsOf(names()), ElementsAre(kRunningId, kAlternateId));
}

TEST_F(HypervisorIdentity, DirectoryInTheFilesPlaceIsUnreadable) {
  setBootConfigDirectory();
  EXPECT_THAT(idsOf(names()), ElementsAre(kRunningId));
  setBootConfig(kBootConfig);
  names();
  setBootConfigDirectory();
  EXPECT_THAT(idsOf(names()), ElementsAre(kRunningId, kAlternateId));
}

TEST_F(HypervisorIdentity, FileWithoutAVersionServesAnEmptyImage) {
  for (const char* content : {"", "title=x\n", "build=5.1.0\n"}) {
    setBootConfig(kBootConfig);
    names();
    setBootConfig(content);
    const Response response = instances();
    EXPECT_THAT(idsOf(response), ElementsAre(kRunningId, "Alt Boot Bank:   build-0")) << content;
    const Instance& image = response.instances.at(1);
    EXPECT_EQ(text(image, "Name"), " Alternate Boot Bank");
    EXPECT_EQ(text(image, "VersionString"), " build-0");
    EXPECT_EQ(image.property("LargeBuildNumber")->number(), 0U);
    EXPECT_FALSE(isSet(image, "MajorVersion"));
  }
}

TEST_F(HypervisorIdentity, EmptyImageIsFoundByItsIdentity) {
  setBootConfig("");
  EXPECT_TRUE(broker_.getInstance(imagePath("Alt Boot Bank:   build-0")).ok());
}

// ---- Threads ----

TEST_F(HypervisorIdentity, ThirtyTwoThreadsOnOneObject) {
  constexpr int kThreads = 32;
  constexpr int kRounds = 10;
  std::atomic<int> failures{0};
  const auto ask = [&](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      const int build = thread * kRounds + round;
      setBootConfig("build=5.1.0-" + std::to_string(build) + "\n");
      const Response all = instances();
      const bool consistent =
          all.ok() && all.instances.size() == 2 &&
          text(all.instances[1], "ElementName") ==
              "Alt Boot Bank: Orvane Ondi " + text(all.instances[1], "VersionString");
      if (!consistent || names().paths.size() != 2) ++failures;
      if (!broker_.getInstance(imagePath(kRunningId)).ok()) ++failures;
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(ask, i);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
}

}  // namespace
