#pragma once

#include <ifaddrs.h>

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>

#include "cmpi/cmpi_broker.h"
#include "cmpi/cmpi_context.h"
#include "cmpi/cmpi_instance.h"

namespace ORV {

/// One address of one kernel network interface, as getifaddrs lists it. The interface's name is not
/// part of it: it is the key under which a snapshot holds the address.
///
/// Never changes once built, so any thread may read it; held through a boost::shared_ptr.
class IAddress {
 public:
  IAddress(const IAddress&) = delete;
  IAddress& operator=(const IAddress&) = delete;

  /// The interface as a protocol endpoint with this address, in namespace "root/cimv2" and class
  /// getCreationClassName(). Change indications embed it.
  ///
  /// Fails: CmpiStatus of the broker.
  virtual CmpiInstance buildInterfaceObject(const CmpiContext& context, CmpiBroker* broker,
                                            const std::string& interfaceName) const = 0;

  /// False for null and for an address of the other family.
  virtual bool isEqual(const IAddress* other) const = 0;

  /// The address as text; empty when it could not be converted.
  virtual std::string getAddress() const = 0;

  virtual ~IAddress() = default;

  /// CIM class of the endpoint.
  virtual std::string getCreationClassName() const = 0;

  /// AF_INET or AF_INET6.
  std::uint32_t family() const { return family_; }

 protected:
  explicit IAddress(const ifaddrs* entry);

  /// The endpoint with the properties that both families share.
  CmpiInstance commonInterfaceObject(const CmpiContext& context, CmpiBroker* broker,
                                     const std::string& interfaceName,
                                     std::uint16_t protocolType) const;

 private:
  std::uint32_t family_;
};

class IPv4Address : public IAddress {
 public:
  /// `entry` has an IPv4 address. A netmask that is absent or cannot be converted is an empty text.
  ///
  /// Fails: std::invalid_argument "Address conversion failed".
  explicit IPv4Address(const ifaddrs* entry);

  CmpiInstance buildInterfaceObject(const CmpiContext& context, CmpiBroker* broker,
                                    const std::string& interfaceName) const override;
  /// Whether both address and netmask are equal.
  bool isEqual(const IAddress* other) const override;
  std::string getAddress() const override;
  std::string getCreationClassName() const override;

  std::string subnetMask() const { return subnetMask_; }

 private:
  char address_[16] = "";  ///< dotted quad
  char subnetMask_[16] = "";
};

class IPv6Address : public IAddress {
 public:
  /// `entry` has an IPv6 address, and no netmask or one as getifaddrs stores it: followed by eight
  /// readable bytes (see getPrefix). An address that cannot be converted is an empty text.
  explicit IPv6Address(const ifaddrs* entry);

  CmpiInstance buildInterfaceObject(const CmpiContext& context, CmpiBroker* broker,
                                    const std::string& interfaceName) const override;
  /// Whether the addresses are equal, whatever the prefixes. Deliberate (contract.md#ipv6-prefix).
  bool isEqual(const IAddress* other) const override;
  std::string getAddress() const override;
  std::string getCreationClassName() const override;

  /// Bits; 0 when the mask is absent or not contiguous.
  std::uint32_t prefixLength() const { return prefixLength_; }

  /// The prefix length of a mask of `length` bytes, all of which are read: the number of leading
  /// 1-bits, or 0 when another 1-bit follows them.
  static unsigned getPrefix(const void* mask, int length);

 private:
  char address_[46] = "";  ///< presentation form
  std::uint32_t prefixLength_ = 0;
};

}  // namespace ORV
