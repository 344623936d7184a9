#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "broker/testing/test_broker.h"
#include "serve/endpoint.h"

/// Everything that the project runs in one process: all providers on a simulated host, the embedded
/// broker, the endpoint; and what happens around them.
namespace orv::test {

/// The broker with every provider linked in, hardware that a test scripts, and the endpoint.
class WholeSystem {
 public:
  WholeSystem();
  ~WholeSystem();
  WholeSystem(const WholeSystem&) = delete;
  WholeSystem& operator=(const WholeSystem&) = delete;

  broker::TestBroker& broker() { return *broker_; }
  int port() const { return port_; }
  /// As an object manager does for each class of a provider; not by two threads at once.
  void callFactories();
  /// Ends the endpoint, then the providers and their threads.
  void stop();

 private:
  void endThreads();

  std::unique_ptr<broker::TestBroker> broker_;
  std::unique_ptr<serve::Endpoint> endpoint_;
  int port_ = 0;
};

/// Threads that each repeat one thing until all are told to end.
class Actors {
 public:
  ~Actors() { end(); }

  /// `act` gets the number of its call, from 0.
  void add(std::function<void(unsigned number)> act);
  /// Returns when each has finished what it was doing.
  void end();

 private:
  std::atomic<bool> ending_{false};
  std::vector<std::thread> threads_;
};

/// The simulated host's file, replaced as a whole: readers see the old text or the new one.
class ChangingHost {
 public:
  ChangingHost();
  ~ChangingHost();
  ChangingHost(const ChangingHost&) = delete;
  ChangingHost& operator=(const ChangingHost&) = delete;

  void setPorts(unsigned count) const;

 private:
  std::string directory_;
};

/// What a subscriber is told of changed addresses: each indication must begin with the address that
/// the one before it ended with.
class AddressWatch {
 public:
  void take(const broker::Instance& indication);

  /// Empty, or the first indication that was lost, came twice or has no addresses.
  std::string failure() const;
  /// Waits until an indication tells this address. False when none does within 30 seconds.
  bool sees(const std::string& address);

 private:
  mutable std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  std::string last_;
  std::string failure_;
};

}  // namespace orv::test
