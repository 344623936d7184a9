#include "broker/testing/reports.h"

namespace orv::broker {
namespace {

// A provider that errs in every cycle must not fill the memory; the first reports are enough.
constexpr std::size_t kReportsKept = 10000;

thread_local ThreadReports* innermost = nullptr;

}  // namespace

void ReportLog::add(const Report& report) {
  if (innermost != nullptr) innermost->reports_.push_back(report);
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (reports_.size() < kReportsKept) reports_.push_back(report);
  }
  if (next_) next_(report);
}

std::vector<Report> ReportLog::all() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return reports_;
}

void ReportLog::clear() {
  const std::lock_guard<std::mutex> lock(mutex_);
  reports_.clear();
}

ThreadReports::ThreadReports() : outer_(innermost) { innermost = this; }
ThreadReports::~ThreadReports() { innermost = outer_; }

}  // namespace orv::broker
