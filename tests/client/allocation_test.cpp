// Every allocation of a subscription fails in turn, and nothing stays behind on the server.

#include <gtest/gtest.h>

#include <cstdlib>
#include <mutex>
#include <new>
#include <set>
#include <string>

#include "client/remote_client.h"
#include "tests/client/scripted_server.h"

namespace {

// Allocations of this thread until one fails; negative: none fails.
thread_local long untilFailure = -1;
thread_local bool failed = false;

}  // namespace

void* operator new(std::size_t size) {
  if (untilFailure >= 0 && untilFailure-- == 0) {
    failed = true;
    throw std::bad_alloc();
  }
  if (void* memory = std::malloc(size != 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

namespace orv::client {
namespace {

broker::SubscribeResult subscribe(RemoteClient& client) try {
  broker::IndicationFilter filter;
  filter.query = "SELECT * FROM T_Alert";
  return client.subscribe(filter, [](const auto&) {});
} catch (const std::exception&) {
  return {CMPI_RC_ERR_FAILED, std::nullopt, 0};
}

bool contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

/// The class of the object that a request creates or deletes.
std::string classOf(const std::string& request) {
  for (const char* name : {"CIM_IndicationSubscription", "CIM_IndicationHandlerCIMXML"}) {
    if (contains(request, name)) return name;
  }
  return "CIM_IndicationFilter";
}

TEST(RemoteSubscriptionAllocations, ThatFailLeaveNothingBehind) {
  constexpr long kStep = 7;       // a request allocates at many places that are alike
  std::mutex mutex;               // guards `objects`
  std::set<std::string> objects;  // classes of which the server has an instance
  const test::ScriptedServer server([&](const std::string& request) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (contains(request, "CIMMethod: CreateInstance")) objects.insert(classOf(request));
    if (contains(request, "CIMMethod: DeleteInstance")) objects.erase(classOf(request));
    return test::cimAnswer("<IRETURNVALUE></IRETURNVALUE>");
  });
  RemoteSettings settings;
  settings.transport.url = parseServerUrl(server.url());
  RemoteClient client(settings);
  const auto left = [&] {
    const std::lock_guard<std::mutex> lock(mutex);
    return objects;
  };
  const broker::SubscriptionId first = subscribe(client).id;
  ASSERT_EQ(left().size(), 3U);
  client.unsubscribe(first);
  long point = 0;
  do {
    failed = false;
    untilFailure = point;
    const broker::SubscribeResult result = subscribe(client);
    untilFailure = -1;
    EXPECT_EQ(result.ok(), !failed) << point;
    if (result.ok()) client.unsubscribe(result.id);
    EXPECT_EQ(left(), std::set<std::string>()) << "allocation " << point;
    point += kStep;
  } while (failed && !HasFailure());
  EXPECT_GT(point, 50);
}

}  // namespace
}  // namespace orv::client
