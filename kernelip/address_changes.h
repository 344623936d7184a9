#pragma once

#include <boost/shared_ptr.hpp>
#include <map>
#include <string>
#include <vector>

#include "kernelip/ip_address.h"

namespace ORV {

/// A snapshot: the addresses of each interface by its name, those of one interface in the order in
/// which the system lists them.
using AddressMap = std::multimap<std::string, boost::shared_ptr<IAddress>>;

/// Whether `address`, of interface `name` in the snapshot `current`, has replaced others since
/// `previous`. If so, `vanished` holds those of its family that are gone, in their order.
///
/// - An interface that `previous` lacks is new: false, `vanished` untouched.
/// - An address that was there before replaces nothing: false, and `vanished` may hold anything.
/// - Otherwise every address of the family that `previous` has and `current` lacks is replaced.
///
/// So it is not a change when an address is added beside those that remain, when one is removed
/// without a successor, or when an interface comes or goes; two addresses replaced by one are two
/// changes.
bool replacedAddresses(const AddressMap& previous, const AddressMap& current,
                       const std::string& name, const boost::shared_ptr<IAddress>& address,
                       std::vector<boost::shared_ptr<IAddress>>& vanished);

}  // namespace ORV
