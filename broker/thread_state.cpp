#include "broker/thread_state.h"

#include <exception>
#include <mutex>
#include <vector>

#include "broker/broker_state.h"
#include "broker/strings.h"

namespace orv::broker {
namespace {

struct ThreadState {
  std::weak_ptr<BrokerState> broker;
  std::string attachedProvider;
  const CallFrame* frame = nullptr;
};

ThreadState& threadState() {
  thread_local ThreadState state;
  return state;
}

/// Brokers in the order of their creation. Never destroyed: provider threads may outlive main.
struct LiveBrokers {
  std::mutex mutex;  // guards list; nothing is locked while it is held
  std::vector<std::weak_ptr<BrokerState>> list;
};

LiveBrokers& liveBrokers() {
  static auto* brokers = new LiveBrokers;
  return *brokers;
}

std::shared_ptr<BrokerState> lastBroker() {
  LiveBrokers& brokers = liveBrokers();
  const std::lock_guard<std::mutex> lock(brokers.mutex);
  while (!brokers.list.empty()) {
    if (auto broker = brokers.list.back().lock()) return broker;
    brokers.list.pop_back();
  }
  return nullptr;
}

}  // namespace

std::shared_ptr<BrokerState> currentBroker() {
  if (auto broker = threadState().broker.lock()) return broker;
  return lastBroker();
}

void announceBroker(const std::shared_ptr<BrokerState>& broker) {
  LiveBrokers& brokers = liveBrokers();
  const std::lock_guard<std::mutex> lock(brokers.mutex);
  brokers.list.push_back(broker);
}

void attachThisThread(const std::weak_ptr<BrokerState>& broker, const std::string& provider) {
  threadState().broker = broker;
  threadState().attachedProvider = provider;
}

BrokerBinding::BrokerBinding(const std::shared_ptr<BrokerState>& broker)
    : outer_(threadState().broker) {
  threadState().broker = broker;
}

BrokerBinding::~BrokerBinding() { threadState().broker = outer_; }

ProviderFrame::ProviderFrame(std::string provider, std::string className)
    : frame_{std::move(provider), std::move(className)}, outer_(threadState().frame) {
  threadState().frame = &frame_;
}

ProviderFrame::~ProviderFrame() { threadState().frame = outer_; }

std::string currentProvider() {
  const ThreadState& state = threadState();
  return state.frame != nullptr ? state.frame->provider : state.attachedProvider;
}

void report(const std::string& className, const std::string& property, const std::string& what) {
  const ThreadState& state = threadState();
  Report made{currentProvider(), className, property, what};
  if (made.className.empty() && state.frame != nullptr) made.className = state.frame->className;
  const auto broker = currentBroker();
  if (broker && broker->options.onReport) broker->options.onReport(made);
}

void reportException(const std::string& part) try { throw; } catch (const std::exception& error) {
  report("", "", "an exception leaves " + part + ": ends the process (" + error.what() + ")");
} catch (...) {
  report("", "", "an exception leaves " + part + ": ends the process");
}

CMPIStatus status(CMPIrc rc, const std::string& text) { return CMPIStatus{rc, makeString(text)}; }

}  // namespace orv::broker
