#include "client/cim_client.h"

namespace orv::client {
namespace {

broker::Response enumerate(CimClient& client, broker::Operation operation,
                           const std::string& nameSpace, const std::string& className) {
  broker::Request request;
  request.operation = operation;
  request.path.nameSpace = nameSpace;
  request.path.className = className;
  return client.request(request);
}

}  // namespace

broker::Response enumerateInstanceNames(CimClient& client, const std::string& nameSpace,
                                        const std::string& className) {
  return enumerate(client, broker::Operation::kEnumerateInstanceNames, nameSpace, className);
}

broker::Response enumerateInstances(CimClient& client, const std::string& nameSpace,
                                    const std::string& className) {
  return enumerate(client, broker::Operation::kEnumerateInstances, nameSpace, className);
}

}  // namespace orv::client
