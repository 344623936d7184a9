#include "broker/diagnostics.h"

#include <atomic>

namespace orv::broker {
namespace {

std::atomic<std::size_t> armedFaults{0};

// A provider that errs in every cycle must not fill the memory: the first reports tell the story.
constexpr std::size_t kReportsKept = 10000;

/// Counts a call; true when the fault hits it.
bool hits(Fault& fault) {
  if (fault.skip > 0) {
    --fault.skip;
    return false;
  }
  if (fault.times == 0) return false;
  if (fault.times > 0) --fault.times;
  return true;
}

}  // namespace

std::string Report::toText() const {
  std::string out;
  const auto addPart = [&out](const char* label, const std::string& name) {
    if (!name.empty()) out += (out.empty() ? "" : ", ") + std::string(label) + " " + name;
  };
  addPart("provider", provider);
  addPart("class", className);
  addPart("property", property);
  return out.empty() ? what : out + ": " + what;
}

Diagnostics::Diagnostics(std::function<void(const Report&)> onReport)
    : onReport_(std::move(onReport)) {}

Diagnostics::~Diagnostics() { disarm(); }

void Diagnostics::add(const Report& report) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (reports_.size() < kReportsKept) reports_.push_back(report);
  }
  if (onReport_) onReport_(report);
}

std::vector<Report> Diagnostics::reports() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return reports_;
}

void Diagnostics::clearReports() {
  const std::lock_guard<std::mutex> lock(mutex_);
  reports_.clear();
}

void Diagnostics::arm(Fault fault) {
  const std::lock_guard<std::mutex> lock(mutex_);
  faults_.push_back(std::move(fault));
  ++armedFaults;
}

void Diagnostics::disarm() {
  const std::lock_guard<std::mutex> lock(mutex_);
  armedFaults -= faults_.size();
  faults_.clear();
}

std::optional<InjectedFault> Diagnostics::dueFault(const char* slot) {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::optional<InjectedFault> due;
  for (Fault& fault : faults_) {
    if (fault.slot != slot || !hits(fault) || due) continue;
    const bool fails = fault.effect == Fault::Effect::kStatus;
    due = InjectedFault{fault.effect, CMPIStatus{fails ? fault.rc : CMPI_RC_OK, nullptr}};
  }
  return due;
}

bool Diagnostics::anyFaultArmed() { return armedFaults.load(std::memory_order_relaxed) != 0; }

}  // namespace orv::broker
