#include "tests/hardware_provider/element_file.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace {

Hardware read(const std::string& text) {
  std::istringstream in(text);
  return readHardware(in);
}

TEST(ElementFile, AnElementHasClassStateAndProperties) {
  const Hardware hardware = read("CIM_Sensor 20 DeviceID=fan-1 ElementName=\"Fan 1\" Number#=7\n");
  ASSERT_EQ(hardware.elements.size(), 1u);
  const HardwareElement& element = hardware.elements[0];
  EXPECT_EQ(element.className, "CIM_Sensor");
  EXPECT_EQ(element.healthState, 20);
  ASSERT_EQ(element.properties.size(), 3u);
  EXPECT_EQ(element.properties[0].name, "DeviceID");
  EXPECT_EQ(element.properties[0].value, "fan-1");
  EXPECT_EQ(element.properties[1].value, "Fan 1");
  EXPECT_FALSE(element.properties[1].isNumber);
  EXPECT_EQ(element.properties[2].name, "Number");
  EXPECT_TRUE(element.properties[2].isNumber);
}

TEST(ElementFile, ADashMeansNoState) {
  EXPECT_FALSE(read("CIM_Sensor - DeviceID=x").elements.at(0).healthState.has_value());
}

TEST(ElementFile, AClassMayFail) {
  const Hardware hardware = read("Orvane_Battery fails 7 does not answer\n");
  ASSERT_EQ(hardware.failures.size(), 1u);
  EXPECT_EQ(hardware.failures[0].className, "Orvane_Battery");
  EXPECT_EQ(hardware.failures[0].status, 7);
  EXPECT_EQ(hardware.failures[0].message, "does not answer");
}

TEST(ElementFile, CommentsAndBlankLinesMeanNothing) {
  const Hardware hardware = read("# CIM_Sensor 5 DeviceID=a\n\n   \nCIM_Sensor 5\n");
  EXPECT_EQ(hardware.elements.size(), 1u);
}

TEST(ElementFile, ALineOfAnotherFormIsRefusedWithItsNumber) {
  for (const char* line : {"CIM_Sensor", "CIM_Sensor bad", "CIM_Sensor 70000", "CIM_Sensor 5 name",
                           "CIM_Sensor 5 a=\"b", "CIM_Sensor 5 a#=b", "CIM_Sensor fails"}) {
    try {
      read(std::string("\n") + line);
      ADD_FAILURE() << line;
    } catch (const std::runtime_error& error) {
      EXPECT_EQ(std::string(error.what()).rfind("line 2: ", 0), 0u) << error.what();
    }
  }
}

}  // namespace
