// What disks are asked, to the byte, and what becomes of their answers. The ioctl is answered by a
// script: no disk is needed, and none is touched.

#include "platform/linux/hardware/disk_commands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/linux/hardware/readers.h"
#include "tests/platform/linux/hardware/hardware_tree.h"
#include "tests/platform/linux/hardware/scripted_device.h"

namespace LinuxHost {
namespace {

using namespace std::chrono_literals;
using Hardware::Disk;
using testing::IsEmpty;

template <std::size_t size>
std::string bytes(const char (&text)[size]) {
  return {text, size - 1};
}

class DiskCommands : public testing::Test {
 protected:
  DiskCommands() { tree_.file("dev/disk", ""); }

  std::string device() const { return tree_.root() + "/dev/disk"; }
  std::vector<std::string> sent() const {
    std::vector<std::string> all;
    for (const DeviceCommand& command : ScriptedDevices::commands()) all.push_back(command.bytes);
    return all;
  }

  HardwareTree tree_;
};

// ---- ATA ----

constexpr const char kCheckPowerMode[] =
    "\x85\x06\x20\0\0\0\0\0\0\0\x4f\0\xc2\0\xe5\0";  // no data, registers asked back
constexpr const char kSmartReturnStatus[] = "\x85\x06\x20\0\xda\0\0\0\0\0\x4f\0\xc2\0\xb0\0";
constexpr const char kSmartReadData[] = "\x85\x08\x0e\0\xd0\0\x01\0\0\0\x4f\0\xc2\0\xb0\0";

/// Sense data with the registers of a command.
std::string registers(char count, char middle, char high) {
  std::string sense = bytes("\x72\x01\0\x1d\0\0\0\x0e\x09\x0c\0\0\0\0\0\0\0\0\0\0\0\x50");
  sense[13] = count;
  sense[17] = middle;
  sense[19] = high;
  return sense;
}

/// SMART data with 8 pending sectors, 1000 hours, 38 degrees.
std::string smartData() {
  std::string page(512, '\0');
  const unsigned char attributes[][6] = {{197, 8, 0}, {9, 0xE8, 3}, {194, 38, 0}};
  std::size_t at = 2;
  for (const auto& attribute : attributes) {
    page[at] = static_cast<char>(attribute[0]);
    page[at + 5] = static_cast<char>(attribute[1]);
    page[at + 6] = static_cast<char>(attribute[2]);
    at += 12;
  }
  unsigned char sum = 0;
  for (const char byte : page)
    sum = static_cast<unsigned char>(sum + static_cast<unsigned char>(byte));
  page[511] = static_cast<char>(-sum);
  return page;
}

/// An ATA disk that is awake.
void answerAsAta(DeviceCommand& command, bool passed) {
  if (command.bytes == bytes(kCheckPowerMode)) {
    command.sense = registers('\xff', 0, 0);
  } else if (command.bytes == bytes(kSmartReturnStatus)) {
    command.sense = passed ? registers(0, '\x4f', '\xc2') : registers(0, '\xf4', '\x2c');
  } else if (command.bytes == bytes(kSmartReadData)) {
    command.data = smartData();
  } else {
    command.error = EINVAL;
  }
}

TEST_F(DiskCommands, AnAtaDiskIsAskedForModeStatusAndData) {
  const ScriptedDevices devices([](DeviceCommand& command) { answerAsAta(command, true); });
  Disk disk;
  askAta(device(), disk);
  EXPECT_EQ(disk.refused, "");
  EXPECT_EQ(disk.smartPassed, 1);
  EXPECT_EQ(disk.pendingSectors, 8u);
  EXPECT_EQ(disk.powerOnHours, 1000u);
  EXPECT_EQ(disk.temperature, 38);
  EXPECT_THAT(sent(), testing::ElementsAre(bytes(kCheckPowerMode), bytes(kSmartReturnStatus),
                                           bytes(kSmartReadData)));
}

TEST_F(DiskCommands, AFailingAtaDiskSaysSo) {
  const ScriptedDevices devices([](DeviceCommand& command) { answerAsAta(command, false); });
  Disk disk;
  askAta(device(), disk);
  EXPECT_EQ(disk.smartPassed, 0);
}

TEST_F(DiskCommands, AnAtaDiskInStandbyIsAskedForItsModeAndNothingElse) {
  for (const char count : {'\x00', '\x01'}) {
    const ScriptedDevices devices(
        [count](DeviceCommand& command) { command.sense = registers(count, 0, 0); });
    Disk disk;
    askAta(device(), disk);
    EXPECT_EQ(disk.refused, kAsleep);
    EXPECT_THAT(sent(), testing::ElementsAre(bytes(kCheckPowerMode)));
    EXPECT_TRUE(isAtaInStandby(device()));
  }
}

TEST_F(DiskCommands, AnAtaDiskThatDoesNotTellItsModeIsNotAskedFurther) {
  const ScriptedDevices devices([](DeviceCommand&) {});
  Disk disk;
  askAta(device(), disk);
  EXPECT_EQ(disk.refused, "SMART not read: the disk does not tell its power mode");
  EXPECT_EQ(sent().size(), 1u);
  EXPECT_FALSE(isAtaInStandby(device()));
}

TEST_F(DiskCommands, AnAtaDiskWithoutSmartTellsAndRefusesNothing) {
  const ScriptedDevices devices([](DeviceCommand& command) {
    if (command.bytes == bytes(kCheckPowerMode)) {
      command.sense = registers('\x80', 0, 0);  // idle
      return;
    }
    command.status = 2;  // aborted
    command.sense = bytes("\x72\x0b\0\0\0\0\0\0");
    command.data = smartData();
  });
  Disk disk;
  askAta(device(), disk);
  EXPECT_EQ(disk.refused, "");
  EXPECT_EQ(disk.smartPassed, std::nullopt);
  EXPECT_EQ(disk.pendingSectors, std::nullopt);
}

TEST_F(DiskCommands, AnAtaPageThatIsCutTellsNothing) {
  const ScriptedDevices devices([](DeviceCommand& command) {
    answerAsAta(command, true);
    if (!command.data.empty()) command.data.resize(511);
  });
  Disk disk;
  askAta(device(), disk);
  EXPECT_EQ(disk.smartPassed, 1);
  EXPECT_EQ(disk.pendingSectors, std::nullopt);
}

// ---- SCSI ----

constexpr const char kRequestSense[] = "\x03\0\0\0\x40\0";
constexpr const char kLogSense[] = "\x4d\0\x6f\0\0\0\0\0\x40\0";  // current values of page 2Fh
constexpr const char kAwake[] = "\x70\0\0\0\0\0\0\x0a\0\0\0\0\0\0\0\0\0\0";
constexpr const char kExceptions[] = "\x2f\0\0\x08\0\0\x03\x04\x5d\x10\x22\0";

TEST_F(DiskCommands, AScsiDiskIsAskedForItsStateAndItsPrediction) {
  const ScriptedDevices devices([](DeviceCommand& command) {
    command.data = command.bytes == bytes(kRequestSense) ? bytes(kAwake) : bytes(kExceptions);
  });
  Disk disk;
  askScsi(device(), disk);
  EXPECT_EQ(disk.refused, "");
  EXPECT_EQ(disk.failurePrediction, "failure prediction threshold exceeded (5D/10)");
  EXPECT_EQ(disk.temperature, 34);
  EXPECT_THAT(sent(), testing::ElementsAre(bytes(kRequestSense), bytes(kLogSense)));
}

TEST_F(DiskCommands, AScsiDiskInALowPowerConditionIsNotAskedFurther) {
  const ScriptedDevices devices([](DeviceCommand& command) {
    command.data = bytes(kAwake);
    command.data[12] = '\x5e';
  });
  Disk disk;
  askScsi(device(), disk);
  EXPECT_EQ(disk.refused, kAsleep);
  EXPECT_THAT(sent(), testing::ElementsAre(bytes(kRequestSense)));
}

TEST_F(DiskCommands, AScsiDiskWithoutThePageTellsAndRefusesNothing) {
  const ScriptedDevices devices([](DeviceCommand& command) {
    command.data = bytes(kAwake);
    if (command.bytes == bytes(kRequestSense)) return;
    command.status = 2;
    command.sense = bytes("\x70\0\x05\0\0\0\0\x0a\0\0\0\0\x24\0\0\0\0\0");
    command.data = bytes(kExceptions);
  });
  Disk disk;
  askScsi(device(), disk);
  EXPECT_EQ(disk.refused, "");
  EXPECT_EQ(disk.failurePrediction, "");
}

// ---- NVMe ----

TEST_F(DiskCommands, AnNvmeControllerIsAskedForTheLogOfAllItsNamespaces) {
  const ScriptedDevices devices([](DeviceCommand& command) {
    command.data.assign(512, '\0');
    command.data[0] = 1;
    command.data[3] = 3;
    command.data[4] = 10;
  });
  Disk disk;
  askNvme(device(), disk);
  EXPECT_EQ(disk.refused, "");
  EXPECT_EQ(disk.criticalWarning, 1);
  EXPECT_EQ(disk.spare, 3);
  ASSERT_EQ(sent().size(), 1u);
  const std::string command = sent()[0];
  EXPECT_EQ(command[0], '\x02');                            // Get Log Page
  EXPECT_EQ(command.substr(4, 4), "\xff\xff\xff\xff");      // all namespaces
  EXPECT_EQ(command.substr(40, 4), bytes("\x02\0\x7f\0"));  // SMART log, 128 double words
}

TEST_F(DiskCommands, AnNvmeStatusIsARefusal) {
  const ScriptedDevices devices([](DeviceCommand& command) { command.status = 0x4002; });
  Disk disk;
  askNvme(device(), disk);
  EXPECT_EQ(disk.refused, "SMART not read: NVMe status 16386");
  EXPECT_EQ(disk.criticalWarning, std::nullopt);
}

// ---- All kinds ----

TEST_F(DiskCommands, AnErrorOfTheSystemCallIsARefusalUnlessItSaysNoSuchCommand) {
  using Ask = void (*)(const std::string&, Disk&);
  for (const Ask ask : {Ask(askAta), Ask(askScsi), Ask(askNvme)}) {
    const std::pair<int, const char*> rows[] = {{EPERM, "SMART not read: Permission denied"},
                                                {EACCES, "SMART not read: Permission denied"},
                                                {EIO, "SMART not read: Input/output error"},
                                                {ENOTTY, ""},
                                                {EINVAL, ""},
                                                {EOPNOTSUPP, ""}};
    for (const auto& [error, refused] : rows) {
      const ScriptedDevices devices([error = error](DeviceCommand& c) { c.error = error; });
      Disk disk;
      ask(device(), disk);
      EXPECT_EQ(disk.refused, refused) << error;
      EXPECT_EQ(sent().size(), 1u);
    }
  }
}

// Whatever the bytes and however few of them, the disk has an answer.
TEST_F(DiskCommands, AnswersOfAnySizeAreTaken) {
  for (std::size_t size = 0; size < 80; ++size) {
    const ScriptedDevices devices([size](DeviceCommand& command) {
      command.data.assign(size, '\xff');
      command.sense.assign(size, '\x72');
    });
    Disk disk;
    askAta(device(), disk);
    askScsi(device(), disk);
    askNvme(device(), disk);
    EXPECT_EQ(disk.failurePrediction, "") << size;
  }
}

// ---- A disk that does not answer ----

/// Holds whoever comes until it is opened.
class Gate {
 public:
  void wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return open_; });
  }
  void open() {
    const std::lock_guard lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool open_ = false;
};

TEST_F(DiskCommands, ADiskThatHangsHoldsNeitherTheOthersNorTheNextRequest) {
  tree_.nvmeDisk(0);
  tree_.nvmeDisk(1);
  tree_.file("dev/nvme0", "").file("dev/nvme1", "");
  Gate gate;
  const ScriptedDevices devices([&](DeviceCommand& command) {
    if (command.file.find("nvme0") != std::string::npos) gate.wait();
    command.data.assign(512, '\0');
  });
  DeviceWorkers workers(8, 20ms);
  const BlockDevices block(tree_.paths(), [](const std::string&) { return UdevProperties(); });
  std::vector<Disk> disks;
  do {  // on a busy machine a disk may be asked late, and the other one take its time, too
    disks = readDisks(tree_.paths(), block, {}, workers);
    ASSERT_EQ(disks.size(), 2u);
    ASSERT_NE(disks[0].refused, "");
    EXPECT_EQ(disks[0].serialNumber, "S0");
  } while (disks[0].refused != "no answer within 20 ms" || !disks[1].refused.empty());
  EXPECT_EQ(disks[1].criticalWarning, 0);
  const auto commands = ScriptedDevices::commands();
  EXPECT_EQ(std::count_if(commands.begin(), commands.end(),
                          [](const DeviceCommand& command) {
                            return command.file.find("nvme0") != std::string::npos;
                          }),
            1);
  gate.open();
  while (workers.threads() > 0) std::this_thread::yield();
  while (!readDisks(tree_.paths(), block, {}, workers)[0].refused.empty()) {
  }
  while (workers.threads() > 0) std::this_thread::yield();
}

}  // namespace
}  // namespace LinuxHost
