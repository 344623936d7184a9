#include "platform/linux/kvm_device.h"

#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>

#include "platform/host_version.h"
#include "tests/platform/linux/sys_tree.h"

namespace LinuxHost {
namespace {

class KvmDevice : public testing::Test {
 protected:
  SysTree tree_;
  const std::string path_ = tree_.root() + "/kvm";
};

TEST_F(KvmDevice, ThatOpensIsAvailable) {
  tree_.file("kvm", "");
  EXPECT_TRUE(isKvmAvailable(path_.c_str()));
}

TEST_F(KvmDevice, ThatIsNotThereIsNot) { EXPECT_FALSE(isKvmAvailable(path_.c_str())); }

TEST_F(KvmDevice, WithoutADriverIsNot) {
  constexpr unsigned kMiscellaneous = 10;
  constexpr unsigned kNobodys = 254;  // the last number that the kernel gives to drivers on demand
  if (mknod(path_.c_str(), S_IFCHR | 0666, makedev(kMiscellaneous, kNobodys)) != 0) {
    GTEST_SKIP() << "no device nodes can be made here: " << std::strerror(errno);
  }
  EXPECT_FALSE(isKvmAvailable(path_.c_str()));
}

TEST_F(KvmDevice, ThatOthersMayOpenIsAvailable) {
  tree_.file("kvm", "");
  ASSERT_EQ(chmod(path_.c_str(), 0), 0);
  std::thread([this] {  // which alone loses root's right to open everything
    constexpr uid_t kNobody = 65534;
    setfsuid(kNobody);
    EXPECT_TRUE(isKvmAvailable(path_.c_str()));
  })
      .join();
}

TEST(HostType, IsAHypervisorWhereKvmIs) { EXPECT_EQ(HostType_OSIsHYK(), isKvmAvailable()); }

}  // namespace
}  // namespace LinuxHost
