#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace orv::serve {

/// The open connections of a server: how many there are, for each address too, and until when each
/// of them may go on as it does. A thread of the table ends those whose time is up; the HTTP
/// library's own time-out counts silence only, so that a client which sends a byte now and then
/// would stay for ever.
class ConnectionTable {
 public:
  using Clock = std::chrono::steady_clock;

  struct Limits {
    std::size_t connections = 512;
    std::size_t connectionsPerAddress = 128;
    /// Above the limits, for connections that are told so.
    std::size_t toBeRefused = 32;
  };

  /// One connection. Its members belong to the table.
  struct Connection {
    int socket = -1;
    std::string address;     ///< of the client
    bool overLimit = false;  ///< to be refused
    Clock::time_point deadline = Clock::time_point::max();
    std::function<bool()> atDeadline;  ///< empty: the connection is ended
    bool abort = false;                ///< what it has not taken is thrown away then
  };

  explicit ConnectionTable(Limits limits);
  ~ConnectionTable();
  ConnectionTable(const ConnectionTable&) = delete;
  ConnectionTable& operator=(const ConnectionTable&) = delete;

  /// Whether one more connection of this address is taken at all.
  bool hasRoomFor(const std::string& address) const;

  /// `socket` stays open until `remove` has returned. Fails: std::bad_alloc.
  Connection* add(int socket, const std::string& address);
  void remove(Connection* connection);

  /// From now on the connection is ended at `deadline`. Replaces what was set before.
  void endAt(Connection* connection, Clock::time_point deadline);
  /// The same, and what the client has not taken by then does not wait for it in the kernel.
  void abortAt(Connection* connection, Clock::time_point deadline);
  /// `action` runs once at `deadline`, in the table's thread and under its lock. Where it answers
  /// false or throws, the connection is ended as by `abortAt`.
  void runAt(Connection* connection, Clock::time_point deadline, std::function<bool()> action);
  /// The connection may take as long as it likes.
  void letGoOn(Connection* connection);

  std::size_t size() const;

 private:
  void set(Connection* connection, Clock::time_point deadline, bool abort,
           std::function<bool()> action);
  static bool goesOn(Connection& connection);
  static void end(const Connection& connection);
  void run();

  const Limits limits_;
  mutable std::mutex mutex_;  // guards what follows and the connections' members
  std::condition_variable changed_;
  std::list<Connection> connections_;
  std::map<std::string, std::size_t> countOfAddress_;
  Clock::time_point wakeAt_ = Clock::time_point::max();
  bool stop_ = false;
  std::thread thread_;
};

}  // namespace orv::serve
