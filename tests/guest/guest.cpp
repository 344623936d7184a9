#include "tests/guest/guest.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <thread>

namespace orv::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

const std::string kKernel = ORV_BINARY_DIR "/guest";
constexpr char kEmulator[] = "qemu-system-x86_64";
// Software emulation boots in about ten seconds on an idle machine.
constexpr seconds kBootLimit{300};

int connectTo(const std::string& path, pid_t emulator) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const Clock::time_point end = Clock::now() + seconds(60);
  while (Clock::now() < end && waitpid(emulator, nullptr, WNOHANG) == 0) {
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
      return connection;
    }
    close(connection);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  throw std::runtime_error("the emulator does not answer at " + path);
}

void sendTo(int connection, const std::string& text) {
  if (::send(connection, text.data(), text.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(text.size())) {
    throw std::runtime_error("the emulator is gone");
  }
}

std::vector<std::string> emulatorCommand(const GuestHardware& hardware,
                                         const std::string& directory) {
  const auto share = [](const std::string& path, const std::string& tag, const std::string& more) {
    return "local,path=" + path + ",mount_tag=" + tag + ",security_model=none,multidevs=remap" +
           more;
  };
  const auto atSocket = [&](const std::string& name) {
    return "socket,id=" + name + ",path=" + directory + "/" + name + ",server=on,wait=off";
  };
  std::vector<std::string> command = {"/usr/bin/env",
                                      kEmulator,
                                      "-nodefaults",
                                      "-no-reboot",
                                      "-display",
                                      "none",
                                      "-machine",
                                      "q35",
                                      "-accel",
                                      "tcg,thread=multi",
                                      "-m",
                                      "512",
                                      "-cpu",
                                      hardware.processor,
                                      "-smp",
                                      hardware.topology,
                                      "-kernel",
                                      kKernel + "/vmlinuz",
                                      "-initrd",
                                      kKernel + "/initramfs.gz",
                                      "-append",
                                      "console=ttyS0 panic=-1 quiet net.ifnames=0 orv.modules=" +
                                          kKernel + "/lib/modules " + hardware.kernelWords,
                                      "-serial",
                                      "file:" + directory + "/console",
                                      "-chardev",
                                      atSocket("orders-line"),
                                      "-serial",
                                      "chardev:orders-line",
                                      "-chardev",
                                      atSocket("control"),
                                      "-mon",
                                      "control,mode=control",
                                      "-virtfs",
                                      share("/", "host", ",readonly=on"),
                                      "-virtfs",
                                      share(directory + "/orders", "orders", "")};
  command.insert(command.end(), hardware.options.begin(), hardware.options.end());
  for (std::size_t number = 0; number < hardware.adapters.size(); ++number) {
    const std::string digits = std::to_string(number);
    const std::string cable = "hubport,id=cable" + digits + ",hubid=" + digits;
    const std::string adapter =
        hardware.adapters[number] + ",id=nic" + digits + ",netdev=cable" + digits;
    command.insert(command.end(), {"-netdev", cable, "-device", adapter});
  }
  return command;
}

pid_t start(std::vector<std::string> command, const std::string& log) {
  std::vector<char*> argv;
  for (std::string& word : command) argv.push_back(word.data());
  argv.push_back(nullptr);
  const pid_t process = fork();
  if (process == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int output = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    execv(argv[0], argv.data());
    _exit(127);
  }
  return process;
}

}  // namespace

std::string Guest::reasonAgainst() {
  if (std::getenv("ORV_GUEST_TESTS") == nullptr) {
    return "guests take minutes; \"./test --guest\" runs them";
  }
  if (!isOnPath(kEmulator)) return std::string(kEmulator) + " is not installed";
  if (!fs::exists(kKernel + "/initramfs.gz")) {
    return "there is no guest kernel; scripts/guest-kernel makes it";
  }
  return "";
}

Guest::Guest(const GuestHardware& hardware) {
  fs::create_directories(scratch_.path() + "/orders");
  emulator_ = start(emulatorCommand(hardware, scratch_.path()), scratch_.path() + "/emulator");
  try {
    orders_ = connectTo(scratch_.path() + "/orders-line", emulator_);
    control_ = connectTo(scratch_.path() + "/control", emulator_);
    receiveLine(control_, seconds(60));  // its greeting
    command("qmp_capabilities", json::object());
    receiveLine(orders_, kBootLimit);
  } catch (const std::runtime_error& error) {
    kill(emulator_, SIGKILL);
    throw std::runtime_error(std::string(error.what()) + "\n" +
                             fileText(scratch_.path() + "/emulator") + console());
  }
}

Guest::~Guest() {
  kill(emulator_, SIGKILL);
  waitpid(emulator_, nullptr, 0);
  close(orders_);
  close(control_);
}

std::string Guest::console() const { return fileText(scratch_.path() + "/console"); }

std::string Guest::receiveLine(int socket, seconds limit) {
  std::string& received = received_;
  const Clock::time_point end = Clock::now() + limit;
  received.clear();
  while (received.find('\n') == std::string::npos) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd wanted{socket, POLLIN, 0};
    char byte = 0;
    if (left <= 0 || poll(&wanted, 1, static_cast<int>(left)) <= 0 || read(socket, &byte, 1) != 1) {
      throw std::runtime_error("the guest does not answer");
    }
    received += byte;
  }
  return received;
}

Outcome Guest::run(const std::string& text, seconds limit) {
  const std::string order = std::to_string(++last_);
  const std::string place = scratch_.path() + "/orders/" + order;
  std::ofstream(place + ".sh") << text << "\n";
  sendTo(orders_, order + "\n");
  const std::string answer = receiveLine(orders_, limit);  // "done NUMBER STATUS"
  return {std::stoi(answer.substr(answer.rfind(' '))), fileText(place + ".out"),
          fileText(place + ".err")};
}

Outcome Guest::load(const std::vector<std::string>& modules) {
  std::string text;
  for (const std::string& module : modules) text += "modprobe " + module + "\n";
  return run(text);
}

json Guest::orvcim(const std::string& arguments) {
  const Outcome outcome = run(ORV_BINARY_DIR "/bin/orvcim --schema " ORV_SOURCE_DIR "/schema " +
                              arguments + " --format json");
  EXPECT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
  return json::parse(outcome.out, nullptr, false);
}

json Guest::instances(const std::vector<std::string>& classes) {
  std::string command = std::string(kGuestClient) + " instances";
  for (const std::string& name : classes) command += " " + name;
  const Outcome outcome = run(command);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  return json::parse(outcome.out, nullptr, false);
}

json Guest::command(const std::string& name, const json& arguments) {
  sendTo(control_, json{{"execute", name}, {"arguments", arguments}}.dump() + "\n");
  for (;;) {  // events come in between
    const json answer = json::parse(receiveLine(control_, seconds(60)));
    if (answer.contains("return")) return answer["return"];
    if (answer.contains("error")) throw std::runtime_error(name + ": " + answer.dump());
  }
}

}  // namespace orv::test
