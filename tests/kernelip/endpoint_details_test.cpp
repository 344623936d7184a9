#include "kernelip/endpoint_details.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "platform/system_info.h"
#include "tests/kernelip/fake_kernel.h"

namespace {

using ORV::collectEndpointDetails;
using orv::test::fakeKernel;
using orv::test::KernelInterface;
using testing::ElementsAre;
using testing::IsEmpty;

KernelInterface interfaceWith(const std::string& name, std::optional<std::string> ipv4,
                              std::vector<orv::test::KernelAddress6> ipv6 = {}) {
  KernelInterface interface;
  interface.name = name;
  interface.ipv4 = std::move(ipv4);
  interface.ipv6 = std::move(ipv6);
  return interface;
}

class EndpointDetailsTest : public testing::Test {
 protected:
  EndpointDetailsTest() { fakeKernel() = {}; }
  ~EndpointDetailsTest() override { EXPECT_EQ(0, fakeKernel().liveLists); }

  /// "name address/mask or prefix" for each record; fills `code_`.
  std::vector<std::string> records() {
    std::vector<endpointDetails> details;
    code_ = collectEndpointDetails(details);
    std::vector<std::string> texts;
    for (const endpointDetails& record : details) texts.push_back(textOf(record));
    return texts;
  }

  int code_ = -1;

 private:
  static std::string quad(in_addr address) {
    char text[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, &address, text, sizeof text);
  }
  static std::string textOf(const endpointDetails& record) {
    if (record.protocolType == 4096) {
      return std::string(record.name) + " " + quad(record.ipv4Address) + "/" +
             quad(record.subnetMask);
    }
    EXPECT_EQ(4097U, record.protocolType);
    return std::string(record.name) + " " + record.ipv6Address + "/" +
           std::to_string(record.prefixLength);
  }
};

TEST(EndpointRecord, IsPlainAndInOrder) {
  EXPECT_TRUE(std::is_trivially_copyable_v<endpointDetails>);
  EXPECT_EQ(152U, sizeof(endpointDetails::name));
  EXPECT_EQ(52U, sizeof(endpointDetails::ipv6Address));
  EXPECT_EQ(0U, offsetof(endpointDetails, name));
  EXPECT_EQ(152U, offsetof(endpointDetails, ipv4Address));
  EXPECT_EQ(156U, offsetof(endpointDetails, subnetMask));
  EXPECT_EQ(160U, offsetof(endpointDetails, ipv6Address));
  EXPECT_EQ(212U, offsetof(endpointDetails, prefixLength));
  EXPECT_EQ(216U, offsetof(endpointDetails, protocolType));
}

TEST_F(EndpointDetailsTest, ComeInterfaceByInterfaceIpv4First) {
  fakeKernel().interfaces = {
      interfaceWith("hk1", "192.0.2.1", {{"b", "2001:db8::b", 64}, {"a", "2001:db8::a", 48}}),
      interfaceWith("hk0", "192.0.2.9")};
  EXPECT_THAT(records(), ElementsAre("hk1 192.0.2.1/255.255.255.0", "hk1 2001:db8::b/64",
                                     "hk1 2001:db8::a/48", "hk0 192.0.2.9/255.255.255.0"));
  EXPECT_EQ(0, code_);
  EXPECT_THAT(fakeKernel().signatures, ElementsAre(21));
}

TEST_F(EndpointDetailsTest, AreAppended) {
  fakeKernel().interfaces = {interfaceWith("hk0", "192.0.2.1")};
  std::vector<endpointDetails> details(2);
  EXPECT_EQ(0, collectEndpointDetails(details));
  EXPECT_EQ(3U, details.size());
}

TEST_F(EndpointDetailsTest, OfAHostWithoutInterfacesAreNone) {
  EXPECT_THAT(records(), IsEmpty());
  EXPECT_EQ(0, code_);
}

TEST_F(EndpointDetailsTest, FailWithoutTheSignature) {
  fakeKernel().interfaces = {interfaceWith("hk0", "192.0.2.1")};
  fakeKernel().signatureOk = false;
  EXPECT_THAT(records(), IsEmpty());
  EXPECT_EQ(1, code_);
}

TEST_F(EndpointDetailsTest, FailWithoutTheListOfInterfaces) {
  fakeKernel().interfacesListed = false;
  EXPECT_THAT(records(), IsEmpty());
  EXPECT_EQ(1, code_);
}

TEST_F(EndpointDetailsTest, FailWithoutAParameterListEvenWithoutInterfaces) {
  fakeKernel().parameterListCreated = false;
  EXPECT_THAT(records(), IsEmpty());
  EXPECT_EQ(1, code_);
}

TEST_F(EndpointDetailsTest, OfAnInterfaceWithoutIpv4AreItsIpv6AddressesOnly) {
  fakeKernel().interfaces = {interfaceWith("hk0", std::nullopt, {{"a", "2001:db8::a", 64}}),
                             interfaceWith("hk1", std::nullopt)};
  EXPECT_THAT(records(), ElementsAre("hk0 2001:db8::a/64"));
  EXPECT_EQ(0, code_);
}

TEST_F(EndpointDetailsTest, FailWhenAnIpv4AddressHasNoNetmask) {
  fakeKernel().interfaces = {interfaceWith("hk0", "192.0.2.1"), interfaceWith("hk1", "192.0.2.2"),
                             interfaceWith("hk2", "192.0.2.3")};
  fakeKernel().interfaces[1].netmask.reset();
  EXPECT_THAT(records(), ElementsAre("hk0 192.0.2.1/255.255.255.0"));
  EXPECT_EQ(1, code_);
}

TEST_F(EndpointDetailsTest, OfAnInterfaceWhoseIpv6AddressesCannotBeListedAreItsIpv4Alone) {
  fakeKernel().interfaces = {interfaceWith("hk0", "192.0.2.1", {{"a", "2001:db8::a", 64}})};
  fakeKernel().interfaces[0].ipv6Listed = false;
  EXPECT_THAT(records(), ElementsAre("hk0 192.0.2.1/255.255.255.0"));
  EXPECT_EQ(0, code_);
}

TEST_F(EndpointDetailsTest, FailWhenAListedIpv6AddressCannotBeRead) {
  fakeKernel().interfaces = {
      interfaceWith("hk0", std::nullopt, {{"a", "2001:db8::a", 64}, {"b", "2001:db8::b", 64}}),
      interfaceWith("hk1", "192.0.2.1")};
  fakeKernel().failedAddresses = {{"hk0", "b"}};
  EXPECT_THAT(records(), ElementsAre("hk0 2001:db8::a/64"));
  EXPECT_EQ(1, code_);
}

TEST_F(EndpointDetailsTest, LeaveOutAnInterfaceWithoutAName) {
  fakeKernel().interfaces = {interfaceWith("hk0", "192.0.2.1"), interfaceWith("hk1", "192.0.2.2")};
  fakeKernel().interfaces[0].hasNumberForName = true;
  EXPECT_THAT(records(), ElementsAre("hk1 192.0.2.2/255.255.255.0"));
  EXPECT_EQ(0, code_);
}

TEST_F(EndpointDetailsTest, FailWhenTheLastInterfaceHasNoName) {
  fakeKernel().interfaces = {interfaceWith("hk0", "192.0.2.1"), interfaceWith("hk1", "192.0.2.2")};
  fakeKernel().interfaces[1].hasNumberForName = true;
  EXPECT_THAT(records(), ElementsAre("hk0 192.0.2.1/255.255.255.0"));
  EXPECT_EQ(1, code_);
}

TEST_F(EndpointDetailsTest, CutNamesTo150Characters) {
  const std::string longName(200, 'n');
  fakeKernel().interfaces = {interfaceWith(longName, "192.0.2.1", {{"a", "2001:db8::a", 64}})};
  std::vector<endpointDetails> details;
  EXPECT_EQ(0, collectEndpointDetails(details));
  ASSERT_EQ(2U, details.size());
  EXPECT_EQ(std::string(150, 'n'), details[0].name);
  EXPECT_EQ(std::string(150, 'n'), details[1].name);
}

TEST_F(EndpointDetailsTest, CutIpv6TextsTo48Characters) {
  fakeKernel().interfaces = {
      interfaceWith("hk0", std::nullopt, {{"a", std::string(60, 'f'), 0x01020304}})};
  EXPECT_THAT(records(), ElementsAre("hk0 " + std::string(48, 'f') + "/16909060"));
}

TEST(EndpointName, IsComparedInItsFirst150Characters) {
  endpointDetails record{};
  std::fill_n(record.name, 150, 'n');
  EXPECT_TRUE(ORV::hasName(record, std::string(150, 'n').c_str()));
  EXPECT_TRUE(ORV::hasName(record, (std::string(150, 'n') + "more").c_str()));
  EXPECT_FALSE(ORV::hasName(record, std::string(149, 'n').c_str()));
  record = {};
  record.name[0] = 'n';
  EXPECT_TRUE(ORV::hasName(record, "n"));
  EXPECT_FALSE(ORV::hasName(record, "nn"));
  EXPECT_FALSE(ORV::hasName(record, "N"));
  EXPECT_FALSE(ORV::hasName(record, ""));
}

}  // namespace
