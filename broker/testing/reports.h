#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include "broker/broker.h"

namespace orv::broker {

/// What one broker reports. Any thread.
class ReportLog {
 public:
  explicit ReportLog(std::function<void(const Report&)> next) : next_(std::move(next)) {}

  /// Keeps a report, for the innermost ThreadReports of the calling thread too, and passes it on.
  void add(const Report& report);
  std::vector<Report> all() const;
  void clear();

 private:
  const std::function<void(const Report&)> next_;
  mutable std::mutex mutex_;  // guards reports_
  std::vector<Report> reports_;
};

/// Collects what the calling thread reports as long as this lives. May be nested.
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
