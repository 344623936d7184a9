#include "tests/guest/hardware_guest.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <iomanip>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace orv::test {

using nlohmann::json;

const MirrorDisk kMirrorDisks[2] = {{"mirror0", "image0", "port1", "M0"},
                                    {"mirror1", "image1", "port2", "M1"}};

namespace {

constexpr char kCompiler[] = "iasl";
constexpr off_t kPageAddress = 0x1F000000;  // of firmware.asl
constexpr std::size_t kPageSize = 0x1000;

// Addresses on the SMBus.
constexpr unsigned kSmartBattery = 0x0b;
constexpr unsigned kThermometer = 0x4c;

std::string compiledFirmware(const std::string& directory) {
  const std::string table = directory + "/firmware";
  const Outcome outcome =
      runFromPath({kCompiler, "-p", table, ORV_SOURCE_DIR "/tests/guest/firmware.asl"});
  if (outcome.status != 0) throw std::runtime_error("iasl: " + outcome.out + outcome.err);
  return table + ".aml";
}

GuestHardware hardware(const std::string& memory, const std::string& firmware) {
  GuestHardware parts;
  parts.topology = "2";
  std::ostringstream page;
  page << "memmap=4K$0x" << std::hex << kPageAddress;
  parts.kernelWords = page.str();
  parts.adapters = {"virtio-net-pci,bus=port0,aer=on"};
  parts.options = {
      "-object",    "memory-backend-file,id=memory,size=512M,share=on,mem-path=" + memory,
      "-machine",   "memory-backend=memory",
      "-acpitable", "file=" + firmware,
      "-device",    "nvme,serial=S1,drive=nvme,id=nvme0",
      "-device",    "ide-hd,serial=A1,drive=ata,bus=ide.0"};
  for (const char* image : {"nvme", "ata", kMirrorDisks[0].image.c_str(), "image1"}) {
    parts.options.insert(parts.options.begin(),
                         {"-blockdev", "driver=null-co,read-zeroes=on,size=16777216,node-name=" +
                                           std::string(image)});
  }
  for (const char* port : {"0", "1", "2"}) {
    parts.options.insert(parts.options.end(),
                         {"-device", std::string("pcie-root-port,id=port") + port +
                                         ",chassis=" + port + ",slot=" + port});
  }
  for (const MirrorDisk& disk : kMirrorDisks) {
    parts.options.insert(
        parts.options.end(),
        {"-device", "virtio-blk-pci,aer=on,id=" + disk.device + ",drive=" + disk.image +
                        ",serial=" + disk.serial + ",bus=" + disk.bus});
  }
  return parts;
}

std::string hexadecimal(unsigned number) {
  std::ostringstream text;
  text << "0x" << std::hex << number;
  return text.str();
}

}  // namespace

/// The page of memory that the firmware's table reads.
class HardwareGuest::Page {
 public:
  explicit Page(const std::string& memory) {
    const int file = open(memory.c_str(), O_RDWR | O_CLOEXEC);
    void* const place =
        mmap(nullptr, kPageSize, PROT_READ | PROT_WRITE, MAP_SHARED, file, kPageAddress);
    close(file);
    if (place == MAP_FAILED) throw std::runtime_error("the guest's memory cannot be written");
    values_ = static_cast<volatile std::uint32_t*>(place);
  }
  ~Page() { munmap(const_cast<std::uint32_t*>(values_), kPageSize); }
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  void set(FirmwareValue value, std::uint32_t number) {
    values_[static_cast<std::size_t>(value)] = number;
  }

 private:
  volatile std::uint32_t* values_ = nullptr;
};

std::string HardwareGuest::reasonAgainst() {
  const std::string reason = Guest::reasonAgainst();
  if (!reason.empty()) return reason;
  for (const char* program : {kCompiler, "i2cset", "setpci", "curl"}) {
    if (!isOnPath(program)) return std::string(program) + " is not installed";
  }
  return "";
}

HardwareGuest::HardwareGuest() {
  const std::string memory = scratch_.path() + "/memory";
  guest_ = std::make_unique<Guest>(hardware(memory, compiledFirmware(scratch_.path())));
  page_ = std::make_unique<Page>(memory);
  setFirmwareHealthy();  // before the drivers come and look
  const std::string chips = hexadecimal(kSmartBattery) + "," + hexadecimal(kThermometer);
  const Outcome loaded =
      guest_->load({"nvme", "ahci", "sd_mod", "virtio_blk", "virtio_net", "raid1", "aer_inject",
                    "ac", "battery cache_time=0", "acpi_power_meter force_cap_on=1",
                    "i2c-stub chip_addr=" + chips, "i2c-dev", "sbs-battery", "lm90"});
  EXPECT_EQ(loaded.status, 0) << loaded.err;
  addChips();
  do_("for i in $(seq 50); do [ -e /dev/nvme0n1 ] && [ -e /dev/sda ] && [ -e /dev/vdb ] && break; "
      "sleep 0.2; done");
  makeLinksReportErrors();
}

HardwareGuest::~HardwareGuest() = default;

std::string HardwareGuest::do_(const std::string& command) {
  const Outcome outcome = guest_->run(command);
  EXPECT_EQ(outcome.status, 0) << command << "\n" << outcome.out << outcome.err;
  return outcome.out;
}

// ---- Hardware ----

void HardwareGuest::addChips() {
  bus_ =
      do_("grep -l 'SMBus stub' /sys/bus/i2c/devices/i2c-*/name | sed "
          "'s|.*/i2c-\\([0-9]*\\)/.*|\\1|'");
  bus_.erase(bus_.find_last_not_of('\n') + 1);
  std::string text;
  const std::pair<unsigned, unsigned> limits[] = {
      {0x05, 80}, {0x06, 0},  {0x20, 100},  // its own temperature: maximum, minimum, critical
      {0x07, 80}, {0x08, 0},  {0x19, 100},  // the other
      {0x21, 5},                            // hysteresis
      {0x04, 10}, {0x0a, 10},               // 64 conversions per second
  };
  for (const auto& [number, byte] : limits) text += write(kThermometer, number, byte, "b");
  do_(text + healthyChips());
  const std::string bus = "/sys/bus/i2c/devices/i2c-" + bus_ + "/new_device";
  do_("echo sbs-battery " + hexadecimal(kSmartBattery) + " >" + bus + "; echo lm90 " +
      hexadecimal(kThermometer) + " >" + bus);
}

/// A command that writes a register: "b" one of a byte, "w" one of two.
std::string HardwareGuest::write(unsigned chip, unsigned registerNumber, unsigned value,
                                 const char* size) const {
  return "i2cset -y -f " + bus_ + " " + hexadecimal(chip) + " " + hexadecimal(registerNumber) +
         " " + hexadecimal(value) + " " + size + " || exit 1; ";
}

std::string HardwareGuest::healthyChips() const {
  return write(kSmartBattery, 0x03, 0, "w") +       // mode: no condition to look at
         write(kSmartBattery, 0x0d, 100, "w") +     // percent
         write(kSmartBattery, 0x16, 0x00a0, "w") +  // status: it can be asked, is full
         write(kThermometer, 0x00, 40, "b") + write(kThermometer, 0x01, 40, "b") +
         write(kThermometer, 0x02, 0, "b");  // status: no alarm, no open circuit
}

// What a server's firmware does, and the emulator's does not.
void HardwareGuest::makeLinksReportErrors() {
  do_("cd /sys/bus/pci/devices; for d in *; do [ -e $d/aer_dev_fatal ] || continue; "
      "setpci -s $d CAP_EXP+8.w=f:f; "
      "case $(cat $d/class) in 0x0604*) setpci -s $d BRIDGE_CONTROL.w=2:2;; esac; done");
}

void HardwareGuest::makeHealthy() {
  setFirmwareHealthy();
  do_(healthyChips());
  setNvmeCriticalWarning(0);
}

void HardwareGuest::setFirmwareHealthy() {
  set(FirmwareValue::kTemperature, 3032);  // 30 C
  set(FirmwareValue::kMainsInput, 1);
  set(FirmwareValue::kBatteryState, 0);
  set(FirmwareValue::kBatteryLeft, 40000);
  set(FirmwareValue::kPower, 300000);
}

void HardwareGuest::set(FirmwareValue value, std::uint32_t number) { page_->set(value, number); }

void HardwareGuest::setNvmeCriticalWarning(unsigned bits) {
  guest_->command("qom-set", {{"path", "/machine/peripheral/nvme0"},
                              {"property", "smart_critical_warning"},
                              {"value", bits}});
}

void HardwareGuest::setSmartBattery(unsigned registerNumber, unsigned word) {
  do_(write(kSmartBattery, registerNumber, word, "w"));
}

void HardwareGuest::setThermometer(unsigned registerNumber, unsigned byte) {
  do_(write(kThermometer, registerNumber, byte, "b"));
}

void HardwareGuest::injectUncorrectableError(const std::string& device, std::uint32_t bits) {
  const json answer = guest_->command(
      "human-monitor-command",
      {{"command-line", "pcie_aer_inject_error " + device + " " + hexadecimal(bits)}});
  EXPECT_EQ(answer.get<std::string>().rfind("OK", 0), 0u) << answer;
}

// Bus, device, function and a gap; status of uncorrectable and of correctable errors, four words of
// the header, and the domain.
void HardwareGuest::injectCorrectableError(unsigned bus) {
  std::ostringstream octal;
  octal << std::oct << bus;
  do_("printf '\\" + octal.str() +
      "\\0\\0\\0' >/tmp/error; head -c 4 /dev/zero >>/tmp/error; "
      "printf '\\100\\0\\0\\0' >>/tmp/error; head -c 20 /dev/zero >>/tmp/error; "
      "dd if=/tmp/error of=/dev/aer_inject bs=32 2>&1");
}

// ---- The mirror ----

std::string HardwareGuest::nameOf(const MirrorDisk& disk) {
  std::string name = do_("for d in /sys/block/vd*; do [ \"$(cat $d/serial)\" = " + disk.serial +
                         " ] && basename $d; done; true");
  name.erase(name.find_last_not_of('\n') + 1);
  return name;
}

void HardwareGuest::makeMirror() {
  std::string text =
      "set -e; echo md0 >/sys/module/md_mod/parameters/new_array; cd /sys/block/md0/md; "
      "echo raid1 >level; echo 2 >raid_disks; echo 8192 >component_size; ";
  for (int slot = 0; slot < 2; ++slot) {
    const std::string name = nameOf(kMirrorDisks[slot]);
    text += "cat /sys/block/" + name + "/dev >new_dev; echo 8192 >dev-" + name + "/size; echo " +
            std::to_string(slot) + " >dev-" + name + "/slot; ";
  }
  do_(text + "echo active >array_state");
}

void HardwareGuest::replaceInMirror(const std::string& goneName, const MirrorDisk& disk) {
  const std::string name = nameOf(disk);
  do_("set -e; cd /sys/block/md0/md; echo remove >dev-" + goneName + "/state; cat /sys/block/" +
      name + "/dev >new_dev; echo 8192 >dev-" + name + "/size; echo recover >sync_action");
}

void HardwareGuest::removeMirror() { do_("echo clear >/sys/block/md0/md/array_state"); }

void HardwareGuest::unplug(const MirrorDisk& disk) {
  const std::string name = nameOf(disk);
  guest_->command("device_del", {{"id", disk.device}});
  do_("for i in $(seq 50); do [ -e /sys/block/" + name + " ] || exit 0; sleep 0.2; done; exit 1");
}

void HardwareGuest::plugIn(const MirrorDisk& disk) {
  guest_->command("device_add", {{"driver", "virtio-blk-pci"},
                                 {"id", disk.device},
                                 {"drive", disk.image},
                                 {"serial", disk.serial},
                                 {"bus", disk.bus}});
  do_("for i in $(seq 50); do grep -qs " + disk.serial +
      " /sys/block/vd*/serial && exit 0; sleep 0.2; done; exit 1");
}

// ---- The service ----

void HardwareGuest::startService() {
  served_ = true;
  do_(ORV_BINARY_DIR "/bin/orvcimd --schema " ORV_SOURCE_DIR "/schema --schema " ORV_SOURCE_DIR
                     "/schema/host --library " ORV_BINARY_DIR
                     "/lib/guest/liborvprovider.so --library " ORV_BINARY_DIR
                     "/lib/liborvhost.so >/tmp/service 2>&1 & echo $! >/tmp/service.pid; "
                     "for i in $(seq 100); do grep -q 'orvcimd: serving' /tmp/service && exit 0; "
                     "sleep 0.1; done; cat /tmp/service; exit 1");
}

void HardwareGuest::stopService() {
  served_ = false;
  do_("pid=$(cat /tmp/service.pid); kill $pid; "
      "for i in $(seq 100); do [ -e /proc/$pid ] || exit 0; sleep 0.1; done; exit 1");
}

json HardwareGuest::instances(const std::string& className) {
  const std::string answer =
      do_("curl -sS --fail http://localhost:5988/api/instances/" + className);
  return json::parse(answer, nullptr, false);
}

std::string HardwareGuest::metrics() {
  return do_("curl -sS --fail http://localhost:5988/metrics");
}

}  // namespace orv::test
