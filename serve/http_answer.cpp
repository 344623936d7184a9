#include "serve/http_answer.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace orv::serve {
namespace {

struct StatusText {
  int status;
  const char* text;
};

/// For the person who typed the URL.
constexpr StatusText kStatusTexts[] = {
    {400, "the request is not valid"},
    {401, "a name and a password are needed"},
    {403, "the request comes from a page of another site, or from a client without a certificate"},
    {404, "there is nothing here"},
    {405, "this method is not supported"},
    {421, "this host does not answer to that name; the option --host-name adds a name"},
    {429, "too many wrong passwords from this address, or too many logins at once; please wait"},
    {500, "the request failed"},
    {503, "the service is too busy or has too little memory; please try again"},
};

const char* textOf(int status) {
  const auto* found = std::find_if(std::begin(kStatusTexts), std::end(kStatusTexts),
                                   [=](const StatusText& row) { return row.status == status; });
  return found == std::end(kStatusTexts) ? "the request cannot be answered" : found->text;
}

bool isBelow(std::string_view path, const std::string& prefix) {
  return prefix.size() > 1 && prefix.back() == '/' && path.substr(0, prefix.size()) == prefix;
}

}  // namespace

const std::string* GetRequest::parameter(std::string_view name) const {
  const auto found = std::find_if(parameters.begin(), parameters.end(),
                                  [&](const auto& entry) { return entry.first == name; });
  return found == parameters.end() ? nullptr : &found->second;
}

const GetRoute* routeOf(const std::vector<GetRoute>& routes, std::string_view path) {
  const GetRoute* longest = nullptr;
  for (const GetRoute& route : routes) {
    if (route.path == path) return &route;
    const bool longer = longest == nullptr || route.path.size() > longest->path.size();
    if (longer && isBelow(path, route.path)) longest = &route;
  }
  return longest;
}

HttpAnswer errorAnswer(int status, const std::string& text) {
  const nlohmann::ordered_json body = {{"status", status},
                                       {"text", text.empty() ? textOf(status) : text}};
  using Json = nlohmann::ordered_json;
  return {status,
          body.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n",
          "application/json",
          {{"Cache-Control", "no-store"}}};
}

}  // namespace orv::serve
