#include "kernelip/address_changes.h"

#include <algorithm>

namespace ORV {
namespace {

bool isPresent(const AddressMap& snapshot, const std::string& name, const IAddress& address) {
  const auto [first, last] = snapshot.equal_range(name);
  return std::any_of(first, last,
                     [&](const auto& entry) { return address.isEqual(entry.second.get()); });
}

}  // namespace

bool replacedAddresses(const AddressMap& previous, const AddressMap& current,
                       const std::string& name, const boost::shared_ptr<IAddress>& address,
                       std::vector<boost::shared_ptr<IAddress>>& vanished) {
  const auto [first, last] = previous.equal_range(name);
  if (first == last) return false;
  vanished.clear();
  for (auto entry = first; entry != last; ++entry) {
    const boost::shared_ptr<IAddress>& old = entry->second;
    if (address->isEqual(old.get())) return false;
    if (old->family() == address->family() && !isPresent(current, name, *old)) {
      vanished.push_back(old);
    }
  }
  return !vanished.empty();
}

}  // namespace ORV
