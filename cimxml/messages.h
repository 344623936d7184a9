#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "broker/class_repository.h"
#include "broker/values.h"
#include "cmpi/abi/cmpi_types.h"

/// CIM-XML messages as plain values: the calls of clients, and errors.
namespace orv::cimxml {

/// A CIM error: the status and text of an ERROR element.
class CimError : public std::runtime_error {
 public:
  CimError(CMPIrc rc, const std::string& text) : std::runtime_error(text), rc_(rc) {}
  /// With the general text of the status.
  explicit CimError(CMPIrc rc) : CimError(rc, broker::statusText(rc)) {}
  CMPIrc rc() const { return rc_; }

 private:
  CMPIrc rc_;
};

/// A text that is not a valid message. A server answers it with HTTP 400 and a CIMError header.
class BadMessage : public std::runtime_error {
 public:
  /// `cimError` is the header's value, for example "request-not-valid".
  BadMessage(std::string cimError, const std::string& text)
      : std::runtime_error(text), cimError_(std::move(cimError)) {}
  const std::string& cimError() const { return cimError_; }

 private:
  std::string cimError_;
};

/// The value of an IPARAMVALUE: one member is set, or none when the element is empty (null).
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
  /// Set when a parameter is invalid in an otherwise valid request: the answer is this error.
  std::optional<CimError> failure;
};

}  // namespace orv::cimxml
