#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "broker/testing/test_broker.h"

namespace orv::test {

/// A request to the library, with what it answers when nothing fails.
struct NamedOperation {
  std::string name;  ///< "EnumerateInstances Orvane_EthernetPort"
  broker::Request request;
  CMPIrc rc = CMPI_RC_OK;
  std::size_t objects = 0;
};

/// Every operation of every class of a registration but the indications; those on one object are
/// asked for the first one of the class, and for one that does not exist.
std::vector<NamedOperation> everyOperation(broker::TestBroker& broker,
                                           const std::string& registrationFile);

/// The classes of a registration that have instances or are associations.
std::vector<std::string> registeredClasses(const std::string& registrationFile);

/// Whether a status is one that a client may get: a CIM status, or the system's.
bool isStatus(CMPIrc rc);

/// Asks again, with no fault. True when the answer is as it was.
bool answersAsBefore(broker::TestBroker& broker, const NamedOperation& operation);

/// Which points of a long row are tried: all with ORV_LONG_TESTS, else every so many, beginning
/// with another one for each day on which something was committed.
class Sample {
 public:
  explicit Sample(std::size_t every);
  bool holds(std::size_t point) const { return point % every_ == first_; }

 private:
  std::size_t every_ = 1;
  std::size_t first_ = 0;
};

/// Says on standard error what was tried when the process is ended by a signal.
void sayOnCrash(const std::string& operation, std::size_t point);

}  // namespace orv::test
