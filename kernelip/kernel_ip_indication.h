#pragma once

#include <ifaddrs.h>

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <map>
#include <string>
#include <vector>

#include "cmpi/cmpi_broker.h"
#include "cmpi/cmpi_context.h"
#include "cmpi/cmpi_instance.h"
#include "framework/locks.h"
#include "kernelip/address_changes.h"
#include "kernelip/ip_address.h"

namespace ORV {

/// Watches the addresses of the host's network interfaces and delivers one
/// Orvane_KernelIPChangedIndication for each address that another of its family has replaced.
///
/// It has no thread: its owner calls testAndSend from time to time, and switches it on and off as
/// filters come and go. Two snapshots are compared, the one that a pass takes when it begins and
/// the one taken at the end of the pass before; what changes while a pass is under way is never
/// reported.
///
/// The first four operations after the constructor may be called from any thread. Indications are
/// delivered with the mutex held, so that switching on or off waits for a pass under way; switching
/// off does not wait longer than a terminating cleanup does (framework/thread_times.h), since it
/// comes before one and a delivery may never return.
class KernelIpIndication {
 public:
  KernelIpIndication() = default;  ///< disabled, without a snapshot
  ~KernelIpIndication() = default;
  KernelIpIndication(const KernelIpIndication&) = delete;
  KernelIpIndication& operator=(const KernelIpIndication&) = delete;

  bool isEnabled();
  /// Takes a snapshot too; the very first one is what the first pass compares with.
  void enableIndication();
  /// Keeps the snapshots: the first pass after a later enableIndication reports what has changed
  /// meanwhile.
  void disableIndication();

  /// One detection pass; nothing at all while disabled.
  ///
  /// Fails: a failed delivery is logged and the pass goes on. What the broker throws while an
  /// indication is being built, and an exception other than CmpiStatus from delivery, end the pass
  /// and pass through; the mutex is free then.
  void testAndSend(const CmpiContext& context, CmpiBroker* broker);

  /// Refreshes the current snapshot; the first time the previous one too. Takes the mutex.
  void poll();

  // The steps of a pass. They take no lock: the caller holds the mutex, or the object is its own.

  /// Refreshes `map` from the system, leaving out entries that getAddressPtr refuses. When the
  /// system cannot be read, logs it and leaves `map` as it is.
  void buildMap(std::multimap<std::string, boost::shared_ptr<IAddress>>& map);

  /// Fails: a plain std::exception for an entry that is not usable, after a log line about it; an
  /// entry without an address gets no line.
  boost::shared_ptr<IAddress> getAddressPtr(const ifaddrs* entry);

  /// replacedAddresses of the two snapshots.
  bool isChanged(const std::string& name, const boost::shared_ptr<IAddress>& address,
                 std::vector<boost::shared_ptr<IAddress>>& vanished);

  /// Delivers one indication, logging a failed delivery.
  void send(const CmpiContext& context, CmpiBroker* broker, const std::string& name,
            const boost::shared_ptr<IAddress>& previous,
            const boost::shared_ptr<IAddress>& current);

  /// Sets the properties of `indication`.
  ///
  /// Fails: CmpiStatus of the broker.
  void formatIndication(const CmpiContext& context, CmpiInstance& indication, CmpiBroker* broker,
                        const std::string& name, const boost::shared_ptr<IAddress>& previous,
                        const boost::shared_ptr<IAddress>& current);

 private:
  /// Guards every member, except that `enabled_` is cleared without it where a delivery does not
  /// return. No other lock is taken while it is held.
  OMC::Mutex mutex_;
  std::atomic<bool> enabled_{false};
  bool initialised_ = false;  ///< previousMap_ has been filled
  AddressMap currentMap_;
  AddressMap previousMap_;
};

}  // namespace ORV
