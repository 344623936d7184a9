#include <unistd.h>

#include <iostream>
#include <stdexcept>
#include <string>

#include "serve/endpoint.h"
#include "serve/listen_address.h"
#include "tool/commands.h"
#include "tool/end_signals.h"
#include "tool/errors.h"

namespace orv::tool {
namespace {

serve::ListenAddress listenAddress(const Options& options) {
  try {
    return serve::readListenAddress(options.listen);
  } catch (const std::invalid_argument& e) {
    throw BadInput(std::string("--listen: ") + e.what());
  }
}

std::string hostName() {
  char name[256] = "";
  gethostname(name, sizeof name - 1);
  return name;
}

std::string urlOf(const serve::ListenAddress& address, int port) {
  const bool isV6 = address.host.find(':') != std::string::npos;
  return "http://" + (isV6 ? "[" + address.host + "]" : address.host) + ":" + std::to_string(port);
}

}  // namespace

int runServe(const Options& options, Session& session) {
  const serve::ListenAddress address = listenAddress(options);
  serve::Endpoint::Settings settings;
  settings.host = hostName();
  serve::Endpoint endpoint(session.broker(), session.namespaces(), settings);
  int port = 0;
  try {
    port = endpoint.start(address);
  } catch (const std::runtime_error& e) {
    throw BadInput(e.what());
  }
  std::cout << "orvcim: serving " << options.nameSpace << " at " << urlOf(address, port)
            << "; Ctrl-C ends" << std::endl;
  waitForEndSignal();
  endpoint.stop();
  return kExitOk;
}

}  // namespace orv::tool
