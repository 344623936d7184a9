#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "serve/indication_export.h"

namespace orv::serve {

struct HttpListenerSettings {
  std::chrono::milliseconds timeout{10'000};  ///< for one post, from connecting to the answer
  std::size_t answerBytes = 64U * 1024;       ///< of headers and body, read at most
  std::string authorities;  ///< PEM file, the authorities of https listeners; empty: the system's
  DestinationRules rules;
};

/// Posts over HTTP or HTTPS, and checks the listener's certificate. Follows no redirection and uses
/// no proxy. Connects only to addresses that the rules allow, whatever a name resolves to.
///
/// Fails: std::runtime_error when there is not enough memory.
std::unique_ptr<Listener> makeHttpListener(const Destination& destination,
                                           const HttpListenerSettings& settings);

}  // namespace orv::serve
