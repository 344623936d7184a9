#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "tool/commands.h"
#include "tool/errors.h"
#include "tool/locations.h"
#include "tool/remote_command.h"

namespace orv::tool {
namespace {

void add(std::vector<std::string>& arguments, const char* option, const std::string& value) {
  if (!value.empty()) arguments.insert(arguments.end(), {option, value});
}

std::vector<std::string> daemonArguments(const Options& options) {
  std::vector<std::string> arguments = {"orvcimd"};
  for (const std::string& library : options.session.libraries) {
    add(arguments, "--library", library);
  }
  for (const std::string& schema : options.session.schemas) add(arguments, "--schema", schema);
  add(arguments, "--simulate", options.session.simulate);
  add(arguments, "--namespace", options.nameSpace);
  add(arguments, "--listen", options.listen);
  if (options.verbose) arguments.emplace_back("--verbose");
  arguments.insert(arguments.end(), options.daemonOptions.begin(), options.daemonOptions.end());
  return arguments;
}

}  // namespace

int runServe(const Options& options) {
  if (isRemote(options)) {
    throw BadInput("serve is for this host; it cannot be used with --url or --hosts");
  }
  const std::string daemon = defaultDaemon();
  std::vector<std::string> arguments = daemonArguments(options);
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  execv(daemon.c_str(), pointers.data());
  throw BadInput(daemon + " cannot be run: " + std::strerror(errno));
}

}  // namespace orv::tool
