#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "serve/indication_export.h"

namespace orv::serve {

struct HttpListenerSettings {
  std::chrono::milliseconds timeout{10'000};  ///< of one post, from its connection to its answer
  std::size_t answerBytes = 64U * 1024;       ///< headers and body that are read at most
  std::string authorities;  ///< PEM file of who may vouch for https listeners; empty: the system's
  DestinationRules rules;
};

/// Posts over HTTP or HTTPS, with the server's certificate checked. Follows no redirection and uses
/// no proxy. Connects to addresses that the rules allow only, whatever a name resolves to.
///
/// Fails: std::runtime_error when the library cannot be had.
std::unique_ptr<Listener> makeHttpListener(const Destination& destination,
                                           const HttpListenerSettings& settings);

}  // namespace orv::serve
