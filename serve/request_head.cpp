#include "serve/request_head.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

#include "broker/class_repository.h"

namespace orv::serve {
namespace {

using broker::sameName;
using std::string_view;

/// Headers that must not be given twice: programs differ in which of the two they read.
constexpr const char* kHeadersThatCount[] = {"Host",           "Content-Length", "Content-Type",
                                             "Origin",         "Authorization",  "Sec-Fetch-Site",
                                             "Sec-Fetch-Mode", "Sec-Fetch-Dest"};

std::size_t countOf(const RequestHead& head, const char* name) {
  return static_cast<std::size_t>(
      std::count_if(head.headers.begin(), head.headers.end(),
                    [&](const auto& header) { return sameName(header.first, name); }));
}

string_view trimmed(string_view text) {
  const auto isSpace = [](char c) { return c == ' ' || c == '\t'; };
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return text;
}

/// "name" for "name:5988", "::1" for "[::1]:5988".
string_view withoutPort(string_view host) {
  if (!host.empty() && host.front() == '[') {
    const std::size_t end = host.find(']');
    return end == string_view::npos ? string_view() : host.substr(1, end - 1);
  }
  return host.substr(0, host.find(':'));
}

bool isAddress(string_view host) {
  const std::string text(host);
  in6_addr address{};
  return inet_pton(AF_INET, text.c_str(), &address) == 1 ||
         inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

/// A page that reaches this server by DNS rebinding does so under a name of its author's, never
/// under an address.
bool isOurs(string_view host, const HeadRules& rules) {
  const string_view name = withoutPort(host);
  return isAddress(name) || sameName(name, "localhost") ||
         std::any_of(rules.hostNames.begin(), rules.hostNames.end(),
                     [&](const std::string& own) { return sameName(own, name); });
}

/// An origin is scheme and authority; our own has the authority of the Host header.
bool isOwnOrigin(string_view origin, string_view host) {
  for (const string_view scheme : {string_view("http://"), string_view("https://")}) {
    if (origin.substr(0, scheme.size()) == scheme) {
      return !host.empty() && sameName(origin.substr(scheme.size()), host);
    }
  }
  return false;
}

bool hasValue(const RequestHead& head, const char* name, string_view value) {
  const std::string* given = head.header(name);
  return given != nullptr && *given == value;
}

/// Browsers say on whose behalf they make a request, even where they send no Origin: for images,
/// scripts and frames of a page. "none" means that the user entered the address.
bool isForAnotherSite(const RequestHead& head) {
  if (head.header("Sec-Fetch-Site") == nullptr) return false;
  if (hasValue(head, "Sec-Fetch-Site", "same-origin")) return false;
  if (hasValue(head, "Sec-Fetch-Site", "none")) return false;
  const bool followsLink = head.reads() && hasValue(head, "Sec-Fetch-Mode", "navigate") &&
                           hasValue(head, "Sec-Fetch-Dest", "document");
  return !followsLink;
}

bool isXml(string_view contentType) {
  const string_view type = trimmed(contentType.substr(0, contentType.find(';')));
  return sameName(type, "application/xml") || sameName(type, "text/xml");
}

int refusalOfLength(const RequestHead& head, const HeadRules& rules) {
  const std::string* length = head.header("Content-Length");
  if (length == nullptr || head.header("Transfer-Encoding") != nullptr) return 411;
  std::size_t bytes = 0;
  const char* end = length->data() + length->size();
  const auto [rest, error] = std::from_chars(length->data(), end, bytes);
  if (error == std::errc::result_out_of_range) return 413;
  if (error != std::errc() || rest != end) return 400;
  return bytes > rules.bodyBytes ? 413 : 0;
}

int refusalOfBody(const RequestHead& head, const HeadRules& rules) {
  const std::string* type = head.header("Content-Type");
  if (type == nullptr || !isXml(*type)) return 415;
  if (head.header("Content-Encoding") != nullptr) return 415;  // decoded, it could be any size
  return refusalOfLength(head, rules);
}

int refusalOfReading(const RequestHead& head) {
  const std::string* length = head.header("Content-Length");
  const bool hasBody =
      head.header("Transfer-Encoding") != nullptr || (length != nullptr && *length != "0");
  return hasBody ? 400 : 0;
}

int valueOfBase64(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  return c == '+' ? 62 : c == '/' ? 63 : -1;
}

std::optional<std::string> decodeBase64(string_view text) {
  while (!text.empty() && text.back() == '=') text.remove_suffix(1);
  std::string bytes;
  std::uint32_t buffer = 0;
  unsigned bits = 0;
  for (const char c : text) {
    const int value = valueOfBase64(c);
    if (value < 0) return std::nullopt;
    buffer = buffer << 6 | static_cast<std::uint32_t>(value);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      bytes += static_cast<char>(buffer >> bits & 0xFF);
    }
  }
  return bytes;
}

}  // namespace

const std::string* RequestHead::header(const char* name) const {
  const auto found = std::find_if(headers.begin(), headers.end(),
                                  [&](const auto& entry) { return sameName(entry.first, name); });
  return found == headers.end() ? nullptr : &found->second;
}

int refusalOf(const RequestHead& head, const HeadRules& rules) {
  if (head.method == "M-POST") return 501;
  if (head.method != "POST" && !head.reads()) return 405;
  for (const char* name : kHeadersThatCount) {
    if (countOf(head, name) > 1) return 400;
  }
  const std::string* host = head.header("Host");
  if (host != nullptr && !isOurs(*host, rules)) return 421;
  const std::string* origin = head.header("Origin");
  if (origin != nullptr && !isOwnOrigin(*origin, host == nullptr ? "" : *host)) return 403;
  if (isForAnotherSite(head)) return 403;
  return head.reads() ? refusalOfReading(head) : refusalOfBody(head, rules);
}

std::size_t contentLength(const RequestHead& head) {
  const std::string* length = head.header("Content-Length");
  std::size_t bytes = 0;
  if (length != nullptr) std::from_chars(length->data(), length->data() + length->size(), bytes);
  return bytes;
}

bool readCredentials(const RequestHead& head, BasicCredentials& credentials) {
  constexpr string_view kScheme = "Basic ";
  const std::string* header = head.header("Authorization");
  if (header == nullptr || !sameName(string_view(*header).substr(0, kScheme.size()), kScheme)) {
    return false;
  }
  const std::optional<std::string> text =
      decodeBase64(trimmed(string_view(*header).substr(kScheme.size())));
  const std::size_t colon = text ? text->find(':') : std::string::npos;
  if (colon == std::string::npos || text->find('\0') != std::string::npos) return false;
  credentials.user = text->substr(0, colon);
  credentials.password = text->substr(colon + 1);
  return !credentials.user.empty();
}

}  // namespace orv::serve
