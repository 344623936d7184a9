#include "kernelip/kernel_ip_indication.h"

#include <netdb.h>
#include <syslog.h>

#include <boost/make_shared.hpp>
#include <chrono>
#include <ctime>
#include <exception>
#include <memory>
#include <mutex>
#include <stdexcept>

#include "cmpi/cmpi_date_time.h"
#include "cmpi/cmpi_status.h"
#include "framework/scoping_keys.h"
#include "framework/thread_times.h"
#include "platform/computer_system.h"

namespace ORV {
namespace {

constexpr char kIndicationClass[] = "Orvane_KernelIPChangedIndication";
constexpr CMPIUint16 kSeverity = 3;

struct FreeInterfaceAddresses {
  void operator()(ifaddrs* list) const { freeifaddrs(list); }
};
using InterfaceAddresses = std::unique_ptr<ifaddrs, FreeInterfaceAddresses>;

/// Reads the system's list. False, after a log line, when it cannot be read. An empty list is null.
bool readInterfaceAddresses(InterfaceAddresses& list) {
  ifaddrs* entries = nullptr;
  const int code = getifaddrs(&entries);
  if (code == 0) {
    list.reset(entries);
    return true;
  }
  // Deliberate (contract.md#gai-text).
  syslog(LOG_ERR, "Unable to refresh network interface information of the system, Error: %s\n",
         gai_strerror(code));
  return false;
}

boost::shared_ptr<IAddress> makeAddress(const ifaddrs* entry) {
  const int family = entry->ifa_addr->sa_family;
  switch (family) {
    case AF_INET:
      return boost::make_shared<IPv4Address>(entry);
    case AF_INET6:
      return boost::make_shared<IPv6Address>(entry);
    default:
      throw std::invalid_argument("Unsupported protocol family: " + std::to_string(family));
  }
}

CmpiDateTime now() { return CmpiDateTime::ofSeconds(static_cast<CMPIUint64>(std::time(nullptr))); }

/// The path of the endpoint as it is now, not escaped. Deliberate (contract.md#model-path).
std::string modelPath(const CmpiContext& context, CmpiBroker* broker, const std::string& name,
                      const IAddress& current) {
  const std::string className = current.getCreationClassName();
  return std::string(kNameSpace) + ":" + className +                              //
         ".SystemCreationClassName=\"" + getSystemCreationClassName() + "\"" +    //
         ",SystemName=\"" + OMC::getComputerSystemName(context, broker) + "\"" +  //
         ",CreationClassName=\"" + className + "\"" + ",Name=\"" + name + "\"";
}

}  // namespace

bool KernelIpIndication::isEnabled() {
  const std::lock_guard<OMC::Mutex> lock(mutex_);
  return enabled_;
}

void KernelIpIndication::enableIndication() {
  {
    const std::lock_guard<OMC::Mutex> lock(mutex_);
    enabled_ = true;
  }
  poll();
}

void KernelIpIndication::disableIndication() {
  const std::unique_lock<OMC::Mutex> lock(mutex_,
                                          std::chrono::system_clock::now() + stopPatience());
  enabled_ = false;
}

void KernelIpIndication::poll() {
  const std::lock_guard<OMC::Mutex> lock(mutex_);
  buildMap(currentMap_);
  if (initialised_) return;
  buildMap(previousMap_);
  initialised_ = true;
}

void KernelIpIndication::testAndSend(const CmpiContext& context, CmpiBroker* broker) {
  if (!isEnabled()) return;
  poll();
  const std::lock_guard<OMC::Mutex> lock(mutex_);
  for (const auto& [name, current] : currentMap_) {
    std::vector<boost::shared_ptr<IAddress>> vanished;
    if (!isChanged(name, current, vanished)) continue;
    for (const auto& previous : vanished) send(context, broker, name, previous, current);
  }
  buildMap(previousMap_);
}

void KernelIpIndication::buildMap(AddressMap& map) {
  InterfaceAddresses list;
  if (!readInterfaceAddresses(list)) return;
  map.clear();
  for (const ifaddrs* entry = list.get(); entry != nullptr; entry = entry->ifa_next) {
    boost::shared_ptr<IAddress> address;
    try {
      address = getAddressPtr(entry);
    } catch (...) {
      continue;  // logged already, if it has an address
    }
    map.emplace(entry->ifa_name, address);
  }
}

boost::shared_ptr<IAddress> KernelIpIndication::getAddressPtr(const ifaddrs* entry) {
  if (entry->ifa_addr == nullptr) throw std::exception();
  try {
    return makeAddress(entry);
  } catch (const std::exception& exception) {
    syslog(LOG_ERR, "Caught exception: %s\n", exception.what());
    throw std::exception();
  }
}

bool KernelIpIndication::isChanged(const std::string& name,
                                   const boost::shared_ptr<IAddress>& address,
                                   std::vector<boost::shared_ptr<IAddress>>& vanished) {
  return replacedAddresses(previousMap_, currentMap_, name, address, vanished);
}

void KernelIpIndication::send(const CmpiContext& context, CmpiBroker* broker,
                              const std::string& name, const boost::shared_ptr<IAddress>& previous,
                              const boost::shared_ptr<IAddress>& current) {
  // A new instance each time: a filter that selects properties removes the others from the
  // delivered one for good.
  CmpiInstance indication(CmpiObjectPath(kNameSpace, kIndicationClass));
  formatIndication(context, indication, broker, name, previous, current);
  try {
    broker->deliverIndication(context, kNameSpace, indication);
  } catch (const CmpiStatus& status) {
    syslog(LOG_ERR, "Failed to deliver indication %d\n", static_cast<int>(status.rc()));
  }
}

void KernelIpIndication::formatIndication(const CmpiContext& context, CmpiInstance& indication,
                                          CmpiBroker* broker, const std::string& name,
                                          const boost::shared_ptr<IAddress>& previous,
                                          const boost::shared_ptr<IAddress>& current) {
  indication.setProperty("IndicationIdentifier", ("Orvane:" + name).c_str());
  indication.setProperty("IndicationTime", now());
  indication.setProperty("PerceivedSeverity", kSeverity);
  indication.setProperty("SourceInstance", current->buildInterfaceObject(context, broker, name));
  indication.setProperty("PreviousInstance", previous->buildInterfaceObject(context, broker, name));
  indication.setProperty("SourceInstanceModelPath",
                         modelPath(context, broker, name, *current).c_str());
  // Deliberate (contract.md#source-host).
  indication.setProperty("SourceInstanceHost", current->getAddress().c_str());
}

}  // namespace ORV
