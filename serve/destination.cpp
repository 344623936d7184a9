#include "serve/destination.h"

#include <curl/curl.h>

#include <algorithm>
#include <memory>

#include "serve/addresses.h"

namespace orv::serve {
namespace {

constexpr std::size_t kMaximumUrl = 2048;

using Url = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

std::string partOf(const Url& url, CURLUPart part) {
  char* text = nullptr;
  if (curl_url_get(url.get(), part, &text, 0) != CURLUE_OK) return "";
  std::string result = text;
  curl_free(text);
  return result;
}

}  // namespace

bool DestinationRules::isRule(const std::string& text) {
  return text == "own" || text == "loopback" || text == "any" || isNetwork(text);
}

bool DestinationRules::allow(const std::string& address, const std::string& subscriber) const {
  return std::any_of(rules_.begin(), rules_.end(), [&](const std::string& rule) {
    if (rule == "any") return true;
    if (rule == "own") return !subscriber.empty() && isInside(address, subscriber);
    return rule == "loopback" ? isLoopback(address) : isInside(address, rule);
  });
}

std::string hostOf(const std::string& text) {
  // Characters that HTTP would have to escape are refused: the text goes into a request unchanged.
  const bool isPlain = std::all_of(text.begin(), text.end(), [](char c) {
    return static_cast<unsigned char>(c) > 0x20 && static_cast<unsigned char>(c) < 0x7F;
  });
  // In a URL without a host the library would take the path for one.
  const bool hasHost = text.find(":///") == std::string::npos;
  if (!isPlain || !hasHost || text.size() > kMaximumUrl) return "";
  const Url url(curl_url(), curl_url_cleanup);
  if (url == nullptr || curl_url_set(url.get(), CURLUPART_URL, text.c_str(), 0) != CURLUE_OK) {
    return "";
  }
  const std::string scheme = partOf(url, CURLUPART_SCHEME);
  const std::string port = partOf(url, CURLUPART_PORT);
  const bool usable = (scheme == "http" || scheme == "https") && port != "0" &&
                      partOf(url, CURLUPART_USER).empty() &&
                      partOf(url, CURLUPART_FRAGMENT).empty();
  if (!usable) return "";
  std::string host = partOf(url, CURLUPART_HOST);
  if (host.size() > 2 && host.front() == '[') host = host.substr(1, host.size() - 2);
  return host;
}

}  // namespace orv::serve
