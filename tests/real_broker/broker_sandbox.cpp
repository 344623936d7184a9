#include "tests/real_broker/broker_sandbox.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "tests/packaging/installed_tree.h"

namespace orv::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// In the sandbox's own /tmp.
const std::string kRoot = "/tmp/orv-broker";
const std::string kPrefix = kRoot + "/usr";
const std::string kLog = kRoot + "/sfcbd.log";
const std::string kConfiguration = "/etc/sfcb";
const std::string kState = "/var/lib/sfcb";
const std::string kRegistration = kState + "/registration";

// Where a broker's commands are, its own and those that it is used with.
const std::string kPath = kPrefix + "/sbin:" + kPrefix +
                          "/bin:/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin:/opt/"
                          "sfcb/sbin:/opt/sfcb/bin";

const char* const kSchemaDirectories[] = {
    "/opt/sfcb/share/cim-schema", "/usr/share/mof/cim-current", "/usr/local/share/mof/cim-current",
    "/usr/share/sfcb/CIM"};

std::string schemaDirectory() {
  for (const char* directory : kSchemaDirectories) {
    if (fs::exists(std::string(directory) + "/CIM_Schema.mof")) return directory;
  }
  return "";
}

bool isFound(const std::string& program) {
  return orv::test::run({"/usr/bin/env", "PATH=" + kPath, "sh", "-c", "command -v " + program})
             .status == 0;
}

bool namespacesCanBeMade() {
  return orv::test::run({"/usr/bin/env", "unshare", "--mount", "--net", "--ipc", "--uts", "--pid",
                         "--fork", "--mount-proc", "mount", "-t", "tmpfs", "none", "/tmp"})
             .status == 0;
}

void check(bool succeeded, const std::string& what) {
  if (!succeeded) throw std::runtime_error(what + ": " + std::strerror(errno));
}

void bindMount(const std::string& from, const std::string& to) {
  check(mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0,
        "mount " + from + " at " + to);
}

// A new /tmp that still shows these directories where they are below it.
void replaceTmp(const std::vector<std::string>& kept) {
  std::vector<std::pair<std::string, int>> open;
  for (const std::string& directory : kept) {
    if (directory.rfind("/tmp/", 0) != 0) continue;
    open.emplace_back(directory, ::open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  }
  check(mount("none", "/tmp", "tmpfs", 0, nullptr) == 0, "mount /tmp");
  for (const auto& [directory, descriptor] : open) {
    fs::create_directories(directory);
    bindMount("/proc/self/fd/" + std::to_string(descriptor), directory);
    close(descriptor);
  }
}

void enterSandbox() {
  check(unshare(CLONE_NEWNS | CLONE_NEWNET | CLONE_NEWIPC | CLONE_NEWUTS) == 0, "unshare");
  check(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "make mounts private");
  replaceTmp({ORV_SOURCE_DIR, ORV_BINARY_DIR});
  for (const std::string& directory : {kConfiguration, kState}) {
    const std::string pristine = kRoot + "/pristine" + directory;
    fs::create_directories(pristine);
    fs::copy(directory, pristine, fs::copy_options::recursive);
    fs::create_directories(kRoot + directory);
    bindMount(kRoot + directory, directory);
  }
  for (const std::string arguments : {"link set lo up", "link add left0 type veth peer name right0",
                                      "link set left0 up", "link set right0 up"}) {
    const std::string command = "ip " + arguments;
    const Outcome outcome = orv::test::run({"/bin/sh", "-c", command});
    if (outcome.status != 0) throw std::runtime_error(command + ": " + outcome.err);
  }
  const Outcome installed = installTo(kPrefix);
  if (installed.status != 0) throw std::runtime_error("install: " + installed.err);
}

// The machine's files again, as they were when the sandbox was entered.
void beginAnew() {
  for (const std::string& directory : {kConfiguration, kState}) {
    for (const auto& entry : fs::directory_iterator(directory)) fs::remove_all(entry.path());
    fs::copy(kRoot + "/pristine" + directory, directory,
             fs::copy_options::recursive | fs::copy_options::overwrite_existing);
  }
  fs::remove_all(kRegistration);
  fs::create_directories(kRegistration);
}

bool listens() {
  const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(5988);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const bool connected =
      connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(connection);
  return connected;
}

/// The number after a label of /proc/PID/status; 0 when there is no such process.
long statusOf(pid_t process, const std::string& label) {
  std::istringstream status(fileText("/proc/" + std::to_string(process) + "/status"));
  for (std::string word; status >> word;) {
    if (word == label && status >> word) return std::stol(word);
  }
  return 0;
}

std::string linkTarget(const std::string& path) {
  std::error_code error;
  return fs::read_symlink(path, error).string();
}

}  // namespace

std::string BrokerSandbox::reasonAgainst() {
  static const std::string reason = []() -> std::string {
    if (geteuid() != 0) return "only root can make the broker's sandbox";
    for (const char* program : {"sfcbd", "sfcbrepos", "wbemcli", "ip", "unshare"}) {
      if (!isFound(program)) return std::string(program) + " is not installed";
    }
    if (!fs::exists(kConfiguration + "/sfcb.cfg") || !fs::exists(kState)) {
      return "the broker has no " + kConfiguration + "/sfcb.cfg or no " + kState;
    }
    if (schemaDirectory().empty()) return "the CIM schema is not installed";
    if (!namespacesCanBeMade()) return "no namespaces can be made here";
    return "";
  }();
  return reason;
}

BrokerSandbox::BrokerSandbox(Library library) : library_(library) {
  static const bool entered = (enterSandbox(), true);
  static_cast<void>(entered);
  beginAnew();
  const std::string directory = library == Library::kThisHost ? "/lib/cmpi" : "/lib/cmpi/simulated";
  std::smatch own;
  const std::string text = fileText(kConfiguration + "/sfcb.cfg");
  std::regex_search(text, own, std::regex("\nproviderDirs:[^\n]*"));
  configure("providerDirs:", own.str().substr(1) + " " + kPrefix + directory);
}

BrokerSandbox::~BrokerSandbox() { end(); }

const std::string& BrokerSandbox::prefix() const { return kPrefix; }
const std::string& BrokerSandbox::registration() const { return kRegistration; }
std::string BrokerSandbox::log() const { return fileText(kLog); }

void BrokerSandbox::configure(const std::string& key, const std::string& line) const {
  const std::string file = kConfiguration + "/sfcb.cfg";
  std::istringstream in(fileText(file));
  std::ofstream out(file);
  for (std::string old; std::getline(in, old);)
    out << (old.rfind(key, 0) == 0 ? line : old) << "\n";
}

std::vector<std::string> BrokerSandbox::environment() const {
  std::vector<std::string> command = {"/usr/bin/env", "PATH=" + kPath};
  if (library_ == Library::kSimulatedHost) {
    command.push_back("ORV_HOST_FILE=" + hostFile_);
  }
#ifdef ORV_COVERAGE
  // The broker's processes are killed, some while they write their counters, which would tear those
  // of all tests.
  command.insert(command.end(), {"GCOV_PREFIX=/dev/null", "GCOV_ERROR_FILE=/dev/null"});
#endif
  return command;
}

Outcome BrokerSandbox::run(const std::vector<std::string>& command,
                           std::chrono::seconds limit) const {
  std::vector<std::string> all = environment();
  all.insert(all.end(), command.begin(), command.end());
  return orv::test::run(all, limit);
}

Outcome BrokerSandbox::wbemcli(const std::vector<std::string>& arguments) const {
  std::vector<std::string> command = {"wbemcli"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return run(command);
}

Outcome BrokerSandbox::registerProviders(const std::vector<std::string>& options) const {
  std::vector<std::string> command = {"orvprovider-register", "--schema-dir", schemaDirectory()};
  command.insert(command.end(), options.begin(), options.end());
  return run(command);
}

// The daemon is the first process but one of a process namespace, which ends with its holder.
bool BrokerSandbox::start() {
  std::vector<std::string> command = environment();
  for (const char* word : {"unshare", "--pid", "--fork", "--kill-child", "--mount-proc", "sh", "-c",
                           "sfcbd; exit $?"}) {
    command.emplace_back(word);
  }
  std::vector<char*> argv;
  for (std::string& word : command) argv.push_back(word.data());
  argv.push_back(nullptr);
  const int output = open(kLog.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  holder_ = fork();
  if (holder_ == 0) {
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    execv(argv[0], argv.data());
    _exit(127);
  }
  close(output);
  return holdsWithin(std::chrono::seconds(20), listens);
}

std::vector<pid_t> BrokerSandbox::processes() const {
  const std::string own = linkTarget("/proc/self/ns/ipc");
  std::vector<pid_t> found;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    if (fileText(entry.path().string() + "/comm") != "sfcbd\n") continue;
    if (linkTarget(entry.path().string() + "/ns/ipc") == own) found.push_back(std::stoi(name));
  }
  // The daemon is the one that none of the others started. Its number need not be the lowest:
  // after the highest the kernel begins anew.
  const std::set<pid_t> all(found.begin(), found.end());
  std::stable_partition(found.begin(), found.end(), [&](pid_t process) {
    return all.count(static_cast<pid_t>(statusOf(process, "PPid:"))) == 0;
  });
  return found;
}

std::vector<pid_t> BrokerSandbox::providerProcesses() const {
  std::vector<pid_t> found;
  for (const pid_t process : processes()) {
    const std::string maps = fileText("/proc/" + std::to_string(process) + "/maps");
    if (maps.find("/liborvprovider.so") != std::string::npos) found.push_back(process);
  }
  return found;
}

milliseconds BrokerSandbox::stop(std::chrono::seconds limit) {
  const Clock::time_point begin = Clock::now();
  const std::vector<pid_t> all = processes();
  if (!all.empty()) kill(all.front(), SIGTERM);
  holdsWithin(limit, [this] { return waitpid(holder_, nullptr, WNOHANG) == holder_; })
      ? static_cast<void>(holder_ = -1)
      : end();
  return std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
}

void BrokerSandbox::end() {
  if (holder_ <= 0) return;
  for (const pid_t process : processes()) kill(process, SIGKILL);
  kill(holder_, SIGKILL);
  waitpid(holder_, nullptr, 0);
  holder_ = -1;
}

bool holdsWithin(std::chrono::seconds limit, const std::function<bool()>& condition) {
  const Clock::time_point end = Clock::now() + limit;
  while (!condition()) {
    if (Clock::now() >= end) return false;
    std::this_thread::sleep_for(milliseconds(20));
  }
  return true;
}

long residentKilobytes(pid_t process) { return statusOf(process, "VmRSS:"); }

}  // namespace orv::test
