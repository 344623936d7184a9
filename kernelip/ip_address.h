#pragma once

#include <ifaddrs.h>

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>

#include "cmpi/cmpi_broker.h"
#include "cmpi/cmpi_context.h"
#include "cmpi/cmpi_instance.h"

namespace ORV {

/// One address of one kernel network interface, as getifaddrs lists it. It does not know the
/// interface's name: snapshots are keyed by it.
///
/// Never changes once built, so any thread may read it; held through a boost::shared_ptr.
class IAddress {
 public:
  IAddress(const IAddress&) = delete;
  IAddress& operator=(const IAddress&) = delete;

  /// The protocol endpoint that this address makes of the interface, in namespace "root/cimv2" and
  /// class getCreationClassName(), as change indications embed it.
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
  /// Same address and same netmask.
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
  /// `entry` has an IPv6 address and either no netmask or one as getifaddrs stores it: with eight
  /// readable bytes after the socket address (see getPrefix).
  explicit IPv6Address(const ifaddrs* entry);

  CmpiInstance buildInterfaceObject(const CmpiContext& context, CmpiBroker* broker,
                                    const std::string& interfaceName) const override;
  /// Same address, whatever the prefix. Deliberate (contract.md#ipv6-prefix).
  bool isEqual(const IAddress* other) const override;
  std::string getAddress() const override;
  std::string getCreationClassName() const override;

  /// Bits; 0 when the mask is absent or not contiguous.
  std::uint32_t prefixLength() const { return prefixLength_; }

  /// Prefix length of a mask of `length` bytes, all of which are readable and looked at: the number
  /// of leading 1-bits, or 0 when a 1-bit follows them.
  static unsigned getPrefix(const void* mask, int length);

 private:
  char address_[46] = "";  ///< presentation form
  std::uint32_t prefixLength_ = 0;
};

}  // namespace ORV
