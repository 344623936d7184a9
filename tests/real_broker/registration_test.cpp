// Registration and removal with the real broker's own commands.

#include <filesystem>
#include <map>

#include "tests/packaging/installed_tree.h"
#include "tests/real_broker/broker_fixture.h"

namespace orv::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr char kDeadListener[] = "http://127.0.0.1:9/";

class RealRegistrationTest : public RealBrokerTest {
 protected:
  std::map<std::string, std::string> repository() const {
    std::map<std::string, std::string> files;
    for (const std::string& file : filesBelow("/var/lib/sfcb")) {
      files[file] = fileText("/var/lib/sfcb/" + file);
    }
    return files;
  }

  void restart() {
    sandbox_->stop();
    ASSERT_TRUE(sandbox_->start()) << sandbox_->log();
  }

  Outcome removePackage() const {
    return sandbox_->run({ORV_SOURCE_DIR "/packaging/prerm", "remove"});
  }
};

TEST_F(RealRegistrationTest, ComesAndGoes) {
  serve();
  EXPECT_EQ(ask("EnumerateInstanceNames", classParameter("Orvane_Processor")).code(), 0);
  EXPECT_GT(ask("EnumerateInstanceNames", classParameter("Orvane_Processor")).count("INSTANCENAME"),
            0U);
  const Outcome again = sandbox_->registerProviders();
  EXPECT_EQ(again.status, 0) << again.out << again.err;
  const Outcome undone = sandbox_->registerProviders({"--undo"});
  EXPECT_EQ(undone.status, 0) << undone.out << undone.err;
  restart();
  EXPECT_EQ(ask("EnumerateInstanceNames", classParameter("Orvane_Processor")).code(), 5);
  EXPECT_EQ(ask("EnumerateInstanceNames", classParameter("CIM_Processor")).count("INSTANCENAME"),
            0U);
}

constexpr const char* kPolledClasses[] = {
    "Orvane_PortController", "Orvane_Controller", "Orvane_Battery",     "Orvane_StorageVolume",
    "Orvane_StorageExtent",  "Orvane_DiskDrive",  "Orvane_SASSATAPort", "Orvane_StoragePool",
};

TEST_F(RealRegistrationTest, PolledClassesThatNobodyServesAreEmpty) {
  sandbox_ = std::make_unique<BrokerSandbox>();
  ASSERT_EQ(sandbox_->registerProviders({"--only", "provider"}).status, 0);
  ASSERT_TRUE(sandbox_->start());
  for (const char* name : kPolledClasses) {
    const auto answer = ask("EnumerateInstances", classParameter(name));
    EXPECT_EQ(answer.code(), 0) << name;
    EXPECT_EQ(answer.count("INSTANCE"), 0U) << name;
  }
}

TEST_F(RealRegistrationTest, TheHigherVersionOfAPolledClassCounts) {
  for (const char* file : {"before.mof", "zafter.mof"}) {
    sandbox_ = std::make_unique<BrokerSandbox>();
    const std::string staged = "/var/lib/sfcb/stage/mofs/root/cimv2";
    std::filesystem::create_directories(staged);
    std::filesystem::copy_file(ORV_SOURCE_DIR "/tests/hardware_provider/hardware.mof",
                               staged + "/" + file);
    const Outcome registered = sandbox_->registerProviders();
    ASSERT_EQ(registered.status, 0) << registered.out << registered.err;
    ASSERT_TRUE(sandbox_->start()) << sandbox_->log();
    EXPECT_THAT(ask("GetClass", classParameter("Orvane_Battery")).body,
                HasSubstr("SUPERCLASS=\"CIM_LogicalDevice\""))
        << file;
  }
}

TEST_F(RealRegistrationTest, WithSubscriptionsLeavesTheRepositoryAsItIs) {
  serve();
  ASSERT_EQ(subscribe("beats", "Orvane_CIMHeartbeat", kDeadListener), "");
  sandbox_->stop();
  const auto before = repository();
  for (const std::vector<std::string>& options :
       std::vector<std::vector<std::string>>{{}, {"--undo"}}) {
    const Outcome outcome = sandbox_->registerProviders(options);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("cim_indicationhandlercimxml"));
    EXPECT_THAT(outcome.err, HasSubstr("--drop-instances"));
    EXPECT_EQ(repository(), before);
  }
  ASSERT_TRUE(sandbox_->start());
  EXPECT_GT(ask("EnumerateInstanceNames", classParameter("Orvane_Processor")).count("INSTANCENAME"),
            0U);
  EXPECT_EQ(ask("EnumerateInstanceNames", classParameter("CIM_IndicationFilter"), "root/interop")
                .count("INSTANCENAME"),
            1U);
}

TEST_F(RealRegistrationTest, DropsTheSubscriptionsOnRequest) {
  serve();
  ASSERT_EQ(subscribe("beats", "Orvane_CIMHeartbeat", kDeadListener), "");
  sandbox_->stop();
  const Outcome outcome = sandbox_->registerProviders({"--drop-instances"});
  EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
  ASSERT_TRUE(sandbox_->start());
  EXPECT_GT(ask("EnumerateInstanceNames", classParameter("Orvane_Processor")).count("INSTANCENAME"),
            0U);
  EXPECT_EQ(ask("EnumerateInstanceNames", classParameter("CIM_IndicationFilter"), "root/interop")
                .count("INSTANCENAME"),
            0U);
}

TEST_F(RealRegistrationTest, RemovalTakesItBack) {
  serve();
  sandbox_->stop();
  const Outcome removed = removePackage();
  EXPECT_EQ(removed.status, 0) << removed.err;
  EXPECT_THAT(fileText(sandbox_->registration() + "/providerRegister"), Not(HasSubstr("[Orvane_")));
  ASSERT_TRUE(sandbox_->start());
  EXPECT_GT(ask("EnumerateClassNames", "").count("CLASSNAME"), 0U);
  EXPECT_GT(ask("EnumerateClassNames", "", "root/interop").count("CLASSNAME"), 0U);
}

TEST_F(RealRegistrationTest, RemovalWithSubscriptionsLeavesABrokerThatKnowsItsClasses) {
  serve();
  ASSERT_EQ(subscribe("beats", "Orvane_CIMHeartbeat", kDeadListener), "");
  sandbox_->stop();
  const Outcome removed = removePackage();
  EXPECT_EQ(removed.status, 0);
  EXPECT_THAT(removed.err, HasSubstr("taking the registration alone"));
  EXPECT_THAT(fileText(sandbox_->registration() + "/providerRegister"), Not(HasSubstr("[Orvane_")));
  ASSERT_TRUE(sandbox_->start());
  EXPECT_EQ(ask("GetClass", classParameter("CIM_Processor")).code(), 0);
  EXPECT_EQ(ask("EnumerateInstanceNames", classParameter("Orvane_Processor")).count("INSTANCENAME"),
            0U);
  EXPECT_EQ(ask("EnumerateInstanceNames", classParameter("CIM_IndicationFilter"), "root/interop")
                .count("INSTANCENAME"),
            1U);
}

}  // namespace
}  // namespace orv::test
