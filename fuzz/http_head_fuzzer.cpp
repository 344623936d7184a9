#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "serve/request_head.h"

// A request's head as text, one header per line after the method's: whatever it is, it is decided
// on; what is taken has no body, or exactly one length, within the limit, and a type that a web
// page cannot send; and no page of another site has asked for it but to show it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orv::serve;
  std::istringstream lines(std::string(reinterpret_cast<const char*>(data), size));
  RequestHead head;
  std::getline(lines, head.method);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t colon = line.find(": ");
    if (colon == std::string::npos) continue;
    head.headers.emplace_back(line.substr(0, colon), line.substr(colon + 2));
  }
  HeadRules rules;
  rules.hostNames = {"host.example"};
  const int status = refusalOf(head, rules);
  if (status != 0 && (status < 400 || status > 599)) std::abort();
  const std::string* site = head.header("Sec-Fetch-Site");
  const std::string* destination = head.header("Sec-Fetch-Dest");
  if (status == 0 && site != nullptr && *site == "cross-site" &&
      (!head.reads() || destination == nullptr || *destination != "document")) {
    std::abort();
  }
  if (status == 0 && head.reads() &&
      (contentLength(head) != 0 || head.header("Transfer-Encoding") != nullptr)) {
    std::abort();
  }
  if (status == 0 && !head.reads() &&
      (head.method != "POST" || head.header("Content-Length") == nullptr ||
       contentLength(head) > rules.bodyBytes || head.header("Content-Type") == nullptr)) {
    std::abort();
  }
  BasicCredentials credentials;
  if (readCredentials(head, credentials) && credentials.user.empty()) std::abort();
  return 0;
}
