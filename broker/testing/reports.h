#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include "broker/broker.h"

namespace orv::broker {

/// The reports of one broker. Thread-safe.
class ReportLog {
 public:
  explicit ReportLog(std::function<void(const Report&)> next) : next_(std::move(next)) {}

  /// Keeps a report, also in the innermost ThreadReports of the calling thread, and passes it on.
  void add(const Report& report);
  std::vector<Report> all() const;
  void clear();

 private:
  const std::function<void(const Report&)> next_;
  mutable std::mutex mutex_;  // guards reports_
  std::vector<Report> reports_;
};

/// Collects the reports of the calling thread for as long as the object exists. May be nested.
class ThreadReports {
 public:
  ThreadReports();
  ThreadReports(const ThreadReports&) = delete;
  ThreadReports& operator=(const ThreadReports&) = delete;
  ~ThreadReports();
  const std::vector<Report>& reports() const { return reports_; }

 private:
  friend class ReportLog;
  ThreadReports* outer_;
  std::vector<Report> reports_;
};

}  // namespace orv::broker
