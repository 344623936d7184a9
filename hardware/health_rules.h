#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hardware/counter_baselines.h"
#include "platform/hardware.h"

/// How health follows from facts: one table of rules for each kind of element.
namespace Hardware {

/// Values of HealthState.
enum Health : std::uint16_t {
  kUnknown = 0,
  kOk = 5,
  kDegraded = 10,
  kMinor = 15,
  kMajor = 20,
  kCritical = 25,
  kNonRecoverable = 30,
};

/// The health of one element, and what is wrong with it, in words and numbers, the worst first.
struct Judgement {
  Health health = kOk;
  std::vector<std::string> words;
};

/// The worst health of the rules that hold, and their words. When none holds, the element is OK, or
/// Unknown if the host could not be asked; the reason for that is always added to the words, as the
/// last. `Facts` is the record of an element.
template <typename Facts>
Judgement judge(const Facts& facts, const Growth& growth);

/// OperationalStatus that goes with a health: OK, Degraded, Error, Non-Recoverable Error, Unknown.
std::uint16_t operationalStatusOf(Health health);

/// A rule as the documentation shows it.
struct DocumentedRule {
  std::string element;    ///< for example "disk"
  std::string condition;  ///< for example "ATA SMART: pending sectors"
  Health health;
};

/// All rules, in the order of the tables.
std::vector<DocumentedRule> documentedRules();

}  // namespace Hardware
