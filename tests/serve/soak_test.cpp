// Many clients for a while. ORV_SOAK_SECONDS sets for how long; a few seconds otherwise.

#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/serve/endpoint_fixture.h"

namespace orv::test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kClients = 64;

std::chrono::seconds duration() {
  const char* wanted = std::getenv("ORV_SOAK_SECONDS");
  return std::chrono::seconds(wanted == nullptr ? 3 : std::atoi(wanted));
}

/// The requests that every client asks in turn, with the number of objects in their answers.
class Requests {
 public:
  explicit Requests(const ServedLibrary& served) {
    for (const char* method : {"EnumerateInstanceNames", "EnumerateInstances"}) {
      for (const char* name : {"Orvane_EthernetPort", "Orvane_EPStatistics", "Orvane_Processor"}) {
        add(served, method, classParameter("ClassName", name));
      }
    }
    const std::string port = served.firstName("Orvane_EthernetPort");
    add(served, "GetInstance", parameter("InstanceName", port));
    for (const char* method : {"Associators", "AssociatorNames", "References", "ReferenceNames"}) {
      add(served, method, parameter("ObjectName", port));
    }
    add(served, "GetClass", classParameter("ClassName", "Orvane_EthernetPort"));
    add(served, "EnumerateClassNames", valueParameter("DeepInheritance", "TRUE"));
  }

  /// Empty, or what is wrong with the answer.
  std::string ask(int port, std::size_t index) const {
    const Request& request = requests_[index % requests_.size()];
    const Reply reply = postTo(port, request.text);
    if (reply.httpStatus != 200) return "HTTP " + std::to_string(reply.httpStatus);
    return reply.count() == request.count ? "" : reply.body;
  }

  std::size_t size() const { return requests_.size(); }

 private:
  struct Request {
    std::string text;
    std::size_t count;
  };

  void add(const ServedLibrary& served, const std::string& method, const std::string& parameters) {
    const std::string text = requestMessage(method, "root/cimv2", parameters);
    requests_.push_back({text, served.post(text).count()});
    EXPECT_GT(requests_.back().count, 0U) << method << parameters;
  }

  std::vector<Request> requests_;
};

/// Asks with all clients until the time is over; the number of answers.
std::size_t askWithManyClients(const ServedLibrary& served, const Requests& requests,
                               std::chrono::milliseconds time, std::string& firstFailure) {
  std::mutex mutex;  // guards firstFailure
  std::atomic<std::size_t> answers{0};
  const Clock::time_point end = Clock::now() + time;
  std::vector<std::thread> clients;
  for (std::size_t client = 0; client < kClients; ++client) {
    clients.emplace_back([&, client] {
      // Each asks once at least, also on a machine that is busy with something else.
      std::size_t next = client;
      do {
        const std::string failure = requests.ask(served.port(), next++);
        ++answers;
        if (failure.empty()) continue;
        const std::lock_guard<std::mutex> lock(mutex);
        if (firstFailure.empty()) firstFailure = failure;
      } while (Clock::now() < end);
    });
  }
  for (std::thread& client : clients) client.join();
  return answers;
}

/// Bytes that the process has allocated and not freed. Not the resident size: how the allocator's
/// arenas fill with 64 clients' threads differs from second to second. Zero under the sanitizers,
/// which look for leaks in their own way.
std::size_t bytesInUse() { return mallinfo2().uordblks; }

TEST(Soak, SixtyFourClientsAtOnceAreServedWithoutErrorOrGrowth) {
  const ServedLibrary served;
  const Requests requests(served);
  std::string failure;
  // Until the service has made what it keeps, which takes longer on a busy machine.
  constexpr std::size_t kSettled = 64U * 1024;
  std::size_t warm = 0;
  for (int round = 0; round < 10 && bytesInUse() > warm + kSettled; ++round) {
    warm = bytesInUse();
    askWithManyClients(served, requests, std::chrono::seconds(1), failure);
  }
  const std::size_t objectsBefore = broker::TestBroker::liveObjects();
  const std::size_t bytesBefore = bytesInUse();
  const std::size_t answers = askWithManyClients(served, requests, duration(), failure);
  EXPECT_EQ(failure, "");
  EXPECT_GE(answers, std::size_t{kClients});
  EXPECT_EQ(broker::TestBroker::liveObjects(), objectsBefore);
  constexpr std::size_t kNoise = 1024 * 1024;  // threads that have not quite ended
  EXPECT_LE(bytesInUse(), bytesBefore + kNoise);
  RecordProperty("answers", static_cast<int>(answers));
  std::printf("%zu answers to %d clients in %lld s\n", answers, kClients,
              static_cast<long long>(duration().count()));
}

}  // namespace
}  // namespace orv::test
