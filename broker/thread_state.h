#pragma once

#include <memory>
#include <string>

#include "broker/broker.h"

/// What the broker knows about the calling thread: for which broker it works, and which provider it
/// is in.
namespace orv::broker {

/// A provider call that is being made; nested by up-calls.
struct CallFrame {
  std::string provider;
  std::string className;
};

/// Broker of the calling thread: of its request or attachment, else the one created last that is
/// alive. Null when there is none.
std::shared_ptr<BrokerState> currentBroker();

/// Enters a new broker among those that threads without one may find.
void announceBroker(const std::shared_ptr<BrokerState>& broker);

/// Lets the calling thread work for a broker and a provider, until it ends or attaches again.
void attachThisThread(const std::weak_ptr<BrokerState>& broker, const std::string& provider);

/// The calling thread works for a broker as long as this lives.
class BrokerBinding {
 public:
  explicit BrokerBinding(const std::shared_ptr<BrokerState>& broker);
  BrokerBinding(const BrokerBinding&) = delete;
  BrokerBinding& operator=(const BrokerBinding&) = delete;
  ~BrokerBinding();

 private:
  std::weak_ptr<BrokerState> outer_;
};

/// The calling thread is inside a provider as long as this lives.
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

/// Provider of the innermost frame, or the one for which the thread attached; else empty.
std::string currentProvider();

/// Reports a place where the object manager would have crashed, to the calling thread's broker. The
/// provider is the calling thread's; an empty class means that of the provider's request.
void report(const std::string& className, const std::string& property, const std::string& what);

/// Writes a status where the caller wants one.
inline void answer(CMPIStatus* out, CMPIrc rc) {
  if (out != nullptr) *out = CMPIStatus{rc, nullptr};
}

inline CMPIStatus status(CMPIrc rc) { return CMPIStatus{rc, nullptr}; }
/// With a text in the calling thread's memory.
CMPIStatus status(CMPIrc rc, const std::string& text);

}  // namespace orv::broker
