#pragma once

#include <map>
#include <nlohmann/json_fwd.hpp>
#include <set>
#include <string>
#include <vector>

/// What wbemcli prints and what `orvcim --format json` prints, in a form in which they compare:
/// without order, quotes, the backslashes of texts in texts, and properties that are null.
namespace orv::test {

using Properties = std::map<std::string, std::string>;
/// Instances without their order.
using Instances = std::multiset<Properties>;

std::vector<std::string> linesOf(const std::string& text);

Instances instancesOfTool(const nlohmann::json& instances);
/// From "-Name=value" lines below a line with the path (option -nl).
Instances instancesOfClient(const std::string& output);

std::multiset<std::string> pathsOfTool(const nlohmann::json& paths);
/// Without the host in front of the namespace.
std::multiset<std::string> pathsOfClient(const std::string& output);

}  // namespace orv::test
