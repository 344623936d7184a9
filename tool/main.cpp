#include <exception>
#include <iostream>
#include <stdexcept>

#include "tool/commands.h"
#include "tool/end_signals.h"
#include "tool/errors.h"
#include "tool/local_client.h"
#include "tool/options.h"
#include "tool/printer.h"
#include "tool/remote_command.h"
#include "tool/start_lines.h"

namespace {

using namespace orv::tool;

int complain(const std::exception& e, int status, Command command) {
  if (command == Command::kCheck) return reportUnknown(e.what());
  std::cerr << "orvcim: " << e.what() << "\n";
  return status;
}

int runLocally(const Options& options) {
  if (!options.verbose) hideStartLines();
  LocalClient client(options.session);
  Printer printer(std::cout, client.classes(nameSpaceOf(options)), options.print,
                  [](const std::string& text) { std::cerr << "orvcim: " << text << "\n"; });
  return runCommand(options, client, printer);
}

}  // namespace

int main(int argc, char** argv) {
  Command command = Command::kList;
  try {
    int exitStatus = kExitOk;
    const std::optional<Options> options = parseCommandLine(argc, argv, exitStatus);
    if (!options) return exitStatus;
    command = options->command;
    if (options->command == Command::kServe) return runServe(*options);
    if (options->command == Command::kWatch) blockEndSignals();
    const int status = isRemote(*options) ? runRemotely(*options) : runLocally(*options);
    if (!std::cout.flush()) throw std::runtime_error("standard output cannot be written");
    return status;
  } catch (const BadInput& e) {
    return complain(e, kExitBadInput, command);
  } catch (const std::exception& e) {
    return complain(e, kExitCimError, command);
  }
}
