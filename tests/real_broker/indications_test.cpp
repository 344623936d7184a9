// Indications, and the life of the broker that carries them.

#include <signal.h>

#include <algorithm>

#include "tests/real_broker/broker_fixture.h"
#include "tests/real_broker/export_listener.h"

namespace orv::test {
namespace {

using std::chrono::seconds;
using testing::HasSubstr;

constexpr int kRestarts = 20;

class RealIndicationsTest : public RealBrokerTest {
 protected:
  /// The shortest interval that the heartbeat takes, on a line that the broker itself reads one
  /// word of.
  void serveWithHeartbeat() {
    sandbox_ = std::make_unique<BrokerSandbox>();
    sandbox_->configure("enableInterOp:", "enableInterOp: true heartbeatInterval: 30");
    ASSERT_EQ(sandbox_->registerProviders().status, 0);
    ASSERT_TRUE(sandbox_->start()) << sandbox_->log();
  }

  void ip(const std::string& arguments) const {
    const Outcome outcome = sandbox_->run({"sh", "-c", "ip " + arguments});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
  }
};

TEST_F(RealIndicationsTest, HeartbeatsAndAddressChangesReachAListener) {
  serveWithHeartbeat();
  ExportListener listener;
  ip("address add 192.0.2.1/24 dev left0");
  ASSERT_EQ(subscribe("beats", "Orvane_CIMHeartbeat", listener.url()), "");
  ASSERT_EQ(subscribe("changes", "Orvane_KernelIPChangedIndication", listener.url()), "");
  EXPECT_EQ(ask("EnumerateInstanceNames", classParameter("Orvane_RollupHealthState")).code(), 0);
  ip("address del 192.0.2.1/24 dev left0");
  ip("address add 192.0.2.2/24 dev left0");
  const std::string change = listener.waitFor("Orvane_KernelIPChangedIndication", seconds(75));
  EXPECT_THAT(change, HasSubstr("192.0.2.2"));
  EXPECT_THAT(change, HasSubstr("192.0.2.1"));
  const std::string beat = listener.waitFor("Orvane_CIMHeartbeat", seconds(75));
  EXPECT_THAT(beat, HasSubstr("<PROPERTY NAME=\"stamp\""));
  EXPECT_EQ(unsubscribe("beats"), "");
  EXPECT_EQ(unsubscribe("changes"), "");
}

TEST_F(RealIndicationsTest, OurToolWatchesTheRealBrokerAndLeavesNothingBehind) {
  serveWithHeartbeat();
  Program watch({ORV_BINARY_DIR "/bin/orvcim", "--url", "http://127.0.0.1:5988", "watch",
                 "Orvane_CIMHeartbeat"});
  EXPECT_TRUE(watch.waitForOutput("instance of Orvane_CIMHeartbeat", seconds(75)));
  watch.signal(SIGTERM);
  const Outcome outcome = watch.wait();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  for (const char* name :
       {"CIM_IndicationFilter", "CIM_IndicationHandler", "CIM_IndicationSubscription"}) {
    const Reply left = ask("EnumerateInstanceNames", classParameter(name), "root/interop");
    EXPECT_EQ(left.code(), 0) << left.body;
    EXPECT_EQ(left.count("INSTANCENAME"), 0U) << left.body;
  }
}

TEST_F(RealIndicationsTest, PersistedSubscriptionsNeverHoldUpARestart) {
  serveWithHeartbeat();
  ExportListener listener;
  for (const char* name : {"beats", "more-beats"}) {
    ASSERT_EQ(subscribe(name, "Orvane_CIMHeartbeat", listener.url()), "");
  }
  ASSERT_EQ(subscribe("changes", "Orvane_KernelIPChangedIndication", listener.url()), "");
  for (int restart = 0; restart < kRestarts; ++restart) {
    EXPECT_LT(sandbox_->stop(), seconds(2)) << "stop " << restart;
    ASSERT_TRUE(sandbox_->start()) << "restart " << restart;
    for (const char* name : {"Orvane_Processor", "Orvane_KernelIPv4ProtocolEndpoint",
                             "Orvane_RollupHealthState", "Orvane_HypervisorSoftwareIdentity"}) {
      const Reply reply = ask("EnumerateInstances", classParameter(name));
      ASSERT_EQ(reply.code(), 0) << "restart " << restart << ", " << name;
    }
    EXPECT_EQ(
        ask("EnumerateInstanceNames", classParameter("CIM_IndicationSubscription"), "root/interop")
            .count("INSTANCENAME CLASSNAME=\"CIM_IndicationSubscription\""),
        3U);
  }
  EXPECT_LT(sandbox_->stop(), seconds(2));
}

}  // namespace
}  // namespace orv::test
