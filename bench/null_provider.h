#pragma once

#include "broker/broker.h"

namespace orv::bench {

/// Name under which the null provider is registered and asked.
inline constexpr char kNullProvider[] = "NullProvider";

/// Adds the null provider to a broker's options: a provider with its values at hand, which answers
/// every request with the objects given to replayAnswer(), making each through the broker's tables
/// as a provider does. What a real provider takes beyond it is its own work.
void addNullProvider(broker::Broker::Options& options);

/// The answer that the null provider gives from now on. Not while a request runs.
void replayAnswer(const broker::Response& answer);

}  // namespace orv::bench
