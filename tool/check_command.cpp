#include <chrono>
#include <iostream>
#include <stdexcept>
#include <string>

#include "metrics/check.h"
#include "metrics/heartbeat_watch.h"
#include "tool/commands.h"
#include "tool/errors.h"
#include "tool/readable_text.h"
#include "tool/remote_command.h"

namespace orv::tool {
namespace {

using metrics::CheckSettings;
using metrics::HeartbeatFacts;
using metrics::ThresholdRange;
using metrics::Thresholds;

struct Threshold {
  const char* option;
  Thresholds CheckSettings::*quantity;
  std::optional<ThresholdRange> Thresholds::*level;
};

constexpr Threshold kThresholds[] = {
    {"health-warning", &CheckSettings::health, &Thresholds::warning},
    {"health-critical", &CheckSettings::health, &Thresholds::critical},
    {"latched-warning", &CheckSettings::latched, &Thresholds::warning},
    {"latched-critical", &CheckSettings::latched, &Thresholds::critical},
    {"down-warning", &CheckSettings::down, &Thresholds::warning},
    {"down-critical", &CheckSettings::down, &Thresholds::critical},
    {"errors-warning", &CheckSettings::errors, &Thresholds::warning},
    {"errors-critical", &CheckSettings::errors, &Thresholds::critical},
    {"heartbeat-warning", &CheckSettings::heartbeat, &Thresholds::warning},
    {"heartbeat-critical", &CheckSettings::heartbeat, &Thresholds::critical}};

std::optional<ThresholdRange> readRange(const char* option, const std::string& text) {
  if (text.empty()) return std::nullopt;
  std::optional<ThresholdRange> range = ThresholdRange::parse(text);
  if (range) return range;
  throw BadInput("--" + std::string(option) + ": \"" + oneLine(text) +
                 "\" is not a range, such as 10, 10:, ~:10, 10:20 or @10:20");
}

CheckSettings settingsOf(const Options& options) {
  CheckSettings settings = metrics::defaultCheck();
  settings.ports = options.ports;
  for (const Threshold& threshold : kThresholds) {
    const auto given = options.thresholds.find(threshold.option);
    if (given == options.thresholds.end()) continue;
    settings.*threshold.quantity.*threshold.level = readRange(threshold.option, given->second);
  }
  return settings;
}

double now() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

/// The heartbeat of the provider in this process, which sends one at once to its first subscriber.
/// Not for other hosts: there the check would take that heartbeat from a client that waits for it.
HeartbeatFacts ownHeartbeat(client::CimClient& client, const std::string& nameSpace) {
  constexpr std::chrono::seconds kPatience(5);
  metrics::HeartbeatWatch watch(
      {[&](const broker::IndicationFilter& filter, broker::IndicationHandler handler) {
         return client.subscribe(filter, std::move(handler));
       },
       [&](broker::SubscriptionId id) { client.unsubscribe(id); }},
      nameSpace);
  return {watch.waitForFirst(kPatience), static_cast<double>(kPatience.count())};
}

}  // namespace

int runCheck(const Options& options, client::CimClient& client) {
  const CheckSettings settings = settingsOf(options);
  successful(client::enumerateInstanceNames(client, options.nameSpace, "Orvane_RollupHealthState"));
  client.waitForHealth(options.nameSpace);
  const metrics::HostFacts facts = metrics::readHost(
      [&](const broker::Request& request) { return client.request(request); }, options.nameSpace);
  std::optional<HeartbeatFacts> heartbeat;
  if (!isRemote(options)) heartbeat = ownHeartbeat(client, options.nameSpace);
  const bool keeps = !options.stateFile.empty();
  const metrics::StoredState previous =
      keeps ? metrics::readState(options.stateFile) : metrics::StoredState();
  metrics::CheckResult result = metrics::judge(facts, heartbeat, previous, settings, now());
  if (keeps && result.next) {
    try {
      metrics::writeState(options.stateFile, *result.next);
    } catch (const std::runtime_error& e) {
      // A fault that was found is more important than the state file.
      if (result.verdict == metrics::Verdict::kOk) throw;
      std::cerr << "orvcim: " << e.what() << "\n";
    }
  }
  std::cout << result.line << "\n";
  return static_cast<int>(result.verdict);
}

}  // namespace orv::tool
