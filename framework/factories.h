#pragma once

#include <memory>

#include "cmpi/cmpi_association_mi.h"
#include "cmpi/cmpi_base_mi.h"
#include "cmpi/cmpi_indication_mi.h"
#include "cmpi/cmpi_instance_mi.h"
#include "cmpi/cmpi_provider_base.h"

/// The exported factory functions: one provider object for each provider name.
///
/// A provider's source ends with
///
///     ORV_PROVIDER_BASE(EthernetPortProvider);
///     ORV_INSTANCE_FACTORY(EthernetPortProvider, EthernetProvider::EthernetPortProvider)
///     ORV_ASSOCIATION_FACTORY(EthernetPortProvider, EthernetProvider::EthernetPortProvider)
///
/// A factory never returns null and never sets a status. The first call for a name constructs the
/// object and calls its `initialize`, once, whose failure is ignored; later calls, the other kind's
/// factory included, find the object. An exception from the constructor leaves the factory with
/// nothing stored, so that the next call tries again. The object manager calls the factories of a
/// name one at a time.
namespace ORV {

/// Calls `initialize`; ignores its status and whatever it throws.
void initializeProvider(CmpiBaseMI& provider, const CmpiContext& context);

/// Writes the line of the instance factories to standard error: "--- _Create_InstanceMI() " and the
/// type name of a provider pointer.
void printStartLine();

template <typename Provider>
CmpiBaseMI* providerObject(CmpiProviderBase& base, const CMPIBroker* broker,
                           const CmpiContext& context) {
  if (CmpiBaseMI* object = base.getBaseMI()) return object;
  CmpiProviderBase::setBroker(broker);  // constructors may make broker objects
  auto created = std::make_unique<Provider>(CmpiBroker(broker), context);
  CmpiBaseMI& object = *created;
  object.setProviderBase(&base);
  initializeProvider(object, context);
  base.setBaseMI(created.release());  // lives as long as the library, which is never unloaded
  return &object;
}

enum class StartLine { kSilent, kPrinted };

template <typename Provider, typename Record, typename Table>
Record* createMI(Record& record, Table& table, CmpiProviderBase& base, StartLine startLine,
                 const CMPIBroker* broker, const CMPIContext* callContext) {
  const CmpiContext context(callContext);
  // Written once: the factories of a name that is registered for several classes are called while
  // requests for another of these classes use the record.
  if (record.ft != &table) record.ft = &table;
  CmpiBaseMI* object = providerObject<Provider>(base, broker, context);
  if (startLine == StartLine::kPrinted) printStartLine();
  if (record.hdl != object) record.hdl = object;
  base.incUseCount();
  return &record;
}

}  // namespace ORV

#define ORV_EXPORT __attribute__((visibility("default")))

/// The provider base of a name, which all its factories share.
#define ORV_PROVIDER_BASE(name) CmpiProviderBase base##name

// NOLINTBEGIN(bugprone-macro-parentheses): names and types, not expressions
#define ORV_FACTORY(name, Provider, Kind, prefix, startLine)                               \
  extern "C" ORV_EXPORT CMPI##Kind##MI* name##_Create_##Kind##MI(                          \
      const CMPIBroker* broker, const CMPIContext* context, CMPIStatus* /*status*/) {      \
    static CMPI##Kind##MIFT table = Cmpi##Kind##MI::functionTable(prefix #name);           \
    static CMPI##Kind##MI record{};                                                        \
    return ORV::createMI<Provider>(record, table, base##name, startLine, broker, context); \
  }
// NOLINTEND(bugprone-macro-parentheses)

#define ORV_INSTANCE_FACTORY(name, Provider) \
  ORV_FACTORY(name, Provider, Instance, "instance", ORV::StartLine::kPrinted)
#define ORV_ASSOCIATION_FACTORY(name, Provider) \
  ORV_FACTORY(name, Provider, Association, "association", ORV::StartLine::kSilent)
#define ORV_INDICATION_FACTORY(name, Provider) \
  ORV_FACTORY(name, Provider, Indication, "indication", ORV::StartLine::kSilent)
