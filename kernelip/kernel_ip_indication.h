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

/// Watches the addresses of the host's network interfaces. Delivers one
/// Orvane_KernelIPChangedIndication for each address that has been replaced by another of its
/// family.
///
/// It has no thread: its owner calls testAndSend from time to time, and enables and disables it as
/// filters come and go. Two snapshots are compared, the one that a pass takes at its beginning and
/// the one taken at the end of the pass before; a change during a pass is never reported.
///
/// isEnabled, enableIndication, disableIndication, testAndSend and poll may be called from any
/// thread. Indications are delivered with the mutex held, so enabling and disabling wait for a
/// running pass. Disabling waits no longer than a terminating cleanup does
/// (framework/thread_times.h), since it precedes one and a delivery may never return.
class KernelIpIndication {
 public:
  KernelIpIndication() = default;  ///< disabled, without a snapshot
  ~KernelIpIndication() = default;
  KernelIpIndication(const KernelIpIndication&) = delete;
  KernelIpIndication& operator=(const KernelIpIndication&) = delete;

  bool isEnabled();
  /// Also takes a snapshot; the very first one is what the first pass compares with.
  void enableIndication();
  /// Keeps the snapshots: the first pass after a later enableIndication reports what has changed in
  /// between.
  void disableIndication();

  /// One detection pass. Does nothing while disabled.
  ///
  /// Fails: a failed delivery is logged, and the pass goes on. What the broker throws while an
  /// indication is being built, and any exception other than CmpiStatus from a delivery, ends the
  /// pass and is passed on; the mutex is released.
  void testAndSend(const CmpiContext& context, CmpiBroker* broker);

  /// Refreshes the current snapshot, the first time the previous one too. Takes the mutex.
  void poll();

  // The steps of a pass. They take no lock: the caller holds the mutex, or the object is its own.

  /// Reads `map` from the system anew, without the entries that getAddressPtr refuses. When the
  /// system cannot be read, logs it and leaves `map` as it is.
  void buildMap(std::multimap<std::string, boost::shared_ptr<IAddress>>& map);

  /// The address of an entry. Fails: a plain std::exception for an entry that cannot be used, after
  /// a log line about it; an entry without an address is not logged.
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
  /// Guards every member, except that `enabled_` is cleared without it when a delivery does not
  /// return. No other lock is taken while it is held.
  OMC::Mutex mutex_;
  std::atomic<bool> enabled_{false};
  bool initialised_ = false;  ///< previousMap_ has been filled
  AddressMap currentMap_;
  AddressMap previousMap_;
};

}  // namespace ORV
