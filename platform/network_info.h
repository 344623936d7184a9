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

/// The host's physical Ethernet ports. Keeps nothing between two objects; used by one thread.
///
/// A platform implements the four operations; NodemgrException from any of them means that the host
/// could not be asked.
class NetworkInfoImpl {
 public:
  NetworkInfoImpl();
  ~NetworkInfoImpl();
  NetworkInfoImpl(const NetworkInfoImpl&) = delete;
  NetworkInfoImpl& operator=(const NetworkInfoImpl&) = delete;

  /// Every port, in the host's own order.
  HykCtl::Util::AutoVector<Nodemgr::Network::Pnic> GetPnics();

  /// The one port of that name, asked for alone; null when there is none.
  std::unique_ptr<Nodemgr::Network::Pnic> GetPnicByName(const std::string& name);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace HykCtl::Network
