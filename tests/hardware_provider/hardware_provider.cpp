// A CMPI instance provider for tests and demonstrations: serves the hardware that a text file
// describes (element_file.h). The file is read for every request, so it may be rewritten at any
// time; rewrite it by renaming a complete file over it.
//
// The file's name comes from the registration's `parameters`, else from ORV_HARDWARE_FILE.

#include <strings.h>

#include <cstdlib>
#include <exception>
#include <fstream>
#include <stdexcept>

#include "cmpi/abi/cmpi_tables.h"
#include "tests/hardware_provider/element_file.h"

namespace {

const CMPIBroker* theBroker;
std::string& fileName() {
  static auto* const name = new std::string;
  return *name;
}

/// Ends an operation with a status.
struct Failure {
  CMPIrc rc;
  std::string message;
};

void check(const CMPIStatus& status) {
  if (status.rc != CMPI_RC_OK) throw Failure{status.rc, "the object manager refused a value"};
}

template <typename Operation>
CMPIStatus answer(Operation operation) {
  Failure failure{CMPI_RC_ERR_FAILED, "unknown exception"};
  try {
    operation();
    return {CMPI_RC_OK, nullptr};
  } catch (const Failure& thrown) {
    failure = thrown;
  } catch (const std::exception& thrown) {
    failure.message = thrown.what();
  } catch (...) {
  }
  return {failure.rc, theBroker->eft->newString(theBroker, failure.message.c_str(), nullptr)};
}

const char* textOf(const CMPIString* text) {
  const char* chars = text == nullptr ? nullptr : text->ft->getCharPtr(text, nullptr);
  return chars == nullptr ? "" : chars;
}

std::string classOf(const CMPIObjectPath* path) {
  return textOf(path->ft->getClassName(path, nullptr));
}

Hardware readFile() {
  std::ifstream in(fileName());
  if (!in) throw std::runtime_error("cannot read the hardware file " + fileName());
  return readHardware(in);
}

bool sameName(const std::string& a, const std::string& b) {
  return strcasecmp(a.c_str(), b.c_str()) == 0;
}

bool has(const HardwareElement& element, const char* property) {
  for (const HardwareProperty& p : element.properties) {
    if (sameName(p.name, property)) return true;
  }
  return false;
}

/// The keys that every device and every physical element has, unless the file gives them.
void completeKeys(HardwareElement& element) {
  const auto add = [&](const char* name, const std::string& value) {
    if (!has(element, name)) element.properties.push_back({name, value, false});
  };
  const bool isDevice = has(element, "DeviceID");
  if (isDevice || has(element, "Tag")) add("CreationClassName", element.className);
  if (!isDevice) return;
  add("SystemCreationClassName", "OMC_UnitaryComputerSystem");
  add("SystemName", "hardware");
}

/// The elements of a class, in the order of the file.
std::vector<HardwareElement> elementsOf(const std::string& className) {
  const Hardware hardware = readFile();
  for (const HardwareFailure& failure : hardware.failures) {
    if (sameName(failure.className, className)) {
      throw Failure{static_cast<CMPIrc>(failure.status), failure.message};
    }
  }
  std::vector<HardwareElement> elements;
  for (const HardwareElement& element : hardware.elements) {
    if (!sameName(element.className, className)) continue;
    elements.push_back(element);
    completeKeys(elements.back());
  }
  return elements;
}

void setProperty(CMPIInstance* instance, const HardwareProperty& property) {
  const char* name = property.name.c_str();
  if (property.isNumber) {
    CMPIValue value{};
    value.uint64 = std::strtoull(property.value.c_str(), nullptr, 10);
    check(instance->ft->setProperty(instance, name, &value, CMPI_uint64));
    return;
  }
  const auto* text = reinterpret_cast<const CMPIValue*>(property.value.c_str());
  check(instance->ft->setProperty(instance, name, text, CMPI_chars));
}

CMPIInstance* makeInstance(const CMPIObjectPath* request, const HardwareElement& element) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const char* nameSpace = textOf(request->ft->getNameSpace(request, nullptr));
  CMPIObjectPath* path =
      theBroker->eft->newObjectPath(theBroker, nameSpace, element.className.c_str(), &status);
  check(status);
  CMPIInstance* instance = theBroker->eft->newInstance(theBroker, path, &status);
  check(status);
  for (const HardwareProperty& property : element.properties) setProperty(instance, property);
  if (element.healthState) {
    CMPIValue value{};
    value.uint16 = *element.healthState;
    check(instance->ft->setProperty(instance, "HealthState", &value, CMPI_uint16));
  }
  return instance;
}

CMPIObjectPath* pathOf(const CMPIInstance* instance) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CMPIObjectPath* path = instance->ft->getObjectPath(instance, &status);
  check(status);
  return path;
}

/// Whether each text key of the request has that value in the element.
bool isMeant(const HardwareElement& element, const CMPIObjectPath* request) {
  for (const HardwareProperty& property : element.properties) {
    CMPIStatus status{CMPI_RC_OK, nullptr};
    const CMPIData key = request->ft->getKey(request, property.name.c_str(), &status);
    if (status.rc != CMPI_RC_OK || key.state == CMPI_nullValue || key.type != CMPI_string) continue;
    if (property.value != textOf(key.value.string)) return false;
  }
  return true;
}

CMPIStatus cleanup(CMPIInstanceMI*, const CMPIContext*, CMPIBoolean) {
  return {CMPI_RC_OK, nullptr};
}

CMPIStatus enumerateInstanceNames(CMPIInstanceMI*, const CMPIContext*, const CMPIResult* result,
                                  const CMPIObjectPath* request) {
  return answer([&] {
    for (const HardwareElement& element : elementsOf(classOf(request))) {
      check(result->ft->returnObjectPath(result, pathOf(makeInstance(request, element))));
    }
    check(result->ft->returnDone(result));
  });
}

CMPIStatus enumerateInstances(CMPIInstanceMI*, const CMPIContext*, const CMPIResult* result,
                              const CMPIObjectPath* request, const char** properties) {
  return answer([&] {
    for (const HardwareElement& element : elementsOf(classOf(request))) {
      CMPIInstance* instance = makeInstance(request, element);
      check(instance->ft->setPropertyFilter(instance, properties, nullptr));
      check(result->ft->returnInstance(result, instance));
    }
    check(result->ft->returnDone(result));
  });
}

CMPIStatus getInstance(CMPIInstanceMI*, const CMPIContext*, const CMPIResult* result,
                       const CMPIObjectPath* request, const char** properties) {
  return answer([&] {
    for (const HardwareElement& element : elementsOf(classOf(request))) {
      if (!isMeant(element, request)) continue;
      CMPIInstance* instance = makeInstance(request, element);
      check(instance->ft->setPropertyFilter(instance, properties, nullptr));
      check(result->ft->returnInstance(result, instance));
      check(result->ft->returnDone(result));
      return;
    }
    throw Failure{CMPI_RC_ERR_NOT_FOUND, "no such hardware"};
  });
}

constexpr CMPIStatus kNotSupported{CMPI_RC_ERR_NOT_SUPPORTED, nullptr};

CMPIStatus createInstance(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                          const CMPIObjectPath*, const CMPIInstance*) {
  return kNotSupported;
}
CMPIStatus modifyInstance(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                          const CMPIObjectPath*, const CMPIInstance*, const char**) {
  return kNotSupported;
}
CMPIStatus deleteInstance(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                          const CMPIObjectPath*) {
  return kNotSupported;
}
CMPIStatus execQuery(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*, const CMPIObjectPath*,
                     const char*, const char*) {
  return kNotSupported;
}

std::string fileFromRegistration(const CMPIContext* context) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIData entry = context->ft->getEntry(context, "sfcbProviderParameters", &status);
  if (status.rc != CMPI_RC_OK || entry.type != CMPI_string) return {};
  return textOf(entry.value.string);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) CMPIInstanceMI* OrvaneHardware_Create_InstanceMI(
    const CMPIBroker* broker, const CMPIContext* context, CMPIStatus*) {
  static CMPIInstanceMIFT table = {200,
                                   200,
                                   "instanceOrvaneHardware",
                                   cleanup,
                                   enumerateInstanceNames,
                                   enumerateInstances,
                                   getInstance,
                                   createInstance,
                                   modifyInstance,
                                   deleteInstance,
                                   execQuery};
  static CMPIInstanceMI record = {nullptr, &table};
  theBroker = broker;
  const char* fromEnvironment = std::getenv("ORV_HARDWARE_FILE");
  fileName() = fileFromRegistration(context);
  if (fileName().empty() && fromEnvironment != nullptr) fileName() = fromEnvironment;
  return &record;
}
