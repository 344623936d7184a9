#pragma once

#include <optional>
#include <string>

#include "cmpi/cmpi_instance_mi.h"
#include "framework/simple_association_mi.h"
#include "platform/pnic.h"

namespace EthernetProvider {

/// Publishes the host's physical network ports: each port with its four satellites (driver and
/// firmware identity, statistics, coalescing settings) and the four associations between port and
/// satellite.
///
/// Keeps nothing between requests: each request fetches the ports, owns them and releases them, so
/// any number of requests may run at once without a lock. Class names in requests are compared
/// without regard to case. While the host has no ports, every enumeration and every getInstance, of
/// whatever class, succeeds with an empty answer.
class EthernetPortProvider : public CmpiInstanceMI, private OMC::SimpleAssociationMI {
 public:
  using Pnic = Nodemgr::Network::Pnic;

  EthernetPortProvider(const CmpiBroker& mbp, const CmpiContext& context);
  ~EthernetPortProvider() override;

  CmpiStatus enumInstanceNames(const CmpiContext& context, CmpiResult& result,
                               const CmpiObjectPath& path) override;
  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override;
  /// A well-formed path of a port that does not exist is answered with OK and no instance.
  CmpiStatus getInstance(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         const char** properties) override;
  /// Answers from the path's keys alone: the port need not exist.
  CmpiStatus doReferences(const CmpiContext& context, CmpiResult& result,
                          const CmpiObjectPath& path, const char* assocClass,
                          const char* resultClass, const char* role,
                          const char* resultRole) override;
  /// This provider, for every class that it serves; null for others.
  CmpiInstanceMI* instancesOf(const CmpiObjectPath& path) override;

  // Each sets the properties that are not keys, in the order in which they are listed for the
  // class. When the host library throws its exception at the first question, the instance stays as
  // it was.

  /// Ignores the host library's exception from GetLinkSettings only; one from a later accessor is
  /// passed on.
  static void fillEPInstance(CmpiInstance& instance, Pnic* port);
  static void fillEPStatsInstance(CmpiInstance& instance, Pnic* pnic);
  static void fillEPCoalesceInstance(CmpiInstance& instance, Pnic* pnic);
  static void fillEPDriverInstance(CmpiInstance& instance, Pnic* pnic);
  static void fillEPFirmwareInstance(CmpiInstance& instance, Pnic* pnic);

  // The CIM values of the host's enumerations, for any number that the host may return.

  static CMPIUint16 getPortType(Nodemgr::Network::PnicPortMode mode,
                                Nodemgr::Network::LinkSpeed speed);
  static CMPIUint16 convertPortMode(Nodemgr::Network::PnicPortMode mode);
  static CMPIUint16 convertTransceiver(Nodemgr::Network::TransceiverMode mode);
  static CMPIUint16 convertWOLOption(Nodemgr::Network::WakeOnMode mode);
  /// Speed and duplex, for example 1000_FULL; a value without a name is left out, the "_" is not.
  static std::string convertLinkMode(const Nodemgr::Network::LinkMode& mode);

 private:
  /// Returns the full instances of one class: those of the named port, or of all ports.
  CmpiStatus enumInstancesInt(const CmpiContext& context, CmpiResult& result,
                              const CmpiObjectPath& path, const char** properties,
                              const std::optional<std::string>& deviceName);
};

}  // namespace EthernetProvider
