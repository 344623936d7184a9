#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "broker/class_repository.h"
#include "broker/values.h"
#include "cmpi/abi/cmpi_types.h"

/// CIM-XML messages as plain values: what a client asks, and the failures that it is given.
namespace orv::cimxml {

/// A failure that the client gets as an ERROR element: CIM status and text.
class CimError : public std::runtime_error {
 public:
  CimError(CMPIrc rc, const std::string& text) : std::runtime_error(text), rc_(rc) {}
  /// With the text of the status.
  explicit CimError(CMPIrc rc) : CimError(rc, broker::statusText(rc)) {}
  CMPIrc rc() const { return rc_; }

 private:
  CMPIrc rc_;
};

/// A message that is not a CIM request: HTTP 400 with a CIMError header.
class BadMessage : public std::runtime_error {
 public:
  /// `cimError` is the header's value, for example "request-not-valid".
  BadMessage(std::string cimError, const std::string& text)
      : std::runtime_error(text), cimError_(std::move(cimError)) {}
  const std::string& cimError() const { return cimError_; }

 private:
  std::string cimError_;
};

/// The value of an IPARAMVALUE: exactly one member is set; none for an empty one (null).
struct Parameter {
  std::optional<std::string> text;               ///< VALUE, or the name of a CLASSNAME
  std::optional<std::vector<std::string>> list;  ///< VALUE.ARRAY
  std::optional<broker::ObjectPath> objectName;  ///< INSTANCENAME, or a VALUE.REFERENCE
  std::optional<broker::Instance> instance;      ///< INSTANCE, or a VALUE.NAMEDINSTANCE
};

/// One request message with one simple request.
struct Call {
  std::string messageId;
  std::string method;
  bool intrinsic = true;  ///< false: an extrinsic method call
  std::string nameSpace;  ///< "root/cimv2"
  std::map<std::string, Parameter, broker::NameLess> parameters;
  /// A parameter that makes no sense: the whole answer to a message that is a request otherwise.
  std::optional<CimError> failure;
};

}  // namespace orv::cimxml
