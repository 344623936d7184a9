#include <exception>

#include "daemon/options.h"
#include "daemon/service.h"
#include "serve/log.h"
#include "tool/errors.h"

namespace {

int complain(const std::exception& e, int status) {
  orv::serve::log(orv::serve::LogLevel::kError, e.what());
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    int exitStatus = orv::tool::kExitOk;
    const auto options = orv::daemon::parseCommandLine(argc, argv, exitStatus);
    if (!options) return exitStatus;
    orv::daemon::serve(*options);
    return orv::tool::kExitOk;
  } catch (const orv::tool::BadInput& e) {
    return complain(e, orv::tool::kExitBadInput);
  } catch (const std::exception& e) {
    return complain(e, orv::tool::kExitCimError);
  }
}
