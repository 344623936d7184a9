#include "daemon/service.h"

#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <iostream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <utility>

#include "daemon/metrics_page.h"
#include "serve/endpoint.h"
#include "serve/log.h"
#include "tool/errors.h"
#include "tool/locations.h"
#include "tool/start_lines.h"
#include "web/events.h"
#include "web/json_interface.h"
#include "web/page_files.h"

namespace orv::daemon {
namespace {

using serve::LogLevel;
using tool::BadInput;

constexpr const char* kGroup = "orvcim";
/// A request that waits longer for a worker means that every worker hangs.
constexpr std::chrono::seconds kLongestWait{60};

std::string hostName() {
  char name[256] = "";
  gethostname(name, sizeof name - 1);
  return name;
}

/// What the broker reports goes where the daemon's own lines go.
tool::SessionOptions sessionOptions(const Options& options) {
  tool::SessionOptions session = options.session;
  session.warn = [](const std::string& text) { log(LogLevel::kWarning, text); };
  return session;
}

/// Raises the descriptor limit as far as needed and allowed.
void raiseDescriptorLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  constexpr rlim_t kEnough = 16384;
  limit.rlim_cur = std::max(limit.rlim_cur, std::min(limit.rlim_max, kEnough));
  setrlimit(RLIMIT_NOFILE, &limit);
}

/// Has large blocks, such as bodies and answers, returned to the system when they are freed,
/// whatever sizes were freed before; and has the short-lived threads of requests share a few
/// arenas.
void keepMemoryFlat() {
  constexpr int kLargeBytes = 256 * 1024;
  constexpr int kArenas = 4;
  mallopt(M_MMAP_THRESHOLD, kLargeBytes);
  mallopt(M_ARENA_MAX, kArenas);
}

serve::ListenSocket listenSocket(const Options& options) {
  const int handedOver = sd_listen_fds(1);
  if (handedOver > 1) throw BadInput("systemd passed more than one socket");
  if (handedOver == 1) return serve::ListenSocket(SD_LISTEN_FDS_START);
  try {
    return serve::ListenSocket(serve::readListenAddress(options.listen));
  } catch (const std::invalid_argument& e) {
    throw BadInput(std::string("--listen: ") + e.what());
  } catch (const std::runtime_error& e) {
    throw BadInput(e.what());
  }
}

/// Other hosts are served only with TLS and authentication.
void requireSafety(const serve::ListenSocket& socket, const Options& options) {
  if (socket.isLoopback()) return;
  const std::string where = socket.authority() + " is not a loopback address: ";
  if (options.certificate.empty()) {
    throw BadInput(where + "other hosts are served only with --certificate and --key");
  }
  if (!options.pam && options.clientAuthority.empty()) {
    throw BadInput(where + "other hosts are served only with --pam or --client-ca");
  }
}

std::unique_ptr<serve::TlsCredentials> credentialsOf(const Options& options) {
  if (options.certificate.empty()) return nullptr;
  try {
    return std::make_unique<serve::TlsCredentials>(
        serve::TlsCredentials::Files{options.certificate, options.key, options.clientAuthority});
  } catch (const std::runtime_error& e) {
    throw BadInput(e.what());
  }
}

std::unique_ptr<serve::Authenticator> authenticatorOf(const Options& options) {
  if (!options.pam) return nullptr;
  return std::make_unique<serve::Authenticator>(
      [](const std::string& user, const std::string& password) {
        return serve::checkWithPam(user, password, kGroup);
      });
}

std::vector<std::string> hostNames(const Options& options) {
  std::vector<std::string> names = options.hostNames;
  const std::string own = hostName();
  names.push_back(own);
  names.push_back(own.substr(0, own.find('.')));
  return names;
}

std::string stateFile(const Options& options) {
  if (options.state.empty()) return "";
  struct stat status {};
  if (stat(options.state.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
    throw BadInput("--state: " + options.state + " is not a directory");
  }
  return options.state + "/subscriptions.json";
}

serve::Endpoint::Settings settingsOf(const Options& options) {
  serve::Endpoint::Settings settings;
  settings.host = hostName();
  settings.http.limits.connections = options.connections;
  settings.http.limits.connectionsPerAddress = options.connectionsPerAddress;
  settings.http.hostNames = hostNames(options);
  settings.listenerAuthorities = options.listenerAuthorities;
  settings.subscriptions.file = stateFile(options);
  settings.subscriptions.rules = serve::DestinationRules(options.destinations);
  return settings;
}

/// The classes of a namespace; none if nothing is served in it.
std::shared_ptr<const broker::ClassRepository> classesOf(const tool::Session& session,
                                                         const std::string& nameSpace) {
  const auto found = session.namespaces().find(nameSpace);
  if (found == session.namespaces().end()) return std::make_shared<broker::ClassRepository>();
  return found->second;
}

std::vector<std::string> indicationClasses(const tool::Session& session) {
  std::vector<std::string> names;
  for (const broker::RegistrationSection& section : session.registration()) {
    if (section.indication) names.push_back(section.className);
  }
  return names;
}

void append(std::vector<serve::GetRoute>& routes, std::vector<serve::GetRoute> more) {
  std::move(more.begin(), more.end(), std::back_inserter(routes));
}

/// Tells systemd that the service is alive, as often as its WatchdogSec demands.
class Watchdog {
 public:
  Watchdog() {
    std::uint64_t microseconds = 0;
    if (sd_watchdog_enabled(0, &microseconds) > 0) {
      interval_ = std::chrono::microseconds(microseconds / 3);
    }
  }
  bool enabled() const { return interval_.count() > 0; }
  timespec interval() const {
    return {static_cast<time_t>(interval_.count() / 1'000'000),
            static_cast<long>(interval_.count() % 1'000'000 * 1000)};
  }
  void tell(const serve::Endpoint& endpoint) const {
    if (endpoint.longestWait() < kLongestWait) sd_notify(0, "WATCHDOG=1");
  }

 private:
  std::chrono::microseconds interval_{0};
};

/// The signals that the calling thread waits for.
sigset_t awaitedSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
  return signals;
}

/// Waits for the next signal; 0 when it is time to tell the watchdog.
int nextSignal(const Watchdog& watchdog) {
  const sigset_t awaited = awaitedSignals();
  const timespec interval = watchdog.interval();
  for (;;) {
    const int signal = watchdog.enabled() ? sigtimedwait(&awaited, nullptr, &interval)
                                          : sigwaitinfo(&awaited, nullptr);
    if (signal > 0) return signal;
    if (errno == EAGAIN) return 0;
  }
}

void waitForTheEnd(const serve::Endpoint& endpoint, serve::TlsCredentials* credentials,
                   serve::Authenticator* authenticator) {
  const Watchdog watchdog;
  for (;;) {
    const int signal = nextSignal(watchdog);
    if (signal == SIGINT || signal == SIGTERM) return;
    if (signal == SIGHUP) {
      if (credentials != nullptr) credentials->reload();
      if (authenticator != nullptr) authenticator->forget();
      log(LogLevel::kNotice, "certificates and passwords are looked up again");
    }
    watchdog.tell(endpoint);
  }
}

}  // namespace

void serve(const Options& options) {
  const sigset_t awaited = awaitedSignals();
  pthread_sigmask(SIG_BLOCK, &awaited, nullptr);
  keepMemoryFlat();
  raiseDescriptorLimit();
  if (!options.verbose) tool::hideStartLines();
  tool::Session session(sessionOptions(options));
  serve::ListenSocket socket = listenSocket(options);
  requireSafety(socket, options);
  const auto credentials = credentialsOf(options);
  const auto authenticator = authenticatorOf(options);
  serve::Endpoint::Settings settings = settingsOf(options);
  settings.http.tls = credentials.get();
  settings.http.authenticator = authenticator.get();
  metrics::HeartbeatWatch heartbeats(subscribingTo(session.broker()), options.nameSpace);
  settings.routes = {metricsRoute(session.broker(), options.nameSpace, heartbeats)};
  const web::Host host{session.broker(), classesOf(session, options.nameSpace), options.nameSpace};
  web::Events events(host, indicationClasses(session));
  append(settings.routes, web::jsonRoutes(host));
  append(settings.routes, web::pageRoutes({tool::defaultPage()}));
  settings.routes.push_back(events.route());
  const std::string url = (credentials != nullptr ? "https://" : "http://") + socket.authority();
  serve::Endpoint endpoint(session.broker(), session.namespaces(), settings);
  endpoint.start(std::move(socket));
  std::cout << "orvcimd: serving " << options.nameSpace << " at " << url << std::endl;
  sd_notify(0, "READY=1");
  waitForTheEnd(endpoint, credentials.get(), authenticator.get());
  sd_notify(0, "STOPPING=1");
  endpoint.stop();
}

}  // namespace orv::daemon
