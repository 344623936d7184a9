#include "tool/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <iterator>
#include <map>
#include <numeric>
#include <string_view>
#include <utility>

#include "tool/errors.h"
#include "tool/readable_text.h"

namespace orv::tool {
namespace {

constexpr const char* kFooter = R"(Examples:
  orvcim list
  orvcim instances Orvane_EthernetPort --format table
  orvcim watch Orvane_CIMHeartbeat Orvane_KernelIPChangedIndication
  orvcim --simulate host.json list
  orvcim --url https://admin@host7:5989 health
  orvcim --hosts hosts.txt health

`orvcim COMMAND --help` explains a command and has examples of its own.

An object path is Class.Key="value",Other=5 with an optional namespace: in front, as `orvcim names`
prints them. Quote it for the shell.

Exit status: 0, 1 when a request was answered with an error, 2 for wrong usage or unusable files;
of check 0 OK, 1 warning, 2 critical, 3 unknown.)";

struct CommandText {
  Command command;
  const char* name;
  const char* description;
  const char* examples;  ///< one or two
};

// In the order in which --help lists them.
constexpr CommandText kCommands[] = {
    {Command::kList, "list", "Classes served, with their number of instances",
     "orvcim list\n"
     "orvcim list --format json"},
    {Command::kNames, "names", "Object paths of a class",
     "orvcim names Orvane_EthernetPort\n"
     "orvcim names CIM_IPProtocolEndpoint --format json"},
    {Command::kInstances, "instances", "Instances of a class",
     "orvcim instances Orvane_EthernetPort --format table\n"
     "orvcim instances Orvane_EPStatisticalInformation --property bytesRx bytesTx"},
    {Command::kGet, "get", "One instance",
     "orvcim get 'Orvane_RollupHealthState.Name=\"Orvane Rollup Health State\"'\n"
     "orvcim get \"$(orvcim names Orvane_EthernetPort | head -n 1)\" --nulls"},
    {Command::kAssociators, "associators", "Instances that are associated with an object",
     "orvcim associators \"$(orvcim names Orvane_EthernetPort | head -n 1)\" \\\n"
     "    --assoc-class Orvane_EPStatistics"},
    {Command::kAssociatorNames, "associator-names",
     "Object paths of what is associated with an object",
     "orvcim associator-names \"$(orvcim names Orvane_EthernetPort | head -n 1)\""},
    {Command::kReferences, "references", "Associations of an object",
     "orvcim references \"$(orvcim names Orvane_EthernetPort | head -n 1)\" --role Element"},
    {Command::kReferenceNames, "reference-names", "Object paths of the associations of an object",
     "orvcim reference-names \"$(orvcim names Orvane_EthernetPort | head -n 1)\""},
    {Command::kWatch, "watch", "Print indications as they arrive, until Ctrl-C",
     "orvcim watch Orvane_CIMHeartbeat Orvane_KernelIPChangedIndication\n"
     "orvcim watch Orvane_CIMHeartbeat --url https://admin@host7:5989"},
    {Command::kHealth, "health", "Roll-up health and latched health records",
     "orvcim health\n"
     "orvcim health --hosts hosts.txt"},
    {Command::kMetrics, "metrics", "Metrics of the host in the text format of Prometheus",
     "orvcim metrics\n"
     "orvcim metrics > /var/lib/prometheus/node-exporter/orvane.prom.new &&\n"
     "    mv /var/lib/prometheus/node-exporter/orvane.prom{.new,}"},
    {Command::kCheck, "check", "A monitoring plugin's verdict on the host, with performance data",
     "orvcim check --state /var/lib/orvcim/check.json\n"
     "orvcim check --port eth0 --port eth1 --down-critical 0 --latched-warning ''"},
    {Command::kServe, "serve",
     "CIM-XML over HTTP for CIM clients, until Ctrl-C; takes the options of orvcimd(8) too",
     "orvcim serve\n"
     "orvcim serve --listen '[::1]:5988'"},
};

const CommandText& textOf(Command command) {
  return *std::find_if(std::begin(kCommands), std::end(kCommands),
                       [&](const CommandText& text) { return text.command == command; });
}

std::string indented(const std::string& lines) {
  std::string text = "  ";
  for (const char c : lines) text += c == '\n' ? "\n  " : std::string(1, c);
  return text;
}

template <typename... Commands>
constexpr unsigned setOf(Commands... commands) {
  return (0U | ... | (1U << static_cast<unsigned>(commands)));
}

constexpr unsigned kLocal = setOf(Command::kServe);
constexpr unsigned kNoFormat = setOf(Command::kMetrics, Command::kCheck, Command::kServe);
constexpr unsigned kNoInstances = setOf(Command::kList, Command::kNames, Command::kAssociatorNames,
                                        Command::kReferenceNames, Command::kHealth) |
                                  kNoFormat;

struct Restriction {
  const char* option;
  unsigned commands;  ///< those that refuse the option or have no use for it
};

// Of the whole program's options. Every command takes the others.
constexpr Restriction kRestrictions[] = {
    {"--format", kNoFormat},
    {"--nulls", kNoInstances},
    {"--url", kLocal},
    {"--hosts", setOf(Command::kWatch) | kNoFormat},
    {"--password-file", kLocal},
    {"--ca", kLocal},
    {"--insecure", kLocal},
    {"--timeout", kLocal},
    {"--interop-namespace", ~setOf(Command::kWatch)},
};

bool takes(Command command, const std::string& option) {
  return std::none_of(
      std::begin(kRestrictions), std::end(kRestrictions), [&](const Restriction& restriction) {
        return restriction.option == option && (restriction.commands & setOf(command)) != 0;
      });
}

/// Adds to each command's help the options of the whole program that the command takes.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_footer(const CLI::App* app) const override {
    if (app->get_parent() == nullptr) return CLI::Formatter::make_footer(app);
    const auto* text = std::find_if(std::begin(kCommands), std::end(kCommands),
                                    [&](const auto& row) { return row.name == app->get_name(); });
    std::vector<const CLI::Option*> global =
        app->get_parent()->get_options([&](const CLI::Option* option) {
          return option->nonpositional() && takes(text->command, option->get_name()) &&
                 app->get_option_no_throw(option->get_name()) == nullptr;
        });
    return make_group("Global options", false, std::move(global)) + "\n" +
           CLI::Formatter::make_footer(app);
  }
};

/// How many letters must be changed, added or removed to turn `a` into `b`.
std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

std::string unknownCommand(const std::string& word) {
  constexpr std::size_t kFurthest = 3;  // with more changes it is another word
  const auto* nearest = std::min_element(
      std::begin(kCommands), std::end(kCommands), [&](const CommandText& a, const CommandText& b) {
        return editDistance(word, a.name) < editDistance(word, b.name);
      });
  std::string text = "unknown command \"" + oneLine(word) + "\"";
  if (editDistance(word, nearest->name) <= std::min(kFurthest, word.size() / 2)) {
    text += "; did you mean \"" + std::string(nearest->name) + "\"?";
  }
  return text;
}

/// The first word of a command line without a command; absent if there is a command.
std::optional<std::string> strayWord(const CLI::App& app) {
  if (!app.get_subcommands().empty()) return std::nullopt;
  for (const std::string& word : app.remaining()) {
    if (!word.empty() && word.front() != '-') return word;
  }
  return std::nullopt;
}

void addGlobalOptions(CLI::App& app, Options& options) {
  const std::map<std::string, Format> formats = {
      {"mof", Format::kMof}, {"json", Format::kJson}, {"table", Format::kTable}};
  app.add_option("-f,--format", options.print.format, "How to print: mof (default), json or table")
      ->transform(CLI::CheckedTransformer(formats, CLI::ignore_case).description(""))
      ->type_name("FORMAT");
  app.add_flag("--nulls", options.print.withNulls, "Print properties that are null, too");
  app.add_option("-n,--namespace", options.nameSpace, "Namespace of classes and paths")
      ->capture_default_str()
      ->type_name("NAME");
  app.add_option("--library", options.session.libraries,
                 "Provider library to load (default: liborvprovider.so); may be repeated for the "
                 "libraries of other registrations")
      ->allow_extra_args(false)
      ->type_name("FILE");
  app.add_option(
         "--schema", options.session.schemas,
         "Directory with class definitions (*.mof) and registration (*.reg); may be repeated "
         "to add more")
      ->allow_extra_args(false)
      ->type_name("DIR");
  app.add_option("--simulate", options.session.simulate,
                 "Ask the host that this JSON file describes instead of this one")
      ->type_name("FILE");
  app.add_flag("-v,--verbose", options.verbose,
               "Show what provider libraries write when they start");
  app.set_version_flag("--version", "orvcim " ORV_VERSION);
}

void addRemoteOptions(CLI::App& app, RemoteOptions& remote) {
  app.add_option("--url", remote.urls,
                 "Ask this CIM-XML server instead of this host; may be repeated")
      ->allow_extra_args(false)
      ->type_name("https://USER@HOST:PORT");
  app.add_option("--hosts", remote.hostsFile, "Ask the servers in this file, one URL per line")
      ->type_name("FILE");
  app.add_option("--password-file", remote.passwordFile,
                 "Password of the URLs' users (default: ~/.netrc, or the terminal)")
      ->type_name("FILE");
  app.add_option("--ca", remote.authorities,
                 "Authorities that vouch for servers, PEM (default: the system's)")
      ->type_name("FILE");
  app.add_flag("--insecure", remote.insecure, "Do not check the certificates of servers");
  app.add_option("--timeout", remote.timeoutSeconds, "Seconds for one answer of a server")
      ->capture_default_str()
      ->check(CLI::Range(1, 86400))
      ->type_name("SECONDS");
  app.add_option("--interop-namespace", remote.interopNamespace,
                 "Where a server keeps subscriptions, for watch")
      ->capture_default_str()
      ->type_name("NAME");
}

CLI::App* addCommand(CLI::App& app, Options& options, Command command) {
  const CommandText& text = textOf(command);
  CLI::App* sub = app.add_subcommand(text.name, text.description);
  sub->footer("Examples:\n" + indented(text.examples));
  sub->callback([&options, command] { options.command = command; });
  return sub;
}

void addClassName(CLI::App& sub, Options& options) {
  sub.add_option("CLASS", options.className, "Class name")->required()->type_name("");
}

void addObjectPath(CLI::App& sub, Options& options) {
  sub.add_option("OBJECTPATH", options.objectPath, "Object path")->required()->type_name("");
}

void addProperties(CLI::App& sub, Options& options) {
  sub.add_option("-p,--property", options.properties, "Only these properties, and keys")
      ->type_name("NAME...")
      ->delimiter(',');
}

void addText(CLI::App& sub, const char* name, std::optional<std::string>& target,
             const char* description) {
  sub.add_option(name, target, description)->type_name("NAME");
}

struct ThresholdOption {
  const char* name;
  const char* description;
};

constexpr ThresholdOption kThresholds[] = {
    {"health-warning", "Roll-up health: 5 OK, 10 degraded, ... 30 not recoverable (~:5)"},
    {"health-critical", "Likewise (~:15)"},
    {"latched-warning", "Worst latched health, likewise (~:5)"},
    {"latched-critical", "Likewise (~:15)"},
    {"down-warning", "Number of ports that are down (0)"},
    {"down-critical", "Likewise (none)"},
    {"errors-warning", "Errors per second of a port since the last run; needs --state (1)"},
    {"errors-critical", "Likewise (10)"},
    {"heartbeat-warning", "Age of the last heartbeat in seconds (none)"},
    {"heartbeat-critical", "Likewise (none)"}};

void addCheck(CLI::App& app, Options& options) {
  CLI::App* check = addCommand(app, options, Command::kCheck);
  check
      ->add_option("--port", options.ports,
                   "A port that must exist and be up; may be repeated (default: those that are "
                   "enabled)")
      ->allow_extra_args(false)
      ->type_name("NAME");
  check
      ->add_option("--state", options.stateFile,
                   "File that keeps the counters for the next run, which tells errors per second")
      ->type_name("FILE");
  for (const ThresholdOption& threshold : kThresholds) {
    check
        ->add_option_function<std::string>(
            "--" + std::string(threshold.name),
            [&options, name = threshold.name](const std::string& range) {
              options.thresholds[name] = range;
            },
            threshold.description)
        ->type_name("RANGE");
  }
}

// Associators can be filtered by both ends, references only by the near one.
void addAssociationCommand(CLI::App& app, Options& options, Command command) {
  CLI::App* sub = addCommand(app, options, command);
  addObjectPath(*sub, options);
  const bool farEnd = command == Command::kAssociators || command == Command::kAssociatorNames;
  if (farEnd) addText(*sub, "--assoc-class", options.assocClass, "Through this association class");
  addText(*sub, "--result-class", options.resultClass,
          farEnd ? "Only objects of this class" : "Only associations of this class");
  addText(*sub, "--role", options.role, "Only where the object has this role");
  if (farEnd) {
    addText(*sub, "--result-role", options.resultRole, "Only where the other end has this role");
  }
  if (command == Command::kAssociators || command == Command::kReferences) {
    addProperties(*sub, options);
  }
}

void addCommands(CLI::App& app, Options& options) {
  addCommand(app, options, Command::kList);
  addClassName(*addCommand(app, options, Command::kNames), options);
  CLI::App* instances = addCommand(app, options, Command::kInstances);
  addClassName(*instances, options);
  addProperties(*instances, options);
  CLI::App* get = addCommand(app, options, Command::kGet);
  addObjectPath(*get, options);
  addProperties(*get, options);
  addAssociationCommand(app, options, Command::kAssociators);
  addAssociationCommand(app, options, Command::kAssociatorNames);
  addAssociationCommand(app, options, Command::kReferences);
  addAssociationCommand(app, options, Command::kReferenceNames);
  CLI::App* watch = addCommand(app, options, Command::kWatch);
  watch->add_option("CLASS", options.classNames, "Indication classes")->required()->type_name("");
  addCommand(app, options, Command::kHealth);
  addCommand(app, options, Command::kMetrics);
  addCheck(app, options);
  CLI::App* serve = addCommand(app, options, Command::kServe);
  serve
      ->add_option("--listen", options.listen,
                   "Address and port; port 0 takes a free one (default: 127.0.0.1:5988)")
      ->type_name("ADDRESS:PORT");
}

}  // namespace

std::optional<Options> parseCommandLine(int argc, const char* const* argv, int& exitStatus) {
  Options options;
  options.print.width = terminalWidth();
  CLI::App app{
      "Asks this host's CIM providers, without an object manager, or the CIM servers of others.",
      "orvcim"};
  app.footer(kFooter);
  app.formatter(std::make_shared<HelpFormatter>());
  app.allow_extras();  // so that a stray word can be named; refused below
  app.fallthrough();
  app.require_subcommand(1);
  addGlobalOptions(app, options);
  addRemoteOptions(app, options.remote);
  addCommands(app, options);
  try {
    app.parse(argc, argv);
    const std::vector<std::string> extras = app.remaining();
    options.daemonOptions = extras;
    if (!extras.empty() && options.command != Command::kServe)
      throw CLI::ExtrasError(app.get_name(), extras);
  } catch (const CLI::ParseError& e) {
    const bool wrong = e.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success);
    if (wrong && app.got_subcommand(textOf(Command::kCheck).name)) {
      exitStatus = reportUnknown(e.what());
      return std::nullopt;
    }
    if (const std::optional<std::string> word = strayWord(app)) {
      std::cerr << "orvcim: " << unknownCommand(*word) << "\nRun orvcim --help for the commands.\n";
      exitStatus = kExitBadInput;
      return std::nullopt;
    }
    exitStatus = app.exit(e) == 0 ? kExitOk : kExitBadInput;
    return std::nullopt;
  }
  return options;
}

}  // namespace orv::tool
