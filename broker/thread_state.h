#pragma once

#include <memory>
#include <string>

#include "broker/broker.h"

/// What is known about the calling thread: the broker it works for, and the provider it is in.
namespace orv::broker {

/// A provider call in progress; up-calls nest them.
struct CallFrame {
  std::string provider;
  std::string className;
};

/// The broker of the calling thread: that of its request or attachment, else the most recently
/// created one that still exists. Null when there is none.
std::shared_ptr<BrokerState> currentBroker();

/// Adds a new broker to those that threads without one find.
void announceBroker(const std::shared_ptr<BrokerState>& broker);

/// Binds the calling thread to a broker and a provider until it ends or attaches again.
void attachThisThread(const std::weak_ptr<BrokerState>& broker, const std::string& provider);

/// Binds the calling thread to a broker for as long as the object exists.
class BrokerBinding {
 public:
  explicit BrokerBinding(const std::shared_ptr<BrokerState>& broker);
  BrokerBinding(const BrokerBinding&) = delete;
  BrokerBinding& operator=(const BrokerBinding&) = delete;
  ~BrokerBinding();

 private:
  std::weak_ptr<BrokerState> outer_;
};

/// Marks the calling thread as inside a provider for as long as the object exists.
class ProviderFrame {
 public:
  ProviderFrame(std::string provider, std::string className);
  ProviderFrame(const ProviderFrame&) = delete;
  ProviderFrame& operator=(const ProviderFrame&) = delete;
  ~ProviderFrame();

 private:
  CallFrame frame_;
  const CallFrame* outer_;
};

/// The provider of the innermost frame, or the one that the thread attached for; else empty.
std::string currentProvider();

/// Reports to the calling thread's broker where the object manager would crash. The provider is the
/// calling thread's; an empty class stands for that of the provider's request.
void report(const std::string& className, const std::string& property, const std::string& what);

/// Reports, while an exception is handled, that it leaves that part of a provider.
void reportException(const std::string& part);

/// Sets a status without a text, unless `out` is null.
inline void answer(CMPIStatus* out, CMPIrc rc) {
  if (out != nullptr) *out = CMPIStatus{rc, nullptr};
}

inline CMPIStatus status(CMPIrc rc) { return CMPIStatus{rc, nullptr}; }
/// With a text in the calling thread's memory.
CMPIStatus status(CMPIrc rc, const std::string& text);

}  // namespace orv::broker
