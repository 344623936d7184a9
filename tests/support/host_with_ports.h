#pragma once

#include <cstddef>
#include <string>

/// The text of a host file with `count` ports, "nic0" and so on, each with every member set: what a
/// benchmark of many ports serves.
std::string makeHostWithPorts(std::size_t count);
