#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "broker/testing/test_broker.h"
#include "tests/broker/support/broker_fixture.h"

namespace orv::broker {
namespace {

constexpr int kThreads = 32;
constexpr int kRounds = 8;

void inThreads(const std::function<void(int)>& work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
}

class Concurrency : public SampleBroker {};

TEST_F(Concurrency, RequestsOfManyThreadsAreIndependent) {
  start({makeSection("Test_Disk", "Sample", "ia"), makeSection("Test_FastDisk", "Other", "i"),
         makeSection("Test_Caller", "Third", "i"), makeSection("Test_Link", "Sample", "a"),
         makeSection("Test_Misuse", "Sample", "i")});
  std::atomic<int> wrong{0};
  inThreads([&](int index) {
    for (int round = 0; round < kRounds; ++round) {
      switch ((index + round) % 4) {
        case 0:
          if (broker_->enumerateInstances("root/test", "Test_Base").rc != CMPI_RC_OK) ++wrong;
          break;
        case 1:
          if (broker_->getInstance(disk("a", "Test_Caller")).instances.size() != 1) ++wrong;
          break;
        case 2:
          if (broker_->associatorNames(disk("d")).paths.size() != 1) ++wrong;
          break;
        default: {
          const TestResponse bad = broker_->getInstance(disk("returnDataReference", "Test_Misuse"));
          if (bad.reports.size() != 1) ++wrong;
        }
      }
    }
  });
  EXPECT_EQ(wrong, 0);
}

TEST_F(Concurrency, FirstRequestsAtOnceCallAFactoryOnce) {
  start({makeSection("Test_Disk", "Sample", "i")});
  inThreads([&](int) { broker_->enumerateInstanceNames("root/test", "Test_Disk"); });
  const std::string log = library_.takeLog();
  const std::size_t first = log.find("factory");
  EXPECT_NE(first, std::string::npos);
  EXPECT_EQ(log.find("factory", first + 1), std::string::npos);
}

TEST_F(Concurrency, DeliveriesAndSubscriptionsMayOverlap) {
  start({makeSection("Test_Alarm", "Sample", "n"), makeSection("Test_Disk", "Other", "i")});
  const IndicationFilter filter{"SELECT * FROM Test_Alarm", "WQL", "root/test", ""};
  std::atomic<int> delivered{0};
  const auto count = [&delivered](const Instance&) { ++delivered; };
  ASSERT_TRUE(broker_->subscribe(filter, count).ok());
  inThreads([&](int index) {
    for (int round = 0; round < kRounds; ++round) {
      if (index % 4 == 0) {
        std::atomic<bool> ended{false};
        const auto id = broker_
                            ->subscribe(filter,
                                        [&ended](const Instance&) {
                                          EXPECT_FALSE(ended) << "a handler ran after unsubscribe";
                                        })
                            .id;
        broker_->unsubscribe(id);
        ended = true;
      } else {
        EXPECT_EQ(library_.deliver("Test_Alarm", "x"), CMPI_RC_OK);
      }
    }
  });
  EXPECT_EQ(delivered, kThreads * 3 / 4 * kRounds);
}

TEST_F(Concurrency, IdleChecksWaitForRequests) {
  start({makeSection("Test_Disk", "Sample", "i")});
  std::atomic<int> wrong{0};
  inThreads([&](int index) {
    for (int round = 0; round < kRounds; ++round) {
      if (index % 8 == 0) {
        broker_->idleCheck();
      } else if (!broker_->enumerateInstances("root/test", "Test_Disk").ok()) {
        ++wrong;
      }
    }
  });
  EXPECT_EQ(wrong, 0);
}

TEST_F(Concurrency, BrokersComeAndGoWhileThreadsWork) {
  start({makeSection("Test_Disk", "Sample", "i")});
  std::atomic<bool> stop{false};
  std::thread free([&stop] {
    const CMPIBroker* mb = Broker::cmpi();
    while (!stop) {
      CMPIGcStat* mark = mb->mft->mark(mb, nullptr);
      CMPIObjectPath* path = mb->eft->newObjectPath(mb, "root/test", "Test_Disk", nullptr);
      mb->eft->newInstance(mb, path, nullptr);
      mb->mft->release(mb, mark);
    }
  });
  for (int i = 0; i < 50; ++i) {
    TestBroker other(makeOptions());
    RequestScope scope(other);
    scope.make(Instance{{"", "root/test", "Test_Disk", {}}, {}, {}});
  }
  stop = true;
  free.join();
}

}  // namespace
}  // namespace orv::broker
