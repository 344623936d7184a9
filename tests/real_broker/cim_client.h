#pragma once

#include <string>
#include <utility>
#include <vector>

/// CIM-XML as a client writes it, over a socket of its own: for what wbemcli cannot say, and for
/// many requests.
namespace orv::test {

struct Reply {
  int httpStatus = 0;  ///< 0: the connection failed or ended without an answer
  std::string body;

  /// CIM status of the answer: 0 when it has no ERROR, -1 when it is not a CIM answer.
  int code() const;
  /// How often an element begins.
  std::size_t count(const std::string& element) const;
};

using Keys = std::vector<std::pair<std::string, std::string>>;

/// Text as it stands in XML.
std::string escaped(const std::string& text);
std::string instanceName(const std::string& className, const Keys& keys);
std::string parameter(const std::string& name, const std::string& element);
std::string classParameter(const std::string& className);
std::string nameParameter(const std::string& parameter, const std::string& className,
                          const Keys& keys);

/// Asks the broker at 127.0.0.1:5988.
Reply ask(const std::string& method, const std::string& parameters,
          const std::string& nameSpace = "root/cimv2");

/// Filter, handler and subscription of one name in the interop namespace; empty, or the first
/// answer that failed.
std::string subscribe(const std::string& name, const std::string& className,
                      const std::string& url);
/// Deletes the three. Empty, or the first answer that failed.
std::string unsubscribe(const std::string& name);

}  // namespace orv::test
