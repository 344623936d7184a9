#include "tool/fleet.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <optional>
#include <sstream>
#include <utility>

#include "notation/json.h"
#include "tool/commands.h"
#include "tool/errors.h"
#include "tool/health_report.h"
#include "tool/progress.h"
#include "tool/text_table.h"
#include "tool/threads.h"

namespace orv::tool {
namespace {

using notation::Json;
using notation::jsonText;

constexpr std::size_t kHostsAtATime = 32;

/// The answer of one host.
struct HostAnswer {
  std::string name;
  std::string text;                    // what the command prints
  std::string failure;                 // empty: none
  std::optional<HealthReport> health;  // of the health command
};

HostAnswer ask(const Options& options, const FleetHost& host) {
  HostAnswer answer;
  answer.name = host.name;
  std::ostringstream out;
  try {
    const std::unique_ptr<client::CimClient> client = host.connect();
    const auto note = [&](const std::string& text) {
      answer.failure += (answer.failure.empty() ? "" : "; ") + text;
    };
    const broker::ClassSource classes = client->classes(nameSpaceOf(options));
    Printer printer(out, classes, options.print, note);
    if (options.command != Command::kHealth) {
      runCommand(options, *client, printer);
    } else {
      answer.health = readHealth(*client, options.nameSpace);
      if (printer.format() == Format::kJson) out << jsonText(toJson(*answer.health, classes));
    }
  } catch (const std::exception& error) {
    answer.failure = error.what();
  }
  answer.text = out.str();
  return answer;
}

/// Prints answers one after the other.
class AnswerPrinter {
 public:
  AnswerPrinter(std::ostream& out, Format format) : out_(out), json_(format == Format::kJson) {}

  void add(const HostAnswer& answer) {
    if (answer.text.empty() && !answer.failure.empty()) return;
    if (json_) {
      out_ << (first_ ? "[\n" : ",\n") << "{\"host\": " << jsonText(Json(answer.name))
           << ", \"answer\": " << trimmed(answer.text) << "}";
    } else {
      out_ << (first_ ? "" : "\n") << "== " << answer.name << " ==\n" << answer.text;
    }
    out_ << std::flush;
    first_ = false;
  }
  void end() {
    if (json_) out_ << (first_ ? "[]\n" : "\n]\n");
  }

 private:
  static std::string trimmed(std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
  }

  std::ostream& out_;
  const bool json_;
  bool first_ = true;
};

/// The worst record; of several that are equally bad the first one. Null when there is none.
const HealthRecord* worstOf(const HealthReport& report) {
  const auto worst = std::max_element(
      report.records.begin(), report.records.end(),
      [](const auto& a, const auto& b) { return severityOf(a.state) < severityOf(b.state); });
  return worst == report.records.end() ? nullptr : &*worst;
}

/// Sorts from the worst host to the best, and equally bad ones by the number of latched records.
void sortByHealth(std::vector<HostAnswer>& answers) {
  const auto rank = [](const HostAnswer& answer) {
    if (!answer.health) return std::make_pair(std::uint64_t{0}, std::size_t{0});
    return std::make_pair(severityOf(answer.health->state), answer.health->records.size());
  };
  std::stable_sort(answers.begin(), answers.end(),
                   [&](const HostAnswer& a, const HostAnswer& b) { return rank(a) > rank(b); });
}

void printHealthTable(const std::vector<HostAnswer>& answers, std::ostream& out) {
  TextTable table({"HOST", "HEALTH", "LATCHED", "WORST ELEMENT", "SINCE", "WHAT IS WRONG"});
  for (const HostAnswer& answer : answers) {
    if (!answer.health) continue;
    const HealthRecord* worst = worstOf(*answer.health);
    table.add({answer.name, answer.health->text, std::to_string(answer.health->records.size()),
               worst == nullptr ? "-" : worst->element.name + " " + worst->worst,
               worst == nullptr ? "-" : worst->since,
               worst == nullptr ? "-" : wrongText(worst->element)});
  }
  if (!table.empty()) table.print(out);
}

void printFailures(const std::vector<HostAnswer>& answers, std::ostream& err) {
  TextTable table({"", ""});
  std::size_t failed = 0;
  for (const HostAnswer& answer : answers) {
    if (answer.failure.empty()) continue;
    ++failed;
    table.add({"  " + answer.name, answer.failure});
  }
  if (failed == 0) return;
  err << "orvcim: " << failed << " of " << answers.size() << " hosts failed:\n";
  table.print(err);
}

/// Asks all hosts. Calls `take` with each answer as it comes, one call at a time.
void askAll(const Options& options, const std::vector<FleetHost>& hosts,
            const std::function<void(HostAnswer)>& take) {
  std::atomic<std::size_t> next{0};
  std::mutex taking;  // guards what `take` touches
  const auto work = [&] {
    for (std::size_t i = next++; i < hosts.size(); i = next++) {
      HostAnswer answer = ask(options, hosts[i]);
      const std::lock_guard<std::mutex> lock(taking);
      take(std::move(answer));
    }
  };
  runInThreads(std::min(hosts.size(), kHostsAtATime), work);
}

}  // namespace

int runFleet(const Options& options, const std::vector<FleetHost>& hosts, std::ostream& out,
             std::ostream& err) {
  const bool atOnce = options.command != Command::kHealth;
  std::vector<HostAnswer> answers;
  std::size_t failed = 0;
  AnswerPrinter printer(out, options.print.format);
  Progress progress(hosts.size());
  progress.show(0, 0);
  askAll(options, hosts, [&](HostAnswer answer) {
    failed += answer.failure.empty() ? 0 : 1;
    if (atOnce) {
      progress.hide();
      printer.add(answer);
    }
    answers.push_back(std::move(answer));
    progress.show(answers.size(), failed);
  });
  progress.hide();
  if (!atOnce) sortByHealth(answers);
  if (!atOnce && options.print.format != Format::kJson) {
    printHealthTable(answers, out);
  } else {
    if (!atOnce) std::for_each(answers.begin(), answers.end(), [&](auto& a) { printer.add(a); });
    printer.end();
  }
  out << std::flush;
  printFailures(answers, err);
  return failed == 0 ? kExitOk : kExitCimError;
}

}  // namespace orv::tool
