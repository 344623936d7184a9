#include <exception>
#include <iostream>
#include <stdexcept>

#include "tool/commands.h"
#include "tool/end_signals.h"
#include "tool/errors.h"
#include "tool/options.h"
#include "tool/printer.h"
#include "tool/session.h"
#include "tool/start_lines.h"

namespace {

int complain(const std::exception& e, int status, orv::tool::Command command) {
  if (command == orv::tool::Command::kCheck) return orv::tool::reportUnknown(e.what());
  std::cerr << "orvcim: " << e.what() << "\n";
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace orv::tool;
  Command command = Command::kList;
  try {
    int exitStatus = kExitOk;
    const std::optional<Options> options = parseCommandLine(argc, argv, exitStatus);
    if (!options) return exitStatus;
    command = options->command;
    if (options->command == Command::kServe) return runServe(*options);
    if (options->command == Command::kWatch) blockEndSignals();
    if (!options->verbose) hideStartLines();
    Session session(options->session);
    Printer printer(std::cout, session.classes(), options->print);
    const int status = runCommand(*options, session, printer);
    if (!std::cout.flush()) throw std::runtime_error("standard output cannot be written");
    return status;
  } catch (const BadInput& e) {
    return complain(e, kExitBadInput, command);
  } catch (const CimError& e) {
    return complain(e, kExitCimError, command);
  } catch (const std::exception& e) {
    return complain(e, kExitCimError, command);
  }
}
