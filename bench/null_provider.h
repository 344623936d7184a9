#pragma once

#include "broker/broker.h"

namespace orv::bench {

/// Name under which the null provider is registered and asked.
inline constexpr char kNullProvider[] = "NullProvider";

/// Adds the null provider to a broker's options: a provider that has its values ready. It answers
/// every request with the objects given to replayAnswer(), and makes each through the broker's
/// tables, as a provider does. What a real provider takes beyond that is its own work.
void addNullProvider(broker::Broker::Options& options);

/// Sets the answer that the null provider gives from now on. Not to be called while a request runs.
void replayAnswer(const broker::Response& answer);

}  // namespace orv::bench
