// What a hostile listener can do to the one who posts to it.

#include "serve/http_listener.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "serve/listen_address.h"

namespace orv::serve {
namespace {

using std::chrono::milliseconds;

/// Accepts one connection and does to it what a test likes.
class RawListener {
 public:
  using Behaviour = std::function<void(int connection, const std::atomic<bool>& stop)>;

  explicit RawListener(Behaviour behaviour)
      : socket_(ListenAddress{"127.0.0.1", 0}), thread_([this, behaviour = std::move(behaviour)] {
          const int connection = accept();
          if (connection < 0) return;
          behaviour(connection, stop_);
          ::close(connection);
        }) {}
  ~RawListener() {
    stop_ = true;
    thread_.join();
  }
  RawListener(const RawListener&) = delete;
  RawListener& operator=(const RawListener&) = delete;

  std::string url() const { return "http://" + socket_.authority() + "/"; }

 private:
  int accept() const {
    while (!stop_) {
      pollfd wanted{socket_.descriptor(), POLLIN, 0};
      if (::poll(&wanted, 1, 20) == 1) return ::accept(socket_.descriptor(), nullptr, nullptr);
    }
    return -1;
  }

  ListenSocket socket_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

/// Sends a text until the other end does not want it any more; the number of bytes taken.
std::size_t sendForEver(int connection, const std::string& text, const std::atomic<bool>& stop) {
  std::size_t sent = 0;
  while (!stop) {
    pollfd wanted{connection, POLLOUT, 0};
    if (::poll(&wanted, 1, 20) != 1) continue;
    const ssize_t now = ::send(connection, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (now < 0) break;
    sent += static_cast<std::size_t>(now);
  }
  return sent;
}

struct Outcome {
  bool delivered;
  milliseconds took;
};

Outcome postTo(const std::string& url, milliseconds timeout = milliseconds(10'000)) {
  HttpListenerSettings settings;
  settings.timeout = timeout;
  const auto listener = makeHttpListener({url, "127.0.0.1"}, settings);
  const auto before = std::chrono::steady_clock::now();
  const bool delivered = listener->post("<CIM/>");
  return {delivered,
          std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - before)};
}

void answer(int connection, const std::string& text) {
  ::send(connection, text.data(), text.size(), MSG_NOSIGNAL);
}

TEST(HttpListener, ASuccessIsATwoHundred) {
  for (const auto& [status, taken] : {std::make_pair("200 OK", true),
                                      {"204 No Content", true},
                                      {"302 Found", false},
                                      {"404 Not Found", false},
                                      {"500 Error", false}}) {
    const std::string line = status;
    const RawListener listener([&](int connection, const std::atomic<bool>&) {
      answer(connection, "HTTP/1.1 " + line + "\r\nLocation: /other\r\nContent-Length: 0\r\n\r\n");
    });
    EXPECT_EQ(postTo(listener.url()).delivered, taken) << status;
  }
}

TEST(HttpListener, AnEndlessHeaderCostsSixtyFourKibibytes) {
  std::atomic<std::size_t> sent{0};
  {
    const RawListener listener([&](int connection, const std::atomic<bool>& stop) {
      answer(connection, "HTTP/1.1 200 OK\r\n");
      sent = sendForEver(connection, "X-Filler: 0123456789abcdef\r\n", stop);
    });
    const Outcome outcome = postTo(listener.url());
    EXPECT_FALSE(outcome.delivered);
    EXPECT_LT(outcome.took, milliseconds(9000));
  }
}

TEST(HttpListener, AnEndlessBodyCostsSixtyFourKibibytes) {
  const RawListener listener([](int connection, const std::atomic<bool>& stop) {
    answer(connection, "HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\n\r\n");
    sendForEver(connection, std::string(4096, 'x'), stop);
  });
  const Outcome outcome = postTo(listener.url());
  EXPECT_FALSE(outcome.delivered);
  EXPECT_LT(outcome.took, milliseconds(9000));
}

TEST(HttpListener, ASlowAnswerEndsInTime) {
  const RawListener listener([](int connection, const std::atomic<bool>& stop) {
    answer(connection, "HTTP/1.1 200 OK\r\nX: ");
    while (!stop) {
      answer(connection, "x");
      std::this_thread::sleep_for(milliseconds(20));
    }
  });
  const Outcome outcome = postTo(listener.url(), milliseconds(300));
  EXPECT_FALSE(outcome.delivered);
  EXPECT_LT(outcome.took, milliseconds(5000));
}

TEST(HttpListener, APostUnderWayIsCancelledAtOnce) {
  const RawListener silent([](int, const std::atomic<bool>& stop) {
    while (!stop) std::this_thread::sleep_for(milliseconds(5));
  });
  const auto listener = makeHttpListener({silent.url(), "127.0.0.1"}, HttpListenerSettings());
  std::thread canceller([&] {
    std::this_thread::sleep_for(milliseconds(50));
    listener->cancel();
  });
  const auto before = std::chrono::steady_clock::now();
  EXPECT_FALSE(listener->post("<CIM/>"));
  EXPECT_LT(std::chrono::steady_clock::now() - before, milliseconds(5000));
  canceller.join();
  EXPECT_FALSE(listener->post("<CIM/>"));  // and every later one
}

TEST(HttpListener, AnAddressThatIsNotAllowedIsNotReached) {
  std::atomic<bool> reached{false};
  const RawListener listener([&](int, const std::atomic<bool>&) { reached = true; });
  HttpListenerSettings settings;
  settings.rules = DestinationRules({"own"});
  EXPECT_FALSE(makeHttpListener({listener.url(), "192.0.2.1"}, settings)->post("<CIM/>"));
  EXPECT_FALSE(reached);
}

}  // namespace
}  // namespace orv::serve
