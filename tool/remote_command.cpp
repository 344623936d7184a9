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
#include "tool/host_list.h"

namespace orv::tool {
namespace {

using client::RemoteClient;
using client::RemoteSettings;
using client::ServerUrl;

void complain(const std::string& text) { std::cerr << "orvcim: " << text << "\n"; }

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
  std::ifstream in(options.hostsFile);
  if (!in) throw BadInput("--hosts: " + options.hostsFile + " cannot be read");
  for (ServerUrl& server : readHostList(in, options.hostsFile)) {
    servers.push_back(std::move(server));
  }
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
