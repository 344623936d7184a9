#pragma once

#include <string>

#include "broker/class_repository.h"
#include "broker/mof_reader.h"
#include "broker/values.h"

namespace orv::tool {

/// A small schema of what the outputs must handle.
inline broker::ClassRepository sampleClasses() {
  broker::ClassRepository classes;
  broker::MofReader(classes).readText(R"(
      Qualifier ValueMap : string[];
      Qualifier Values : string[];
      class T_Base {
        string Caption;
        [ValueMap{"0", "2", "10..20", ".."}, Values{"Unknown", "Enabled", "Range", "Others"}]
        uint16 State;
      };
      class T_Port : T_Base {
        [Key] string Id;
        [ValueMap{"2", "10"}, Values{"OK", "Stopped"}] uint16 Status[];
        [Values{"Zero", "One"}] uint8 Counted;
        string Names[];
        datetime Since;
        [EmbeddedObject] string Inner;
        T_Base REF Link;
      };
      [Association] class T_Link { [Key] T_Port REF From; [Key] uint32 Number; };)",
                                      "sample.mof");
  return classes;
}

inline broker::ObjectPath samplePath(const std::string& id) {
  return {"", "root/cimv2", "T_Port", {{"Id", broker::Value::ofString(id)}}};
}

inline broker::Instance sampleInstance(const std::string& id) {
  using broker::Value;
  broker::Instance instance;
  instance.path = samplePath(id);
  instance.properties = {
      {"Extra", Value::ofUnsigned(CMPI_uint64, 18446744073709551615u)},
      {"Status", Value::ofArray(CMPI_uint16,
                                {Value::ofUnsigned(CMPI_uint16, 2), Value::ofNull(CMPI_uint16)})},
      {"State", Value::ofUnsigned(CMPI_uint16, 2)},
      {"Caption", Value::ofNull(CMPI_string)},
      {"Id", Value::ofString(id)},
  };
  return instance;
}

}  // namespace orv::tool
