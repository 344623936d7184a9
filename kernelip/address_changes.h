#pragma once

#include <boost/shared_ptr.hpp>
#include <map>
#include <string>
#include <vector>

#include "kernelip/ip_address.h"

namespace ORV {

/// A snapshot: interface name to each of its addresses, those of one interface in the order in
/// which the system lists them.
using AddressMap = std::multimap<std::string, boost::shared_ptr<IAddress>>;

/// Whether `address`, of interface `name` in the snapshot `current`, replaced others since
/// `previous`; `vanished` then holds those of its family that are gone, in their order.
///
/// - An interface that `previous` lacks is new: false, `vanished` untouched.
/// - An address that was there before replaces none: false, whatever `vanished` holds.
/// - Otherwise every address of the family that `previous` has and `current` lacks is replaced.
///
/// So an address added beside surviving ones, one removed without a successor, and an interface
/// that comes or goes are not changes; two addresses replaced by one are two.
bool replacedAddresses(const AddressMap& previous, const AddressMap& current,
                       const std::string& name, const boost::shared_ptr<IAddress>& address,
                       std::vector<boost::shared_ptr<IAddress>>& vanished);

}  // namespace ORV
