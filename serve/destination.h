#pragma once

#include <string>
#include <tuple>
#include <vector>

namespace orv::serve {

/// Where indications go, and on whose behalf: a client must not make the host send to places that
/// it could not reach itself.
struct Destination {
  std::string url;         ///< http or https
  std::string subscriber;  ///< address of the client that created the handler

  bool operator<(const Destination& other) const {
    return std::tie(url, subscriber) < std::tie(other.url, other.subscriber);
  }
  bool operator==(const Destination& other) const {
    return url == other.url && subscriber == other.subscriber;
  }
};

/// The addresses to which indications may be sent. Each rule allows some: "own" (the subscriber's),
/// "loopback", "any", an address, or a network such as "192.0.2.0/24".
class DestinationRules {
 public:
  DestinationRules() : DestinationRules({"own", "loopback"}) {}
  explicit DestinationRules(std::vector<std::string> rules) : rules_(std::move(rules)) {}

  bool allow(const std::string& address, const std::string& subscriber) const;
  static bool isRule(const std::string& text);

 private:
  std::vector<std::string> rules_;
};

/// The host of an http or https URL to which an indication can be posted, an IPv6 address without
/// its brackets. Empty for any other text.
std::string hostOf(const std::string& url);

}  // namespace orv::serve
