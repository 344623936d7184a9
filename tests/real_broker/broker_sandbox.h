#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "tests/tool/program.h"

/// The Small Footprint CIM Broker of this machine, in a sandbox of a test's own: its network, its
/// processes, its /etc/sfcb, /var/lib/sfcb and /tmp are not those of the machine.
namespace orv::test {

/// Which of the two libraries the broker finds.
enum class Library {
  kThisHost,      ///< on the host as the sandbox shows it: loopback, and the cable left0 to right0
  kSimulatedHost  ///< on tests/hosts/example.json, unless the test simulates another
};

/// The broker, its repository and our installation. The process that makes one stays in the
/// sandbox; a second object begins anew there, with the machine's configuration and an empty
/// repository.
class BrokerSandbox {
 public:
  /// Why there can be no sandbox here; empty when there can.
  static std::string reasonAgainst();

  explicit BrokerSandbox(Library library = Library::kThisHost);
  /// Ends the broker and every process of it.
  ~BrokerSandbox();
  BrokerSandbox(const BrokerSandbox&) = delete;
  BrokerSandbox& operator=(const BrokerSandbox&) = delete;

  /// Runs orvprovider-register of our installation, with the schema directory and these options.
  Outcome registerProviders(const std::vector<std::string>& options = {}) const;
  /// Runs a command with the broker's own commands and ours on its search path.
  Outcome run(const std::vector<std::string>& command,
              std::chrono::seconds limit = std::chrono::seconds(60)) const;
  Outcome wbemcli(const std::vector<std::string>& arguments) const;

  /// A line of the broker's configuration: the one that begins with this key is replaced.
  void configure(const std::string& key, const std::string& line) const;

  /// The host of kSimulatedHost, when the daemon starts.
  void simulate(const std::string& hostFile) { hostFile_ = hostFile; }

  /// Starts the daemon and waits until it listens at 127.0.0.1:5988. False when it does not.
  bool start();
  /// Ends the daemon with SIGTERM. Answers how long that took; more than the limit when it was
  /// killed instead.
  std::chrono::milliseconds stop(std::chrono::seconds limit = std::chrono::seconds(20));

  /// Processes of the broker that have our library mapped.
  std::vector<pid_t> providerProcesses() const;
  /// Processes of the broker, the daemon first.
  std::vector<pid_t> processes() const;

  /// What the broker wrote since it was started: standard output and standard error.
  std::string log() const;
  const std::string& prefix() const;
  const std::string& registration() const;

 private:
  std::vector<std::string> environment() const;
  void end();

  Library library_;
  std::string hostFile_ = ORV_SOURCE_DIR "/tests/hosts/example.json";
  pid_t holder_ = -1;  // of the broker's process namespace
};

/// Waits until the condition holds, asking every 20 ms. False when it does not within the limit.
bool holdsWithin(std::chrono::seconds limit, const std::function<bool()>& condition);

/// Resident memory of a process in kilobytes; 0 when there is no such process.
long residentKilobytes(pid_t process);

}  // namespace orv::test
