#include "client/server_url.h"

#include <curl/curl.h>

#include <memory>
#include <stdexcept>

namespace orv::client {
namespace {

constexpr const char* kUsualPath = "/cimom";

using Url = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

[[noreturn]] void refuse(const std::string& what) { throw std::invalid_argument(what); }

/// A part of the URL; empty when it is absent.
std::string part(CURLU* url, CURLUPart which, unsigned flags = 0) {
  char* text = nullptr;
  if (curl_url_get(url, which, &text, flags) != CURLUE_OK) return "";
  std::string result = text;
  curl_free(text);
  return result;
}

/// The text for a message, without what could be a password.
std::string withoutLogin(const std::string& text) {
  const std::size_t at = text.rfind('@');
  if (at == std::string::npos) return text;
  const std::size_t scheme = text.find("://");
  const std::string begin = scheme == std::string::npos ? "" : text.substr(0, scheme + 3);
  return begin + "..." + text.substr(at);
}

}  // namespace

std::string ServerUrl::name() const {
  return (tls ? "https://" : "http://") + host + ":" + port + (path == kUsualPath ? "" : path);
}

std::string ServerUrl::address() const {
  return (tls ? "https://" : "http://") + host + ":" + port + path;
}

std::string ServerUrl::hostName() const {
  return host.front() == '[' ? host.substr(1, host.size() - 2) : host;
}

ServerUrl parseServerUrl(const std::string& text) {
  const Url handle(curl_url(), &curl_url_cleanup);
  if (handle == nullptr) throw std::bad_alloc();
  CURLU* url = handle.get();
  const std::string shown = "\"" + withoutLogin(text) + "\"";
  if (text.find("://") == std::string::npos) {
    refuse(shown + " is not a URL: it must have the form https://user@host:5989");
  }
  const CURLUcode code = curl_url_set(url, CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME);
  if (code != CURLUE_OK) refuse(shown + " is not a URL: " + curl_url_strerror(code));
  const std::string scheme = part(url, CURLUPART_SCHEME);
  if (scheme != "https" && scheme != "http") refuse(shown + ": must be https or http");
  char* password = nullptr;
  if (curl_url_get(url, CURLUPART_PASSWORD, &password, 0) == CURLUE_OK) {
    curl_free(password);
    refuse("the URL for " + part(url, CURLUPART_HOST) +
           " has a password in it, where others can see it; leave it out and use ~/.netrc, "
           "--password-file or the prompt");
  }
  if (!part(url, CURLUPART_QUERY).empty() || !part(url, CURLUPART_FRAGMENT).empty()) {
    refuse(shown + ": a query or a fragment has no meaning here");
  }
  ServerUrl result;
  result.tls = scheme == "https";
  result.user = part(url, CURLUPART_USER, CURLU_URLDECODE);
  result.host = part(url, CURLUPART_HOST);
  result.port = part(url, CURLUPART_PORT);
  if (result.host.empty()) refuse(shown + " names no host");
  if (result.port.empty()) result.port = result.tls ? "5989" : "5988";
  const std::string path = part(url, CURLUPART_PATH);
  if (path != "/" && !path.empty()) result.path = path;
  return result;
}

}  // namespace orv::client
