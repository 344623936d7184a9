#pragma once

#include <optional>
#include <string>

#include "cmpi/cmpi_instance_mi.h"
#include "framework/simple_association_mi.h"
#include "platform/pnic.h"

namespace EthernetProvider {

/// Publishes the host's physical network ports: the port itself, four satellites of each (driver
/// and firmware identity, statistics, coalescing settings) and the four associations between them.
///
/// Keeps nothing between requests: each fetches the ports afresh, owns them and releases them, so
/// any number of requests may run at once without a lock. Class names of requests are compared
/// without regard to case. While a host has no ports every enumeration and getInstance, of
/// whatever class, succeeds empty.
class EthernetPortProvider : public CmpiInstanceMI, private OMC::SimpleAssociationMI {
 public:
  using Pnic = Nodemgr::Network::Pnic;

  EthernetPortProvider(const CmpiBroker& mbp, const CmpiContext& context);
  ~EthernetPortProvider() override;

  CmpiStatus enumInstanceNames(const CmpiContext& context, CmpiResult& result,
                               const CmpiObjectPath& path) override;
  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override;
  /// A well-formed path of a port that is not there is answered with OK and no instance.
  CmpiStatus getInstance(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         const char** properties) override;
  /// Answers from the path's keys alone: the port need not exist.
  CmpiStatus doReferences(const CmpiContext& context, CmpiResult& result,
                          const CmpiObjectPath& path, const char* assocClass,
                          const char* resultClass, const char* role,
                          const char* resultRole) override;
  /// This provider, for ports and satellites.
  CmpiInstanceMI* instancesOf(const CmpiObjectPath& path) override;

  // Properties other than keys, in the order in which they are listed for each class. Where the
  // host library's first answer fails with its exception the instance stays as it was.

  /// Swallows the exception of GetLinkSettings only; that of a later accessor is passed on.
  static void fillEPInstance(CmpiInstance& instance, Pnic* port);
  static void fillEPStatsInstance(CmpiInstance& instance, Pnic* pnic);
  static void fillEPCoalesceInstance(CmpiInstance& instance, Pnic* pnic);
  static void fillEPDriverInstance(CmpiInstance& instance, Pnic* pnic);
  static void fillEPFirmwareInstance(CmpiInstance& instance, Pnic* pnic);

  // Host enumerations as CIM values, for any number that the host may give.

  static CMPIUint16 getPortType(Nodemgr::Network::PnicPortMode mode,
                                Nodemgr::Network::LinkSpeed speed);
  static CMPIUint16 convertPortMode(Nodemgr::Network::PnicPortMode mode);
  static CMPIUint16 convertTransceiver(Nodemgr::Network::TransceiverMode mode);
  static CMPIUint16 convertWOLOption(Nodemgr::Network::WakeOnMode mode);
  /// Speed and duplex, for example 1000_FULL; what has no name of its own is left out.
  static std::string convertLinkMode(const Nodemgr::Network::LinkMode& mode);

 private:
  /// Full instances of one class: of the named port, or of all.
  CmpiStatus enumInstancesInt(const CmpiContext& context, CmpiResult& result,
                              const CmpiObjectPath& path, const char** properties,
                              const std::optional<std::string>& deviceName);
};

}  // namespace EthernetProvider
