#include "serve/connection_table.h"

#include <sys/socket.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace orv::serve {

ConnectionTable::ConnectionTable(Limits limits)
    : limits_(limits), thread_(&ConnectionTable::run, this) {}

ConnectionTable::~ConnectionTable() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stop_ = true;
    changed_.notify_all();
  }
  thread_.join();
}

bool ConnectionTable::hasRoomFor(const std::string& address) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (connections_.size() >= limits_.connections + limits_.toBeRefused) return false;
  const auto found = countOfAddress_.find(address);
  return found == countOfAddress_.end() ||
         found->second < limits_.connectionsPerAddress + limits_.toBeRefused / 2;
}

ConnectionTable::Connection* ConnectionTable::add(int socket, const std::string& address) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Connection connection;
  connection.socket = socket;
  connection.address = address;
  std::size_t& ofAddress = countOfAddress_[address];
  connection.overLimit =
      connections_.size() >= limits_.connections || ofAddress >= limits_.connectionsPerAddress;
  connections_.push_back(std::move(connection));
  ++ofAddress;
  if (ending_) ::shutdown(socket, SHUT_RDWR);
  return &connections_.back();
}

void ConnectionTable::remove(Connection* connection) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto count = countOfAddress_.find(connection->address);
  if (count != countOfAddress_.end() && --count->second == 0) countOfAddress_.erase(count);
  connections_.remove_if([&](const Connection& other) { return &other == connection; });
  removed_.notify_all();
}

void ConnectionTable::endAt(Connection* connection, Clock::time_point deadline) {
  set(connection, deadline, false, nullptr);
}

void ConnectionTable::runAt(Connection* connection, Clock::time_point deadline,
                            std::function<bool()> action) {
  set(connection, deadline, true, std::move(action));
}

void ConnectionTable::letGoOn(Connection* connection) {
  set(connection, Clock::time_point::max(), false, nullptr);
}

void ConnectionTable::abortAt(Connection* connection, Clock::time_point deadline) {
  set(connection, deadline, true, nullptr);
}

void ConnectionTable::endAll(std::chrono::milliseconds patience) {
  std::unique_lock<std::mutex> lock(mutex_);
  ending_ = true;
  for (const Connection& connection : connections_) ::shutdown(connection.socket, SHUT_RDWR);
  removed_.wait_for(lock, patience, [this] { return connections_.empty(); });
}

bool ConnectionTable::goesOn(Connection& connection) try {
  const auto action = std::exchange(connection.atDeadline, nullptr);
  return action && action();
} catch (const std::exception&) {
  return false;
}

/// The HTTP library notices the shutdown and cleans up.
void ConnectionTable::end(const Connection& connection) {
  constexpr linger kNotAtAll = {1, 0};
  if (connection.abort) {
    ::setsockopt(connection.socket, SOL_SOCKET, SO_LINGER, &kNotAtAll, sizeof kNotAtAll);
  }
  ::shutdown(connection.socket, SHUT_RDWR);
}

void ConnectionTable::set(Connection* connection, Clock::time_point deadline, bool abort,
                          std::function<bool()> action) {
  const std::lock_guard<std::mutex> lock(mutex_);
  connection->deadline = deadline;
  connection->atDeadline = std::move(action);
  connection->abort = abort;
  if (deadline < wakeAt_) changed_.notify_all();
}

std::size_t ConnectionTable::size() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return connections_.size();
}

void ConnectionTable::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!stop_) {
    const Clock::time_point now = Clock::now();
    wakeAt_ = Clock::time_point::max();
    for (Connection& connection : connections_) {
      if (connection.deadline > now) {
        wakeAt_ = std::min(wakeAt_, connection.deadline);
        continue;
      }
      connection.deadline = Clock::time_point::max();
      if (!goesOn(connection)) end(connection);
    }
    // A wait until the end of time overflows in some run-time libraries.
    changed_.wait_until(lock, std::min(wakeAt_, now + std::chrono::hours(1)));
  }
}

}  // namespace orv::serve
