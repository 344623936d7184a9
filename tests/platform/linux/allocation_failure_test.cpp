#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <string>

#include "platform/computer_system.h"
#include "platform/host_version.h"
#include "platform/linux/cpu_topology.h"
#include "platform/linux/physical_ports.h"
#include "platform/linux/sysfs.h"
#include "platform/network_info.h"
#include "tests/platform/linux/kernel_information.h"

// Every allocation of every question to the host fails in turn: the answer is a status or an
// exception, and the next question is answered as before.

namespace {

// Of the calling thread: allocations that still succeed before one fails; negative: none fails.
thread_local long allocationsLeft = -1;

void* allocate(std::size_t size) {
  if (allocationsLeft >= 0 && allocationsLeft-- == 0) throw std::bad_alloc();
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace LinuxHost {
namespace {

using HykCtl::Network::NetworkInfoImpl;

/// Asks until no allocation is left to fail. Returns how many were.
long failEachAllocation(const std::function<void()>& ask) {
  ask();  // what is made once in a process
  for (long succeeding = 0;; ++succeeding) {
    allocationsLeft = succeeding;
    try {
      ask();
    } catch (const std::bad_alloc&) {
    }
    const bool noneFailed = allocationsLeft >= 0;
    allocationsLeft = -1;
    if (noneFailed) return succeeding;
  }
}

TEST(AllocationFailure, OfThePortListIsAnException) {
  EXPECT_GT(failEachAllocation([] {
              NetworkInfoImpl network;
              for (const auto& port : network.GetPnics()) {
                Nodemgr::Network::PnicLinkSettings settings;
                Nodemgr::Network::PnicDriverInfo driver;
                port->GetLinkSettings(settings);
                port->GetDriverInfo(driver);
                port->GetPciDevice();
                port->IsCapabilitySupported();
              }
            }),
            2);
}

TEST(AllocationFailure, OfAPortByNameIsAnException) {
  EXPECT_GT(failEachAllocation([] { NetworkInfoImpl().GetPnicByName("nosuchport"); }), 0);
}

TEST(AllocationFailure, OfTheKernelInformationIsAStatus) {
  EXPECT_GT(failEachAllocation([] {
              HSI_CheckSig(21);
              HSI_ParamList* interfaces = nullptr;
              if (HSI_GetInstanceListAlloc(kHsiNetInterfaces, nullptr, &interfaces) != 0) return;
              const ListPtr list(interfaces);
              const ListPtr query(HSI_ParamListCreate(1, 2));
              HSI_ParamListAddString(query.get(), "lo");
              unsigned char address[4];
              HSI_Get(kHsiInterfaceIpv4, query.get(), address, sizeof address);
              HSI_ParamListRemoveLastParam(query.get());
              HSI_ParamList* cores = nullptr;
              if (HSI_GetInstanceListAlloc(kHsiCore, nullptr, &cores) != 0) return;
              const ListPtr coreList(cores);
              HSI_ParamListAddInt(query.get(), 0);
              unsigned char data[200];
              HSI_Get(kHsiCore, query.get(), data, sizeof data);
              unsigned char power[588];
              HSI_Get(kHsiPowerManagement, nullptr, power, sizeof power);
            }),
            10);
  EXPECT_EQ(HSI_CheckSig(21), 0);
  EXPECT_TRUE(nodeNumbers(kHsiCore).has_value());
}

TEST(AllocationFailure, OfTheImageIdentityIsAStatus) {
  EXPECT_GT(failEachAllocation([] {
              HykuserVersion_SystemVersion version{};
              HykuserVersion_GetSystemVersion(&version);
              char text[64];
              HykuserStatus_CodeToString(2, text, sizeof text);
              HostType_OSIsHYK();
            }),
            2);
}

TEST(AllocationFailure, OfADirectoryListIsAnException) {
  EXPECT_GT(failEachAllocation([] { namesIn("/sys/class"); }), 2);
  EXPECT_GT(failEachAllocation([] { readCpus("/sys"); }), 2);
}

}  // namespace
}  // namespace LinuxHost
