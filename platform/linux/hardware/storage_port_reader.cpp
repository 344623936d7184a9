#include "platform/linux/hardware/kernel_texts.h"
#include "platform/linux/hardware/readers.h"
#include "platform/linux/sysfs.h"

namespace LinuxHost {
namespace {

using Hardware::StoragePort;

/// Any text but a speed means that the link is down; without a text nothing is known about it.
void readLink(const std::string& file, StoragePort& port) {
  int error = 0;
  if (!bytesIn(file, error)) port.refused = "link not read";
  port.linkState = textIn(file);
  port.speed = linkSpeed(port.linkState);
}

std::string directoryOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

/// `<bus path>/ata1` of `<bus path>/ata1/ata_port/ata1`.
std::string portDirectory(const std::string& classPath) {
  return directoryOf(directoryOf(resolved(classPath)));
}

void readAtaDevices(const std::string& link, StoragePort& port) {
  for (const std::string& device : entriesOf(link)) {
    if (!beginsWith(device, "dev")) continue;
    const std::string kind = textIn(link + "/" + device + "/ata_device/" + device + "/class");
    if (!kind.empty() && kind != "none" && kind != "unknown") port.deviceAttached = 1;
  }
}

StoragePort readAtaPort(const std::string& name, const std::string& classPath) {
  const std::string directory = portDirectory(classPath);
  const std::string number = textIn(classPath + "/port_no");
  StoragePort port;
  port.name = cleanText(name);
  port.id = keyText(std::string(baseName(directoryOf(directory))) + "/port" +
                    (number.empty() ? name : number));
  port.deviceAttached = 0;
  for (const std::string& link : entriesOf(directory)) {
    if (!beginsWith(link, "link") || link.find('.') != std::string::npos) continue;
    readLink(directory + "/" + link + "/ata_link/" + link + "/sata_spd", port);
    readAtaDevices(directory + "/" + link, port);
  }
  return port;
}

/// The identity of the phy, which the kernel knows without asking the host adapter.
StoragePort sasPhyIdentity(const std::string& name, const std::string& path) {
  StoragePort port;
  port.name = cleanText(name);
  port.id =
      keyText("sas-" + textIn(path + "/sas_address") + "/phy" + textIn(path + "/phy_identifier"));
  return port;
}

/// The facts that the host adapter is asked for.
StoragePort askSasPhy(StoragePort port, const std::string& path) {
  readLink(path + "/negotiated_linkrate", port);
  port.invalidDwords = numberIn<std::uint64_t>(path + "/invalid_dword_count");
  port.disparityErrors = numberIn<std::uint64_t>(path + "/running_disparity_error_count");
  port.lossesOfSync = numberIn<std::uint64_t>(path + "/loss_of_dword_sync_count");
  port.resetProblems = numberIn<std::uint64_t>(path + "/phy_reset_problem_count");
  return port;
}

std::vector<StoragePort> readSasPhys(const HostPaths& paths, const Hardware::Query& query,
                                     DeviceWorkers& workers) {
  const std::string directory = paths.sys + "/class/sas_phy";
  std::vector<StoragePort> ports;
  std::vector<DeviceWorkers::Question<StoragePort>> questions;
  for (const std::string& name : entriesOf(directory)) {
    const std::string path = directory + "/" + name;
    ports.push_back(sasPhyIdentity(name, path));
    questions.push_back(
        {"phy " + path, [port = ports.back(), path] { return askSasPhy(port, path); }});
  }
  if (!query.health) return ports;
  const auto outcomes = workers.ask(std::move(questions));
  for (std::size_t i = 0; i < ports.size(); ++i) {
    if (outcomes[i].answer != nullptr) {
      ports[i] = *outcomes[i].answer;
    } else {
      ports[i].refused = outcomes[i].refused;
    }
  }
  return ports;
}

}  // namespace

std::vector<StoragePort> readStoragePorts(const HostPaths& paths, const Hardware::Query& query,
                                          DeviceWorkers& workers) {
  std::vector<StoragePort> ports;
  const std::string directory = paths.sys + "/class/ata_port";
  for (const std::string& name : entriesOf(directory)) {
    ports.push_back(readAtaPort(name, directory + "/" + name));
  }
  for (StoragePort& phy : readSasPhys(paths, query, workers)) ports.push_back(std::move(phy));
  return ports;
}

}  // namespace LinuxHost
