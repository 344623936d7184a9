#include "web/json_interface.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <string_view>
#include <utility>

#include "broker/object_path_text.h"
#include "notation/json.h"
#include "notation/object_path.h"

namespace orv::web {
namespace {

using broker::ClassRepository;
using broker::Response;
using notation::Json;
using notation::jsonText;
using notation::toJson;
using serve::GetRequest;
using serve::HttpAnswer;

constexpr const char* kMediaType = "application/json";

/// An answer other than 200.
struct Refusal {
  int status;
  std::string text;
  CMPIrc cimStatus = CMPI_RC_OK;  ///< of the broker's response; CMPI_RC_OK: there was none
};

struct StatusRow {
  CMPIrc cim;
  int http;
};

/// Statuses that are not listed become 500.
constexpr StatusRow kStatuses[] = {
    {CMPI_RC_ERR_ACCESS_DENIED, 403},     {CMPI_RC_ERR_INVALID_NAMESPACE, 404},
    {CMPI_RC_ERR_INVALID_PARAMETER, 400}, {CMPI_RC_ERR_INVALID_CLASS, 404},
    {CMPI_RC_ERR_NOT_FOUND, 404},         {CMPI_RC_ERR_NOT_SUPPORTED, 501},
};

int httpStatusOf(CMPIrc rc) {
  const auto* found = std::find_if(std::begin(kStatuses), std::end(kStatuses),
                                   [=](const StatusRow& row) { return row.cim == rc; });
  return found == std::end(kStatuses) ? 500 : found->http;
}

HttpAnswer answerWith(std::string body, int status = 200) {
  return {status, std::move(body), kMediaType, {{"Cache-Control", "no-store"}}};
}

HttpAnswer answerWith(const Refusal& refusal) {
  Json body = {{"status", refusal.status}};
  if (refusal.cimStatus != CMPI_RC_OK) body["cimStatus"] = refusal.cimStatus;
  body["text"] = refusal.text;
  return answerWith(jsonText(body, -1) + "\n", refusal.status);
}

const Response& successful(const Response& response) {
  if (response.ok()) return response;
  const bool hasText = response.message && !response.message->empty();
  throw Refusal{httpStatusOf(response.rc),
                hasText ? *response.message : broker::statusText(response.rc), response.rc};
}

/// Elements of an array, one per line, up to a limit.
class ArrayText {
 public:
  explicit ArrayText(std::size_t limit) : limit_(limit) {}
  void add(const Json& element) {
    text_ += text_.size() == 1 ? "\n" : ",\n";
    text_ += jsonText(element, -1);
    if (text_.size() > limit_) {
      throw Refusal{500, "the answer is larger than " + std::to_string(limit_) +
                             " bytes; ask for fewer properties, or pull it by CIM-XML"};
    }
  }
  std::string finish() { return std::move(text_) + (text_.size() == 1 ? "]\n" : "\n]\n"); }

 private:
  const std::size_t limit_;
  std::string text_ = "[";
};

/// Refuses unknown parameters. A misspelt one would otherwise be ignored without notice.
void allowParameters(const GetRequest& request, const std::set<std::string_view>& known) {
  for (const auto& [name, value] : request.parameters) {
    if (known.count(name) == 0) throw Refusal{400, "the parameter \"" + name + "\" is not known"};
  }
}

/// The class name that follows the route's path.
std::string classOf(const GetRequest& request) {
  std::string name = request.path.substr(request.path.rfind('/') + 1);
  const std::size_t slashes = std::count(request.path.begin(), request.path.end(), '/');
  constexpr std::size_t kOfAClass = 3;  // /api/names/CLASS
  if (name.empty() || slashes != kOfAClass) throw Refusal{404, "a class is missing in the path"};
  return name;
}

/// The properties asked for, each once. Names that the class does not have are refused, so that a
/// client cannot ask for more than there are.
broker::PropertyList propertiesOf(const GetRequest& request, const ClassRepository& classes,
                                  const std::string& className) {
  std::set<std::string, broker::NameLess> wanted;
  const broker::ClassDefinition* definition = classes.find(className);
  bool given = false;
  for (const auto& [name, value] : request.parameters) {
    if (name != "property") continue;
    given = true;
    if (definition == nullptr) continue;
    if (definition->property(value) == nullptr) {
      throw Refusal{400, className + " has no property \"" + value + "\""};
    }
    wanted.insert(value);
  }
  if (!given) return std::nullopt;
  return std::vector<std::string>(wanted.begin(), wanted.end());
}

HttpAnswer arrayOf(const Host& host, const Response& response, std::size_t limit) {
  ArrayText array(limit);
  for (const broker::Instance& one : successful(response).instances) {
    array.add(toJson(one, *host.classes, false));
  }
  return answerWith(array.finish());
}

HttpAnswer instances(const Host& host, const GetRequest& request, std::size_t limit) {
  allowParameters(request, {"property"});
  const std::string className = classOf(request);
  const Response response = host.broker.enumerateInstances(
      host.nameSpace, className, propertiesOf(request, *host.classes, className));
  return arrayOf(host, response, limit);
}

HttpAnswer names(const Host& host, const GetRequest& request, std::size_t limit) {
  allowParameters(request, {});
  const Response response = host.broker.enumerateInstanceNames(host.nameSpace, classOf(request));
  ArrayText array(limit);
  for (const broker::ObjectPath& path : successful(response).paths) {
    array.add(toJson(path, *host.classes));
  }
  return answerWith(array.finish());
}

broker::ObjectPath pathOf(const Host& host, const GetRequest& request) {
  const std::string* text = request.parameter("path");
  if (text == nullptr) throw Refusal{400, "the parameter \"path\" is missing"};
  try {
    return notation::readObjectPath(*text, host.nameSpace, *host.classes);
  } catch (const broker::ObjectPathError& e) {
    throw Refusal{400, e.what()};
  }
}

HttpAnswer get(const Host& host, const GetRequest& request, std::size_t limit) {
  allowParameters(request, {"path", "property"});
  const broker::ObjectPath path = pathOf(host, request);
  const Response response =
      host.broker.getInstance(path, propertiesOf(request, *host.classes, path.className));
  if (successful(response).instances.empty()) {
    throw Refusal{404, broker::statusText(CMPI_RC_ERR_NOT_FOUND), CMPI_RC_ERR_NOT_FOUND};
  }
  const std::string text = jsonText(toJson(response.instances.front(), *host.classes, false), -1);
  if (text.size() > limit) throw Refusal{500, "the instance is too large"};
  return answerWith(text + "\n");
}

HttpAnswer associators(const Host& host, const GetRequest& request, std::size_t limit) {
  allowParameters(request, {"path", "association"});
  broker::AssociationFilter filter;
  const std::string* association = request.parameter("association");
  if (association != nullptr) filter.assocClass = *association;
  return arrayOf(host, host.broker.associators(pathOf(host, request), filter), limit);
}

using Answer = HttpAnswer (*)(const Host&, const GetRequest&, std::size_t);

serve::GetRoute route(const char* path, Answer answer, const Host& host, std::size_t limit) {
  return {path, [=](const GetRequest& request) {
            try {
              return answer(host, request, limit);
            } catch (const Refusal& refusal) {
              return answerWith(refusal);
            }
          }};
}

HttpAnswer nothing(const Host&, const GetRequest&, std::size_t) {
  throw Refusal{404,
                "there is nothing here; try /api/instances/CLASS, /api/names/CLASS, "
                "/api/get?path=PATH, /api/associators?path=PATH or /api/events"};
}

}  // namespace

std::vector<serve::GetRoute> jsonRoutes(const Host& host, std::size_t answerBytes) {
  const std::pair<const char*, Answer> rows[] = {
      {"/api/instances/", &instances},    {"/api/names/", &names}, {"/api/get", &get},
      {"/api/associators", &associators}, {"/api/", &nothing},
  };
  std::vector<serve::GetRoute> routes;
  for (const auto& [path, answer] : rows) routes.push_back(route(path, answer, host, answerBytes));
  return routes;
}

}  // namespace orv::web
