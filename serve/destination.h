#pragma once

#include <string>
#include <tuple>
#include <vector>

namespace orv::serve {

/// Where indications go, and for whom: a host must not be made to send where its subscriber could
/// not.
struct Destination {
  std::string url;         ///< http or https
  std::string subscriber;  ///< address of the client that made it

  bool operator<(const Destination& other) const {
    return std::tie(url, subscriber) < std::tie(other.url, other.subscriber);
  }
  bool operator==(const Destination& other) const {
    return url == other.url && subscriber == other.subscriber;
  }
};

/// To which addresses indications may go. Each rule adds some: "own" (the subscriber's),
/// "loopback", "any", an address, or a network as in "192.0.2.0/24".
class DestinationRules {
 public:
  DestinationRules() : DestinationRules({"own", "loopback"}) {}
  explicit DestinationRules(std::vector<std::string> rules) : rules_(std::move(rules)) {}

  bool allow(const std::string& address, const std::string& subscriber) const;
  static bool isRule(const std::string& text);

 private:
  std::vector<std::string> rules_;
};

/// The host of an http or https URL that we can post to. Empty for any other text.
std::string hostOf(const std::string& url);

}  // namespace orv::serve
