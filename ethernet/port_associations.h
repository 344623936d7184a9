#pragma once

#include <string>

#include "cmpi/cmpi_instance.h"
#include "ethernet/port_paths.h"
#include "framework/rows.h"
#include "platform/pnic.h"

namespace EthernetProvider {

/// A satellite class of the ports, and the association class that ties a port to it.
struct PortAssociation {
  const char* className;
  const char* portRole;
  const char* satelliteRole;
  const char* satelliteClass;
  void (*fillSatellite)(CmpiInstance& instance, Nodemgr::Network::Pnic* port);
  /// Whether enumerated instances carry ElementSoftwareStatus; those that doReferences returns
  /// never do.
  bool tellsSoftwareStatus;
  /// Gives the port's SystemCreationClassName where doReferences builds the path of the port.
  std::string (*systemCreationClassName)();
};

/// The rows, in the order in which a port's associations are returned. They are in
/// port_satellites.cpp, beside the fill operations.
ORV::Rows<PortAssociation> portAssociations();

/// A new association instance, made on a path without keys: the port's role is set first, then the
/// satellite's.
CmpiInstance associationInstance(const PortAssociation& association, const CmpiString& nameSpace,
                                 const CmpiObjectPath& port, const CmpiObjectPath& satellite);

}  // namespace EthernetProvider
