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

/// The open connections of a server: how many there are, in all and per address, and the deadline
/// of each. A thread of the table ends those whose deadline has passed. The HTTP library's own
/// time-out only measures silence: a client that sends a byte now and then would stay forever.
class ConnectionTable {
 public:
  using Clock = std::chrono::steady_clock;

  struct Limits {
    std::size_t connections = 512;
    std::size_t connectionsPerAddress = 128;
    /// Connections above the limits that are accepted so that the client gets an answer: 503.
    std::size_t toBeRefused = 32;
  };

  /// One connection. Its members belong to the table.
  struct Connection {
    int socket = -1;
    std::string address;     ///< of the client
    bool overLimit = false;  ///< to be refused
    Clock::time_point deadline = Clock::time_point::max();
    std::function<bool()> atDeadline;  ///< empty: the connection is ended
    bool abort = false;  ///< at the end, data that the client has not taken is dropped
  };

  explicit ConnectionTable(Limits limits);
  ~ConnectionTable();
  ConnectionTable(const ConnectionTable&) = delete;
  ConnectionTable& operator=(const ConnectionTable&) = delete;

  /// Whether one more connection from this address is accepted, if only to be refused.
  bool hasRoomFor(const std::string& address) const;

  /// Adds a connection; the pointer is valid until `remove`. The caller keeps `socket` open until
  /// `remove` has returned. Fails: std::bad_alloc.
  Connection* add(int socket, const std::string& address);
  void remove(Connection* connection);

  /// From now on the connection is ended at `deadline`. Replaces what was set before.
  void endAt(Connection* connection, Clock::time_point deadline);
  /// The same, and the kernel drops what the client has not taken by then.
  void abortAt(Connection* connection, Clock::time_point deadline);
  /// `action` runs once at `deadline`, in the table's thread and with its lock held. If it returns
  /// false or throws, the connection is ended as by `abortAt`.
  void runAt(Connection* connection, Clock::time_point deadline, std::function<bool()> action);
  /// Removes the deadline.
  void letGoOn(Connection* connection);

  /// Ends every connection, those that are still added too, and waits until all have been removed,
  /// at most for `patience`.
  void endAll(std::chrono::milliseconds patience);

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
  std::condition_variable removed_;
  std::list<Connection> connections_;
  std::map<std::string, std::size_t> countOfAddress_;
  Clock::time_point wakeAt_ = Clock::time_point::max();
  bool ending_ = false;  // endAll was called
  bool stop_ = false;
  std::thread thread_;
};

}  // namespace orv::serve
