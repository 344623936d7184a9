#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "broker/broker.h"

namespace orv::broker {

/// Runs work on a thread of its own, with memory and reports of a request; waits for it. An
/// exception that leaves the work, and a thread that cannot be made, are the returned text.
std::optional<std::string> onRequestThread(const std::shared_ptr<BrokerState>& broker,
                                           const std::function<void()>& work,
                                           std::vector<Report>& reports);

/// A client's request from routing to answer. With a provider name, that provider's first section
/// of the right kind is asked as it is.
Response runRequest(const std::shared_ptr<BrokerState>& broker, const Request& request,
                    const std::optional<std::string>& providerName);

}  // namespace orv::broker
