#include "tests/faults/operations.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "broker/registration.h"
#include "tests/tool/program.h"

namespace orv::test {
namespace {

using broker::ObjectPath;
using broker::Operation;
using broker::Request;

struct OperationName {
  Operation operation;
  const char* name;
};

constexpr OperationName kOnClasses[] = {
    {Operation::kEnumerateInstanceNames, "EnumerateInstanceNames"},
    {Operation::kEnumerateInstances, "EnumerateInstances"},
    {Operation::kExecQuery, "ExecQuery"}};

constexpr OperationName kOnObjects[] = {{Operation::kGetInstance, "GetInstance"},
                                        {Operation::kCreateInstance, "CreateInstance"},
                                        {Operation::kModifyInstance, "ModifyInstance"},
                                        {Operation::kDeleteInstance, "DeleteInstance"},
                                        {Operation::kAssociators, "Associators"},
                                        {Operation::kAssociatorNames, "AssociatorNames"},
                                        {Operation::kReferences, "References"},
                                        {Operation::kReferenceNames, "ReferenceNames"}};

Request requestOf(Operation operation, const ObjectPath& path) {
  Request request;
  request.operation = operation;
  request.path = path;
  if (operation == Operation::kExecQuery) request.query = "SELECT * FROM " + path.className;
  if (operation == Operation::kCreateInstance || operation == Operation::kModifyInstance) {
    request.instance = broker::Instance{};
    request.instance->path = path;
  }
  return request;
}

long daysOfLastCommit() {
  const Outcome outcome =
      run({"/usr/bin/env", "git", "-C", ORV_SOURCE_DIR, "log", "-1", "--format=%ct"});
  return outcome.status == 0 ? std::strtol(outcome.out.c_str(), nullptr, 10) / 86'400 : 0;
}

// What a signal handler may read.
char current[256];
struct sigaction before[NSIG];

// The handler that was there comes next: the fault happens again when this one returns.
void tell(int number) {
  const char newline = '\n';
  if (write(STDERR_FILENO, current, std::strlen(current)) < 0 ||
      write(STDERR_FILENO, &newline, 1) < 0) {
    _exit(1);
  }
  sigaction(number, &before[number], nullptr);
}

}  // namespace

std::vector<std::string> registeredClasses(const std::string& registrationFile) {
  std::vector<std::string> classes;
  for (const auto& section : broker::readRegistrationFile(registrationFile)) {
    const bool isKnown =
        std::find(classes.begin(), classes.end(), section.className) != classes.end();
    if (!isKnown && (section.instance || section.association)) classes.push_back(section.className);
  }
  return classes;
}

std::vector<NamedOperation> everyOperation(broker::TestBroker& broker,
                                           const std::string& registrationFile) {
  std::vector<NamedOperation> all;
  const auto add = [&](const OperationName& operation, const ObjectPath& path,
                       const std::string& object) {
    NamedOperation named{operation.name + std::string(" ") + path.className + object,
                         requestOf(operation.operation, path)};
    const auto response = broker.request(named.request);
    named.rc = response.rc;
    named.objects = response.instances.size() + response.paths.size();
    all.push_back(std::move(named));
  };
  for (const std::string& name : registeredClasses(registrationFile)) {
    ObjectPath path;
    path.nameSpace = "root/cimv2";
    path.className = name;
    for (const OperationName& operation : kOnClasses) add(operation, path, "");
    const auto names = broker.enumerateInstanceNames("root/cimv2", name);
    for (const OperationName& operation : kOnObjects) {
      if (!names.paths.empty()) add(operation, names.paths.front(), " (first)");
      add(operation, path, " (none)");
    }
  }
  return all;
}

bool isStatus(CMPIrc rc) {
  return rc <= CMPI_RC_ERR_METHOD_NOT_FOUND || rc == CMPI_RC_ERROR_SYSTEM;
}

bool answersAsBefore(broker::TestBroker& broker, const NamedOperation& operation) {
  const auto response = broker.request(operation.request);
  return response.rc == operation.rc &&
         response.instances.size() + response.paths.size() == operation.objects;
}

Sample::Sample(std::size_t every) {
  if (std::getenv("ORV_LONG_TESTS") != nullptr) return;
  every_ = every;
  first_ = static_cast<std::size_t>(daysOfLastCommit()) % every;
}

void sayOnCrash(const std::string& operation, std::size_t point) {
  static const bool installed = [] {
    struct sigaction action {};
    action.sa_handler = tell;
    for (const int number : {SIGSEGV, SIGABRT, SIGBUS}) sigaction(number, &action, &before[number]);
    return true;
  }();
  static_cast<void>(installed);
  std::snprintf(current, sizeof current, "ended in %s, point %zu", operation.c_str(), point);
}

}  // namespace orv::test
