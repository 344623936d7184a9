#pragma once

#include <cstddef>
#include <cstdint>

/// Kernel information interface: values addressed by a node number and, where a node has instances,
/// by parameters that name the instance.
///
/// A query starts with HSI_CheckSig, which takes a fresh view of the host for the calling thread;
/// the calls that follow on that thread read this view, so that one query sees one state. Any
/// number of threads may query at once. Every call that can fail returns 0 for success and another
/// number otherwise; a failed call changes no argument.

using HSI_Status = int;

/// Nodes that this library reads. Integers are in the host's byte order, addresses in network
/// order.
enum HSI_Node : std::uint32_t {
  kHsiNetInterfaces = 214,     ///< list: kernel network interfaces by name (string)
  kHsiInterfaceIpv4 = 239,     ///< of an interface: IPv4 address, 4 bytes
  kHsiInterfaceNetmask = 240,  ///< of an interface: IPv4 netmask, 4 bytes
  kHsiInterfaceIpv6List =
      243,                  ///< list, of an interface: its IPv6 addresses by identifier (string)
  kHsiInterfaceIpv6 = 244,  ///< of an interface and an address: 68 bytes, see below
  kHsiTopology = 605,       ///< 36 bytes; 32-bit hyper-threading value first
  kHsiCpuModel = 606,       ///< 48 bytes: processor model name
  kHsiCore = 607,       ///< list and, of an instance (integer), 200 bytes of identification data
  kHsiPackage = 608,    ///< list and, of an instance (integer), 4 bytes: core count
  kHsiCoreState = 800,  ///< of an instance of 607: 160 bytes; byte 64 non-zero: the core is running
  kHsiCoreDetail = 801,        ///< of an instance of 607: 76 bytes
  kHsiPowerManagement = 1444,  ///< 588 bytes; power policy text from byte 8, NUL-terminated
};

/// The value of node 244: text in the first 48 bytes, NUL-terminated when it is shorter, and the
/// 32-bit prefix length at byte 48.
constexpr std::size_t kHsiIpv6ValueSize = 68;
constexpr std::size_t kHsiIpv6PrefixOffset = 48;

struct HSI_Param;      ///< an integer or a string; owned by its list
struct HSI_ParamList;  ///< owned by the caller until HSI_ParamListDestroy

/// Non-zero unless `signature` is 21, the interface that this library is built for, and the host
/// can be asked.
HSI_Status HSI_CheckSig(int signature);

/// Reads one value. `size` is exactly the node's size; the parameters may be null for a node
/// without instances.
HSI_Status HSI_Get(std::uint32_t node, const HSI_ParamList* parameters, void* value,
                   std::size_t size);

/// Lists the instances of a node into a new list, which the caller destroys.
HSI_Status HSI_GetInstanceListAlloc(std::uint32_t node, const HSI_ParamList* parameters,
                                    HSI_ParamList** list);

/// An empty list with room for `growBy` parameters at a time and at most `limit` of them (0: no
/// limit). Null when memory is out.
HSI_ParamList* HSI_ParamListCreate(unsigned growBy, unsigned limit);
void HSI_ParamListDestroy(HSI_ParamList* list);  ///< null is allowed
HSI_Status HSI_ParamListAddInt(HSI_ParamList* list, std::int32_t value);
HSI_Status HSI_ParamListAddString(HSI_ParamList* list, const char* value);  ///< copies the text
HSI_Status HSI_ParamListRemoveLastParam(HSI_ParamList* list);
unsigned HSI_ParamListUsedCount(const HSI_ParamList* list);
/// Null past the end.
const HSI_Param* HSI_ParamListGetParam(const HSI_ParamList* list, unsigned index);
HSI_Status HSI_ParamListGetInt32(const HSI_ParamList* list, unsigned index, std::int32_t* value);
/// The text belongs to the parameter.
HSI_Status HSI_ParamGetString(const HSI_Param* parameter, const char** value);
