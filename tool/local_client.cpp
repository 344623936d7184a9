#include "tool/local_client.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

namespace orv::tool {
namespace {

using broker::RegistrationSection;

std::string kinds(const RegistrationSection& section) {
  std::string text;
  const std::pair<bool, const char*> parts[] = {{section.instance, "instance"},
                                                {section.association, "association"},
                                                {section.indication, "indication"},
                                                {section.method, "method"}};
  for (const auto& [present, name] : parts) {
    if (present) text += (text.empty() ? "" : ", ") + std::string(name);
  }
  return text;
}

bool isIn(const RegistrationSection& section, const std::string& nameSpace) {
  return std::any_of(
      section.namespaces.begin(), section.namespaces.end(),
      [&](const std::string& name) { return name == "*" || broker::sameName(name, nameSpace); });
}

}  // namespace

broker::Response LocalClient::request(const broker::Request& request) {
  return session_.broker().request(request);
}

broker::ClassSource LocalClient::classes(const std::string& /*nameSpace*/) {
  return session_.classes();
}

client::ServedClasses LocalClient::servedClasses(const std::string& nameSpace) {
  client::ServedClasses served;
  for (const RegistrationSection& section : session_.registration()) {
    if (isIn(section, nameSpace)) {
      served.classes.push_back({section.className, kinds(section), section.instance});
    }
  }
  if (served.classes.empty()) {
    served.rc = CMPI_RC_ERR_INVALID_NAMESPACE;
    served.message = "no class is served in namespace " + nameSpace;
  }
  return served;
}

broker::SubscribeResult LocalClient::subscribe(const broker::IndicationFilter& filter,
                                               broker::IndicationHandler handler) {
  return session_.broker().subscribe(filter, std::move(handler));
}

broker::Response LocalClient::unsubscribe(broker::SubscriptionId id) {
  return session_.broker().unsubscribe(id);
}

// Loads the provider, whose monitor then reads the hardware for the first time, and waits until
// that has begun; requests for records wait for its end by themselves. What can be seen from here
// is that the monitors release, after each class, what they made on their attached threads. Where
// no hardware reports anything there is nothing to see, hence the limit.
void LocalClient::waitForHealth(const std::string& nameSpace) {
  constexpr auto kLimit = std::chrono::seconds(5);
  constexpr auto kStep = std::chrono::milliseconds(5);
  constexpr std::size_t kSigns = 2;  // one is from the provider's other monitor
  broker::Broker& broker = session_.broker();
  if (!broker.enumerateInstanceNames(nameSpace, "Orvane_RollupHealthState").ok()) return;
  const auto end = std::chrono::steady_clock::now() + kLimit;
  while (broker.contextReleaseCalls() < kSigns && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(kStep);
  }
}

}  // namespace orv::tool
