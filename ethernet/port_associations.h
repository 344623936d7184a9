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
  /// Enumerated instances carry ElementSoftwareStatus; those that doReferences returns never do.
  bool tellsSoftwareStatus;
  /// Source of the port's SystemCreationClassName where doReferences builds the port's path.
  std::string (*systemCreationClassName)();
};

/// In the order in which a port's associations are returned. The rows stand beside the fill
/// operations, in port_satellites.cpp.
ORV::Rows<PortAssociation> portAssociations();

/// A fresh association instance on a path without keys of its own: the port's role first, then the
/// satellite's.
CmpiInstance associationInstance(const PortAssociation& association, const CmpiString& nameSpace,
                                 const CmpiObjectPath& port, const CmpiObjectPath& satellite);

}  // namespace EthernetProvider
