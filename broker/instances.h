#pragma once

#include "broker/instance_data.h"
#include "broker/object_tools.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

struct InstanceObject : BrokerObject<InstanceObject, CMPIInstance> {
  static constexpr const char* kKind = "instance";
  static CMPIInstanceFT table;

  explicit InstanceObject(InstanceData content) : data(std::move(content)) {}
  InstanceObject* clone() const { return new InstanceObject(data); }

  InstanceData data;
};

/// In the calling thread's memory, as the two below.
CMPIInstance* makeInstance(InstanceData data);
/// A copy of a plain instance, with the class definition of the calling thread's broker.
CMPIInstance* makeInstance(const Instance& plain);
/// The newInstance slot: declared properties with their defaults, and the path's keys as
/// properties.
CMPIInstance* newInstance(const CMPIObjectPath* path, CMPIStatus* out);

/// Sets a property as the setProperty slot does, reports included.
CMPIStatus setProperty(InstanceData& instance, const char* name, const CMPIValue* value,
                       CMPIType type);

/// The texts of a null-terminated list; absent for a null pointer.
std::optional<std::vector<std::string>> textList(const char** list);

}  // namespace orv::broker
