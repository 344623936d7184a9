#include "metrics/check.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <utility>

#include "metrics/conversions.h"
#include "metrics/elements.h"

namespace orv::metrics {
namespace {

using broker::Instance;
using broker::Response;

// ---- Reading ----

std::string textOf(const Instance& instance, const char* property) {
  const broker::Value* value = instance.property(property);
  return value == nullptr ? "" : plainText(*value);
}

std::optional<double> numberOf(const Instance& instance, const char* property,
                               const Conversion& conversion) {
  const broker::Value* value = instance.property(property);
  return value == nullptr ? std::nullopt : conversion.apply(*value);
}

std::optional<std::uint64_t> counterOf(const Instance& instance, const char* property) {
  const broker::Value* value = instance.property(property);
  return value == nullptr ? std::nullopt : codeOf(*value);
}

std::optional<bool> truthOf(const std::optional<double>& number) {
  return number ? std::optional<bool>(*number != 0) : std::nullopt;
}

std::string failureText(const std::string& className, const Response& response) {
  const bool told = response.message && !response.message->empty();
  return className + " cannot be read: " +
         (told ? *response.message : std::string(broker::statusText(response.rc)));
}

class Reader {
 public:
  Reader(const Ask& ask, const std::string& nameSpace, HostFacts& facts)
      : ask_(ask), nameSpace_(nameSpace), facts_(facts) {}

  void readHealth() {
    for (const Instance& rollup : instances("Orvane_RollupHealthState")) {
      facts_.rollup = numberOf(rollup, "HealthState", kHealth);
    }
    for (const Instance& record : instances("Orvane_LatchedHealthState")) {
      const std::string element = elementOf(ask_, record, "Orvane_LatchedHealthAssociation");
      const std::string className = textOf(record, "LatchedClassName");
      facts_.records.push_back({element.empty() ? className : className + " " + element,
                                numberOf(record, "HealthState", kHealth).value_or(0)});
    }
  }

  void readPorts() {
    const std::map<std::string, std::uint64_t> errors = errorsByPort();
    for (const Instance& port : instances("Orvane_EthernetPort")) {
      PortFacts one;
      one.device = textOf(port, "DeviceID");
      one.enabled = truthOf(numberOf(port, "EnabledState", kPortEnabled));
      one.up = truthOf(numberOf(port, "EnabledState", kPortUp));
      const auto counted = errors.find(one.device);
      if (counted != errors.end()) one.errors = counted->second;
      facts_.host = textOf(port, "SystemName");
      facts_.ports.push_back(std::move(one));
    }
  }

  void readBootTime() {
    for (const Instance& image : instances("Orvane_HypervisorSoftwareIdentity")) {
      const std::optional<double> time = numberOf(image, "LastStartTime", kTime);
      if (time) facts_.bootTime = time;
    }
  }

 private:
  std::vector<Instance> instances(const char* className) {
    broker::Request request;
    request.operation = broker::Operation::kEnumerateInstances;
    request.path.nameSpace = nameSpace_;
    request.path.className = className;
    Response response = ask_(request);
    if (!response.ok()) facts_.failures.push_back(failureText(className, response));
    return std::move(response.instances);
  }

  std::map<std::string, std::uint64_t> errorsByPort() {
    std::map<std::string, std::uint64_t> errors;
    for (const Instance& statistics : instances("Orvane_EPStatisticalInformation")) {
      const broker::Value* id = statistics.property("InstanceID");
      const std::optional<std::uint64_t> received = counterOf(statistics, "errorsRx");
      const std::optional<std::uint64_t> sent = counterOf(statistics, "errorsTx");
      if (id != nullptr && received && sent) errors[lastPartText(*id)] = *received + *sent;
    }
    return errors;
  }

  const Ask& ask_;
  const std::string& nameSpace_;
  HostFacts& facts_;
};

// ---- Judging ----

std::string healthText(double health) {
  static constexpr std::pair<int, const char*> kTexts[] = {{0, "unknown"},
                                                           {5, "OK"},
                                                           {10, "degraded"},
                                                           {15, "minor failure"},
                                                           {20, "major failure"},
                                                           {25, "critical failure"},
                                                           {30, "non-recoverable error"}};
  for (const auto& [number, text] : kTexts) {
    if (health == number) return text;
  }
  return std::to_string(static_cast<long>(health));
}

/// "4711", "0.25": without trailing zeros, at most four decimals.
std::string numberText(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.4f", value);
  std::string all = text;
  all.erase(all.find_last_not_of('0') + 1);
  if (all.back() == '.') all.pop_back();
  return all == "-0" ? "0" : all;
}

/// The text as one line that has no "|", which begins the performance data.
std::string statusText(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < ' ' || c == 0x7F) c = ' ';
    if (c == '|') c = '/';
  }
  return text;
}

/// A label of performance data in quotes, with quotes and "=" in it made harmless.
std::string labelText(const std::string& text) {
  std::string label;
  for (const char c : statusText(text))
    label += c == '=' ? "_" : c == '\'' ? "''" : std::string(1, c);
  return "'" + label + "'";
}

Verdict verdictOf(double value, const Thresholds& thresholds) {
  if (thresholds.critical && thresholds.critical->alerts(value)) return Verdict::kCritical;
  if (thresholds.warning && thresholds.warning->alerts(value)) return Verdict::kWarning;
  return Verdict::kOk;
}

std::string rangeText(const std::optional<ThresholdRange>& range) {
  return range ? range->text() : "";
}

struct VerdictRow {
  const char* name;
  int badness;  ///< a known fault is worse than something unknown
};

/// By the numbers of the verdicts.
constexpr VerdictRow kVerdicts[] = {{"OK", 0}, {"WARNING", 2}, {"CRITICAL", 3}, {"UNKNOWN", 1}};

const VerdictRow& rowOf(Verdict verdict) { return kVerdicts[static_cast<std::size_t>(verdict)]; }

/// Builds the status line: the problems, the worst first, or else what was checked.
class Line {
 public:
  void problem(Verdict verdict, const std::string& text) { problems_.push_back({verdict, text}); }
  void remark(const std::string& text) { remarks_.push_back(text); }
  void note(const std::string& text) { notes_.push_back(text); }

  /// Adds a value to the performance data, and `problemText` to the problems if a threshold alerts.
  void value(const std::string& label, double value, const char* unit, const Thresholds& thresholds,
             const std::string& problemText) {
    const Verdict verdict = verdictOf(value, thresholds);
    if (verdict != Verdict::kOk) problem(verdict, problemText);
    performance_ += " " + labelText(label) + "=" + numberText(value) + unit + ";" +
                    rangeText(thresholds.warning) + ";" + rangeText(thresholds.critical) + ";0";
  }

  CheckResult result() {
    std::stable_sort(problems_.begin(), problems_.end(), [](const auto& a, const auto& b) {
      return rowOf(a.verdict).badness > rowOf(b.verdict).badness;
    });
    CheckResult result;
    result.verdict = problems_.empty() ? Verdict::kOk : problems_.front().verdict;
    std::vector<std::string> texts = problems_.empty() ? remarks_ : std::vector<std::string>();
    for (const Problem& one : problems_) texts.push_back(one.text);
    texts.insert(texts.end(), notes_.begin(), notes_.end());
    std::string joined;
    for (const std::string& text : texts) joined += (joined.empty() ? "" : "; ") + text;
    result.line = "ORVANE " + std::string(rowOf(result.verdict).name) + " - " + statusText(joined);
    if (!performance_.empty()) result.line += " |" + performance_;
    return result;
  }

 private:
  struct Problem {
    Verdict verdict;
    std::string text;
  };
  std::vector<Problem> problems_;
  std::vector<std::string> remarks_;  // written when nothing is wrong
  std::vector<std::string> notes_;    // always written
  std::string performance_;
};

void judgeHealth(const HostFacts& facts, const CheckSettings& settings, Line& line) {
  if (facts.rollup) {
    line.remark("health " + healthText(*facts.rollup));
    line.value("health", *facts.rollup, "", settings.health, "health " + healthText(*facts.rollup));
  }
  double worst = 0;
  std::string elements;
  for (const RecordFacts& record : facts.records) {
    worst = std::max(worst, record.health);
    if (verdictOf(record.health, settings.latched) == Verdict::kOk) continue;
    elements +=
        (elements.empty() ? "" : ", ") + record.element + " was " + healthText(record.health);
  }
  line.remark(facts.records.empty() ? "no latched record"
                                    : std::to_string(facts.records.size()) + " latched");
  line.value("latched", static_cast<double>(facts.records.size()), "", {}, "");
  line.value("latched_worst", worst, "", settings.latched, "latched: " + elements);
}

bool isWanted(const CheckSettings& settings, const std::string& device) {
  return settings.ports.empty() ||
         std::find(settings.ports.begin(), settings.ports.end(), device) != settings.ports.end();
}

const PortFacts* find(const HostFacts& facts, const std::string& device) {
  const auto found = std::find_if(facts.ports.begin(), facts.ports.end(),
                                  [&](const PortFacts& port) { return port.device == device; });
  return found == facts.ports.end() ? nullptr : &*found;
}

void judgePorts(const HostFacts& facts, const CheckSettings& settings, Line& line) {
  std::size_t up = 0;
  std::vector<std::string> down;
  for (const PortFacts& port : facts.ports) {
    if (!isWanted(settings, port.device)) continue;
    if (!port.up || !port.enabled) {
      line.problem(Verdict::kUnknown, "port " + port.device + " does not report its state");
    } else if (*port.up) {
      ++up;
    } else if (*port.enabled || !settings.ports.empty()) {
      down.push_back(port.device);
    }
  }
  for (const std::string& wanted : settings.ports) {
    if (find(facts, wanted) == nullptr) down.push_back(wanted + " (missing)");
  }
  std::string names;
  for (const std::string& name : down) names += (names.empty() ? "" : ", ") + name;
  line.remark(std::to_string(up) + (up == 1 ? " port up" : " ports up"));
  line.value("ports_down", static_cast<double>(down.size()), "", settings.down, "down: " + names);
}

/// The state of the last check, or null when no rates can be computed from it.
const CheckState* comparable(const HostFacts& facts, const StoredState& previous, double now,
                             Line& line) {
  if (!previous.complaint.empty()) line.note(previous.complaint);
  if (!previous.state) return nullptr;
  const CheckState& state = *previous.state;
  if (state.host != facts.host) {
    line.note("the state file is of host " + state.host + " and is replaced");
    return nullptr;
  }
  if (!(state.time <= now)) {
    line.note("the state file is from the future and is replaced");
    return nullptr;
  }
  if (facts.bootTime && state.time < *facts.bootTime) {
    line.note("the host was restarted since the last check");
    return nullptr;
  }
  return &state;
}

constexpr double kShortest = 1;  // seconds between two checks that give a rate, at least

void judgeErrors(const HostFacts& facts, const CheckState* before, const CheckSettings& settings,
                 double now, Line& line) {
  if (before == nullptr || now - before->time < kShortest) return;
  for (const PortFacts& port : facts.ports) {
    const auto last = before->errors.find(port.device);
    const bool known = port.errors && last != before->errors.end() && *port.errors >= last->second;
    if (!known || !isWanted(settings, port.device)) continue;
    const double rate = static_cast<double>(*port.errors - last->second) / (now - before->time);
    line.value(port.device + "_errors", rate, "", settings.errors,
               "port " + port.device + ": " + numberText(rate) + " errors per second");
  }
}

void judgeHeartbeat(const HeartbeatFacts& heartbeat, const CheckSettings& settings, double now,
                    Line& line) {
  if (!heartbeat.time) {
    line.problem(Verdict::kCritical, "no heartbeat in " + numberText(heartbeat.waited) + " s");
    return;
  }
  const double age = std::max(0.0, now - *heartbeat.time);
  line.remark("heartbeat " + numberText(std::floor(age)) + " s ago");
  line.value("heartbeat_age", age, "s", settings.heartbeat,
             "last heartbeat " + numberText(std::floor(age)) + " s ago");
}

std::optional<CheckState> nextState(const HostFacts& facts, const CheckState* before, double now) {
  if (before != nullptr && now - before->time < kShortest) return std::nullopt;
  CheckState next;
  next.time = now;
  next.host = facts.host;
  for (const PortFacts& port : facts.ports) {
    if (port.errors) next.errors[port.device] = *port.errors;
  }
  return next;
}

}  // namespace

CheckSettings defaultCheck() {
  CheckSettings settings;
  settings.health = {ThresholdRange::parse("~:5"), ThresholdRange::parse("~:15")};
  settings.latched = settings.health;
  settings.down = {ThresholdRange::parse("0"), std::nullopt};
  settings.errors = {ThresholdRange::parse("1"), ThresholdRange::parse("10")};
  return settings;
}

HostFacts readHost(const Ask& ask, const std::string& nameSpace) {
  HostFacts facts;
  Reader reader(ask, nameSpace, facts);
  reader.readHealth();
  reader.readPorts();
  reader.readBootTime();
  return facts;
}

CheckResult judge(const HostFacts& facts, const std::optional<HeartbeatFacts>& heartbeat,
                  const StoredState& previous, const CheckSettings& settings, double now) {
  Line line;
  judgeHealth(facts, settings, line);
  judgePorts(facts, settings, line);
  for (const std::string& failure : facts.failures) line.problem(Verdict::kUnknown, failure);
  const CheckState* before = comparable(facts, previous, now, line);
  judgeErrors(facts, before, settings, now, line);
  if (heartbeat) judgeHeartbeat(*heartbeat, settings, now, line);
  CheckResult result = line.result();
  result.next = nextState(facts, before, now);
  return result;
}

}  // namespace orv::metrics
