#include "daemon/options.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>

#include "serve/destination.h"
#include "tool/errors.h"

namespace orv::daemon {
namespace {

constexpr const char* kFooter = R"(Examples:
  orvcimd
  orvcimd --config /etc/orvcim/serve.toml
  orvcimd --listen '[::]:5989' --certificate cert.pem --key key.pem --pam

Every option except --config can be set in the configuration file, without its dashes: listen = "127.0.0.1:5988".
Other hosts are served only with a certificate and with --pam, --client-ca or both.
On SIGHUP certificates and keys are read again.

Exit status: 0, 2 for wrong usage or unusable files, 1 for other failures.)";

/// CLI11's reader with stricter checks and clearer error messages.
class StrictConfig : public CLI::ConfigTOML {
 public:
  explicit StrictConfig(const CLI::App& app) : app_(app) {}

  std::vector<CLI::ConfigItem> from_config(std::istream& in) const override {
    std::vector<std::string> known;
    for (const CLI::Option* option : app_.get_options()) {
      if (option->get_configurable()) {
        for (const std::string& name : option->get_lnames()) known.push_back(name);
      }
    }
    return readConfiguration(in, app_.get_config_ptr()->as<std::string>(), known);
  }

 private:
  const CLI::App& app_;
};

std::string trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(" \t\r");
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(" \t\r") + 1 - begin);
}

[[noreturn]] void complain(const std::string& file, std::size_t line, const std::string& what) {
  throw CLI::ConfigError(file + ":" + std::to_string(line) + ": " + what);
}

void checkLines(const std::string& text, const std::string& file,
                const std::vector<std::string>& known) {
  std::set<std::string> seen;
  std::istringstream lines(text);
  std::size_t number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    const std::string content = trimmed(line);
    if (content.empty() || content[0] == '#') continue;
    const std::string key = trimmed(content.substr(0, content.find('=')));
    if (key.empty()) complain(file, number, "there is no key before \"=\"");
    if (key[0] == '[') complain(file, number, "this file has no sections: " + key);
    if (line.find('=') == std::string::npos) complain(file, number, "\"" + key + "\" has no value");
    if (std::find(known.begin(), known.end(), key) == known.end()) {
      complain(file, number, "unknown key \"" + key + "\"");
    }
    if (!seen.insert(key).second) complain(file, number, "key \"" + key + "\" is given twice");
  }
}

void addNetworkOptions(CLI::App& app, Options& options) {
  app.add_option("--listen", options.listen, "Address and port; port 0 takes a free one")
      ->capture_default_str()
      ->type_name("ADDRESS:PORT");
  app.add_option("--certificate", options.certificate,
                 "The server's certificate, followed by those of its authorities, PEM")
      ->type_name("FILE");
  app.add_option("--key", options.key, "The certificate's private key, PEM")->type_name("FILE");
  app.add_option("--client-ca", options.clientAuthority,
                 "Accept client certificates of this authority, PEM")
      ->type_name("FILE");
  app.add_flag("--pam", options.pam,
               "Accept name and password of members of group orvcim, checked by PAM");
  app.add_option("--host-name", options.hostNames,
                 "Name under which clients may ask, besides addresses and this host's name; may be "
                 "repeated")
      ->allow_extra_args(false)
      ->type_name("NAME");
  app.add_option("--connections", options.connections, "Connections at the same time")
      ->capture_default_str()
      ->check(CLI::Range(1, 10000))
      ->type_name("NUMBER");
  app.add_option("--connections-per-address", options.connectionsPerAddress,
                 "Connections from one client address at the same time")
      ->capture_default_str()
      ->check(CLI::Range(1, 10000))
      ->type_name("NUMBER");
}

void addIndicationOptions(CLI::App& app, Options& options) {
  const auto isRule = [](const std::string& text) {
    return serve::DestinationRules::isRule(text)
               ? std::string()
               : "\"" + text + "\" is not own, loopback, any, an address or a network";
  };
  app.add_option("--destination", options.destinations,
                 "Where indications may go: own (the subscriber's address), loopback, any, an "
                 "address or a network such as 192.0.2.0/24; may be repeated (default: own and "
                 "loopback)")
      ->allow_extra_args(false)
      ->check(CLI::Validator(isRule, ""))
      ->type_name("RULE");
  app.add_option("--destination-ca", options.listenerAuthorities,
                 "Authorities of https listeners, PEM (default: the system's)")
      ->type_name("FILE");
  app.add_option("--state", options.state,
                 "Directory in which subscriptions are kept (default: not kept)")
      ->type_name("DIR");
}

void addBrokerOptions(CLI::App& app, Options& options) {
  app.add_option("-n,--namespace", options.nameSpace, "Namespace of the classes")
      ->capture_default_str()
      ->type_name("NAME");
  app.add_option("--library", options.session.libraries,
                 "Provider library to load (default: liborvprovider.so); may be repeated")
      ->allow_extra_args(false)
      ->type_name("FILE");
  app.add_option("--schema", options.session.schemas,
                 "Directory with class definitions and registration; may be repeated")
      ->allow_extra_args(false)
      ->type_name("DIR");
  app.add_option("--simulate", options.session.simulate,
                 "Serve the host that this JSON file describes instead of this one")
      ->type_name("FILE");
  app.add_flag("-v,--verbose", options.verbose,
               "Show what provider libraries write when they start");
}

void check(const Options& options) {
  if (options.certificate.empty() != options.key.empty()) {
    throw tool::BadInput("--certificate and --key belong together");
  }
  if (!options.clientAuthority.empty() && options.certificate.empty()) {
    throw tool::BadInput("--client-ca needs --certificate and --key");
  }
}

}  // namespace

std::vector<CLI::ConfigItem> readConfiguration(std::istream& in, const std::string& file,
                                               const std::vector<std::string>& known) {
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  checkLines(text, file, known);
  std::istringstream again(text);
  return CLI::ConfigTOML().from_config(again);
}

std::optional<Options> parseCommandLine(int argc, const char* const* argv, int& exitStatus) {
  Options options;
  CLI::App app{"Serves the providers of liborvprovider to CIM clients: CIM-XML over HTTP.",
               "orvcimd"};
  app.footer(kFooter);
  app.set_version_flag("--version", "orvcimd " ORV_VERSION)->configurable(false);
  app.set_config("--config", "", "Configuration file")->configurable(false)->type_name("FILE");
  app.config_formatter(std::make_shared<StrictConfig>(app));
  addNetworkOptions(app, options);
  addIndicationOptions(app, options);
  addBrokerOptions(app, options);
  app.get_help_ptr()->configurable(false);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    exitStatus = app.exit(e) == 0 ? tool::kExitOk : tool::kExitBadInput;
    return std::nullopt;
  }
  check(options);
  options.session.withInterop = true;
  return options;
}

}  // namespace orv::daemon
