#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/nodemgr_exception.h"
#include "platform/pnic.h"

namespace HykCtl::Util {

/// A list that owns the objects in it.
template <typename T>
using AutoVector = std::vector<std::unique_ptr<T>>;

}  // namespace HykCtl::Util

namespace HykCtl::Network {

/// The host's physical Ethernet ports. Objects of this class share nothing; each is used by one
/// thread.
///
/// A platform implements the four operations. Each of them throws NodemgrException when the host
/// could not be asked.
class NetworkInfoImpl {
 public:
  NetworkInfoImpl();
  ~NetworkInfoImpl();
  NetworkInfoImpl(const NetworkInfoImpl&) = delete;
  NetworkInfoImpl& operator=(const NetworkInfoImpl&) = delete;

  /// Every port, in the host's own order.
  HykCtl::Util::AutoVector<Nodemgr::Network::Pnic> GetPnics();

  /// The port of that name, without asking for the others; null when there is none.
  std::unique_ptr<Nodemgr::Network::Pnic> GetPnicByName(const std::string& name);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace HykCtl::Network
