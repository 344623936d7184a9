#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/class_repository.h"
#include "serve/http_answer.h"

/// What the service answers to browsers and small programs. docs/page.md describes it.
namespace orv::web {

/// The host that is served.
struct Host {
  broker::Broker& broker;  ///< must outlive every copy of this record
  std::shared_ptr<const broker::ClassRepository> classes;
  std::string nameSpace = "root/cimv2";
};

/// Objects as JSON, read-only, in the form of `orvcim --format json`:
///
///   /api/instances/CLASS   an array of instances; parameter "property", any number of times,
///                          limits their properties
///   /api/names/CLASS       an array of paths
///   /api/get?path=PATH     one instance; "property" as above
///   /api/associators?path=PATH   an array of the instances that are associated with it;
///                          parameter "association" limits them to those of one association class
///   /api/...               404
///
/// Errors are {"status": HTTP status, "cimStatus": CIM status, "text": "..."}; without "cimStatus"
/// unless the status is the broker's. An answer of more than `answerBytes` is an error.
std::vector<serve::GetRoute> jsonRoutes(const Host& host, std::size_t answerBytes = 32U << 20);

}  // namespace orv::web
