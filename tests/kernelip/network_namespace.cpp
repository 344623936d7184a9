#include "tests/kernelip/network_namespace.h"

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace orv::test {
namespace {

constexpr char kMakeCable[] = "link add left0 type veth peer name right0";

std::string commandOf(const std::string& arguments) { return "ip " + arguments + " 2>/dev/null"; }

/// In a process of its own, which the namespace does not outlive; its answer is its exit code.
int tryInChild() {
  const pid_t child = fork();
  if (child == 0) {
    if (unshare(CLONE_NEWNET) != 0) _exit(1);
    if (std::system("ip -V >/dev/null 2>&1") != 0) _exit(2);
    if (std::system(commandOf(kMakeCable).c_str()) != 0) _exit(3);
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string outputOf(const std::string& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  if (pipe == nullptr) throw std::runtime_error(command);
  std::string output;
  std::array<char, 4096> buffer;
  while (const std::size_t size = fread(buffer.data(), 1, buffer.size(), pipe.get())) {
    output.append(buffer.data(), size);
  }
  return output;
}

}  // namespace

std::string reasonAgainstNetworkNamespaces() {
  switch (tryInChild()) {
    case 0:
      return "";
    case 1:
      return "this process may not make a network namespace";
    case 2:
      return "the program ip is not installed";
    default:
      return "no veth pair can be made here";
  }
}

void enterNetworkNamespace() {
  if (unshare(CLONE_NEWNET) != 0) throw std::runtime_error(std::strerror(errno));
  ip(kMakeCable);
  for (const char* end : {"left0", "right0"}) {
    ip(std::string("link set ") + end + " addrgenmode none");  // no address that we did not set
    ip(std::string("link set ") + end + " up");
  }
}

void ip(const std::string& arguments) {
  if (std::system(commandOf(arguments).c_str()) != 0) throw std::runtime_error("ip " + arguments);
}

std::vector<std::string> addressesThatIpLists(int version) {
  // Lines of "2: left0    inet 192.0.2.1/24 scope global left0\ ..."
  std::istringstream lines(outputOf(commandOf("-o -" + std::to_string(version) + " address")));
  std::vector<std::string> addresses;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string index, interface, family, address;
    words >> index >> interface >> family >> address;
    if (interface != "lo") addresses.push_back(interface + " " + address);
  }
  return addresses;
}

}  // namespace orv::test
