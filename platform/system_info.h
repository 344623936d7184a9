#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// Kernel information interface: values are identified by a node number and, where a node has
/// instances, by parameters that identify the instance.
///
/// A query starts with HSI_CheckSig, which takes a new view of the host for the calling thread. The
/// calls that follow on that thread read this view, so that one query sees one state. Any number of
/// threads may query at once. Every call that can fail returns kHsiOk for success and another
/// number otherwise; a call that fails changes no argument.

using HSI_Status = int;
inline constexpr HSI_Status kHsiOk = 0;
inline constexpr HSI_Status kHsiFailed = 1;

/// The signature of the interface that this library is built for.
inline constexpr int kHsiSignature = 21;

/// Nodes that this library reads, with the type of each value.
// clang-format off
enum HSI_Node : std::uint32_t {
  kHsiNetInterfaces = 214,     ///< list: kernel network interfaces by name (string)
  kHsiInterfaceIpv4 = 239,     ///< of an interface: HsiIpv4Address
  kHsiInterfaceNetmask = 240,  ///< of an interface: HsiIpv4Address
  kHsiInterfaceIpv6List = 243, ///< list, of an interface: its IPv6 addresses by identifier (string)
  kHsiInterfaceIpv6 = 244,     ///< of an interface and an address: HsiIpv6Address
  kHsiTopology = 605,          ///< HsiTopology
  kHsiCpuModel = 606,          ///< HsiCpuModel
  kHsiCore = 607,              ///< list and, of an instance (integer), HsiCore
  kHsiPackage = 608,           ///< list and, of an instance (integer), HsiCoreCount
  kHsiCoreState = 800,         ///< of an instance of 607: HsiCoreState
  kHsiCoreDetail = 801,        ///< of an instance of 607: HsiCoreDetail
  kHsiPowerManagement = 1444,  ///< HsiPowerManagement
};
// clang-format on

/// The values, byte by byte. Integers are in the host's byte order. Bytes without a name are not
/// used and are zero.
using HsiIpv4Address = std::array<unsigned char, 4>;  ///< network order

struct HsiIpv6Address {
  char text[48];  ///< NUL-terminated when it is shorter
  std::uint32_t prefixLength;
  unsigned char unused[16];
};
static_assert(sizeof(HsiIpv6Address) == 68);

struct HsiTopology {
  std::uint32_t hyperThreading;  ///< not 0: a core runs several threads
  unsigned char unused[32];
};
static_assert(sizeof(HsiTopology) == 36);

using HsiCpuModel = std::array<char, 48>;  ///< NUL-terminated when it is shorter

struct HsiCpuRegisters {
  std::uint32_t eax = 0;
  std::uint32_t ebx = 0;
  std::uint32_t ecx = 0;
  std::uint32_t edx = 0;
};

/// Identification of a core: the answers of its CPUID instruction.
struct HsiCore {
  std::uint8_t family;
  std::uint8_t model;
  std::uint8_t type;
  std::uint8_t stepping;
  unsigned char unused4[40];
  HsiCpuRegisters vendor;           ///< leaf 0
  HsiCpuRegisters features;         ///< leaf 1
  HsiCpuRegisters extendedMaximum;  ///< leaf 0x80000000
  HsiCpuRegisters extended;         ///< leaf 0x80000001
  unsigned char unused108[92];
};
static_assert(sizeof(HsiCore) == 200 && offsetof(HsiCore, vendor) == 44);
static_assert(offsetof(HsiCore, features) == 60 && offsetof(HsiCore, extended) == 92);

using HsiCoreCount = std::uint32_t;

struct HsiCoreState {
  unsigned char unused[64];
  std::uint8_t running;  ///< not 0: the core is running
  unsigned char unused65[95];
};
static_assert(sizeof(HsiCoreState) == 160);

using HsiCoreDetail = std::array<unsigned char, 76>;  ///< only whether it can be read matters

struct HsiPowerManagement {
  unsigned char unused[8];
  char policy[580];  ///< NUL-terminated
};
static_assert(sizeof(HsiPowerManagement) == 588);

struct HSI_Param;      ///< an integer or a string; owned by its list
struct HSI_ParamList;  ///< owned by the caller until HSI_ParamListDestroy

/// Succeeds when `signature` is kHsiSignature and the host can be asked.
HSI_Status HSI_CheckSig(int signature);

/// Reads one value. `size` must be the size of the node's type; the parameters may be null for a
/// node without instances.
HSI_Status HSI_Get(std::uint32_t node, const HSI_ParamList* parameters, void* value,
                   std::size_t size);

/// Stores a new list of the node's instances in `list`; the caller destroys it.
HSI_Status HSI_GetInstanceListAlloc(std::uint32_t node, const HSI_ParamList* parameters,
                                    HSI_ParamList** list);

/// An empty list with room for `growBy` parameters, which can have at most `limit` of them (0: no
/// limit). Null when there is no memory.
HSI_ParamList* HSI_ParamListCreate(unsigned growBy, unsigned limit);
void HSI_ParamListDestroy(HSI_ParamList* list);  ///< null is allowed
HSI_Status HSI_ParamListAddInt(HSI_ParamList* list, std::int32_t value);
HSI_Status HSI_ParamListAddString(HSI_ParamList* list, const char* value);  ///< copies the text
HSI_Status HSI_ParamListRemoveLastParam(HSI_ParamList* list);
unsigned HSI_ParamListUsedCount(const HSI_ParamList* list);
/// The parameter at `index`; null past the end.
const HSI_Param* HSI_ParamListGetParam(const HSI_ParamList* list, unsigned index);
HSI_Status HSI_ParamListGetInt32(const HSI_ParamList* list, unsigned index, std::int32_t* value);
/// The text belongs to the parameter.
HSI_Status HSI_ParamGetString(const HSI_Param* parameter, const char** value);
