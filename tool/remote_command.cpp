#include "tool/remote_command.h"

#include <chrono>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <vector>

#include "client/credentials.h"
#include "client/remote_client.h"
#include "client/server_url.h"
#include "tool/commands.h"
#include "tool/end_signals.h"
#include "tool/errors.h"
#include "tool/fleet.h"

namespace orv::tool {
namespace {

using client::RemoteClient;
using client::RemoteSettings;
using client::ServerUrl;

void complain(const std::string& text) { std::cerr << "orvcim: " << text << "\n"; }

constexpr const char* kSpaces = " \t\r";

/// A line of a list of hosts without its comment and without spaces at both ends.
std::string content(const std::string& line) {
  std::size_t end = line.size();
  for (std::size_t i = 0; i < line.size() && end == line.size(); ++i) {
    const bool startsWord = i == 0 || line[i - 1] == ' ' || line[i - 1] == '\t';
    if (line[i] == '#' && startsWord) end = i;
  }
  const std::string text = line.substr(0, end);
  const std::size_t first = text.find_first_not_of(kSpaces);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(kSpaces) + 1 - first);
}

/// Reads servers from a file: one URL per line. Empty lines are skipped, and comments from a # at
/// the start of a line or after a space.
std::vector<ServerUrl> readHostList(const std::string& file) {
  std::ifstream in(file);
  if (!in) throw BadInput("--hosts: " + file + " cannot be read");
  std::vector<ServerUrl> servers;
  std::size_t number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    const std::string text = content(line);
    if (text.empty()) continue;
    try {
      servers.push_back(client::parseServerUrl(text));
    } catch (const std::invalid_argument& error) {
      throw BadInput(file + ":" + std::to_string(number) + ": " + error.what());
    }
  }
  return servers;
}

std::vector<ServerUrl> serversOf(const RemoteOptions& options) {
  std::vector<ServerUrl> servers;
  for (const std::string& url : options.urls) {
    try {
      servers.push_back(client::parseServerUrl(url));
    } catch (const std::invalid_argument& error) {
      throw BadInput(std::string("--url: ") + error.what());
    }
  }
  if (options.hostsFile.empty()) return servers;
  for (ServerUrl& server : readHostList(options.hostsFile)) servers.push_back(std::move(server));
  if (servers.empty()) throw BadInput("--hosts: " + options.hostsFile + " names no host");
  return servers;
}

void checkOptions(const Options& options) {
  if (!options.session.simulate.empty() || !options.session.libraries.empty() ||
      !options.session.schemas.empty()) {
    throw BadInput(
        "--simulate, --library and --schema are for this host; they cannot be used with --url or "
        "--hosts");
  }
  nameSpaceOf(options);  // reports a bad object path once, before any request
}

bool isLoopback(const ServerUrl& server) {
  const std::string host = server.hostName();
  return host == "localhost" || host == "::1" || host.rfind("127.", 0) == 0;
}

void warn(const RemoteOptions& options, const RemoteSettings& server) {
  if (!server.transport.url.tls && server.transport.login && !isLoopback(server.transport.url)) {
    complain("warning: the password for " + server.transport.url.name() +
             " is sent in the clear; use https");
  }
  if (options.insecure && server.transport.url.tls) {
    complain("warning: --insecure: the identity of " + server.transport.url.name() +
             " is not checked");
  }
}

RemoteSettings settingsOf(const Options& options, const ServerUrl& server,
                          client::Credentials& credentials) {
  const RemoteOptions& remote = options.remote;
  RemoteSettings settings;
  settings.transport.url = server;
  settings.transport.login = credentials.of(server);
  settings.transport.authorities = remote.authorities;
  settings.transport.insecure = remote.insecure;
  settings.transport.timeout = std::chrono::seconds(remote.timeoutSeconds);
  if (options.command == Command::kWatch) settings.transport.cancelled = takeEndSignal;
  settings.interopNamespace = remote.interopNamespace;
  return settings;
}

/// Settings in the order of the servers. Asks for all passwords that must be typed.
std::vector<RemoteSettings> allSettings(const Options& options) {
  client::Credentials credentials(
      {options.remote.passwordFile, client::defaultNetrcFile(), client::passwordFromTerminal});
  std::vector<RemoteSettings> all;
  for (const ServerUrl& server : serversOf(options.remote)) {
    all.push_back(settingsOf(options, server, credentials));
    warn(options.remote, all.back());
  }
  return all;
}

int runOnOne(const Options& options, const RemoteSettings& settings) {
  RemoteClient client(settings);
  Printer printer(std::cout, client.classes(nameSpaceOf(options)), options.print, complain);
  return runCommand(options, client, printer);
}

int runOnMany(const Options& options, const std::vector<RemoteSettings>& servers) {
  const std::pair<Command, const char*> ofOneHost[] = {
      {Command::kWatch, "watch"}, {Command::kCheck, "check"}, {Command::kMetrics, "metrics"}};
  for (const auto& [command, name] : ofOneHost) {
    if (options.command != command) continue;
    throw BadInput(std::string(name) + " takes one --url; start it once per host");
  }
  std::vector<FleetHost> hosts;
  hosts.reserve(servers.size());
  for (const RemoteSettings& settings : servers) {
    hosts.push_back({settings.transport.url.name(),
                     [settings] { return std::make_unique<RemoteClient>(settings); }});
  }
  return runFleet(options, hosts, std::cout, std::cerr);
}

}  // namespace

bool isRemote(const Options& options) {
  return !options.remote.urls.empty() || !options.remote.hostsFile.empty();
}

int runRemotely(const Options& options) try {
  checkOptions(options);
  const std::vector<RemoteSettings> servers = allSettings(options);
  const bool single = options.remote.hostsFile.empty() && servers.size() == 1;
  return single ? runOnOne(options, servers.front()) : runOnMany(options, servers);
} catch (const client::CredentialError& error) {
  throw BadInput(error.what());
}

}  // namespace orv::tool
