#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/library/registered_sections.h"
#include "tests/support/host_with_ports.h"
#include "tests/support/library_fixture.h"
#include "tests/support/provider_scope.h"

// The Ethernet ports through the whole library, asked as a client of the object manager asks.
namespace orv::test {
namespace {

using broker::AssociationFilter;
using broker::Instance;
using broker::ObjectPath;
using Response = broker::TestResponse;
using broker::Value;
using testing::ElementsAre;
using testing::IsEmpty;

/// The sections of our provider, port aside, that are associations, or that are not.
std::vector<std::string> classesOfPorts(bool associations) {
  std::vector<std::string> classes;
  for (const auto& section : registeredSections()) {
    if (section.provider != "EthernetPortProvider" || section.className == "Orvane_EthernetPort") {
      continue;
    }
    if (section.association == associations) classes.push_back(section.className);
  }
  return classes;
}

// In the order in which a port's satellites are told, which is that of their associations.
const std::vector<std::string> kSatellites = classesOfPorts(false);
const std::vector<std::string> kAssociations = classesOfPorts(true);

std::vector<std::string> allClasses() {
  std::vector<std::string> classes = {"Orvane_EthernetPort"};
  classes.insert(classes.end(), kSatellites.begin(), kSatellites.end());
  classes.insert(classes.end(), kAssociations.begin(), kAssociations.end());
  return classes;
}

class EthernetLibrary : public testing::Test {
 protected:
  ObjectPath portPath(const std::string& name) {
    for (const ObjectPath& path :
         library_->enumerateInstanceNames("root/cimv2", "Orvane_EthernetPort").paths) {
      if (path.key("DeviceID")->text() == name) return path;
    }
    throw std::runtime_error("no port " + name);
  }
  static std::vector<std::string> classNames(const Response& response) {
    std::vector<std::string> names;
    for (const Instance& instance : response.instances) names.push_back(instance.path.className);
    for (const ObjectPath& path : response.paths) names.push_back(path.className);
    return names;
  }
  static AssociationFilter through(const std::string& assocClass) {
    AssociationFilter filter;
    filter.assocClass = assocClass;
    return filter;
  }

  SimulatedHostFile host_{exampleHost()};
  LoadedLibrary library_{ORV_SIMULATED_LIBRARY};
};

TEST_F(EthernetLibrary, NothingThatTheObjectManagerWouldChokeOn) {
  for (const std::string& name : allClasses()) {
    EXPECT_THAT(library_->enumerateInstanceNames("root/cimv2", name).reports, IsEmpty()) << name;
    EXPECT_THAT(library_->enumerateInstances("root/cimv2", name).reports, IsEmpty()) << name;
  }
  for (const std::string& name : allClasses()) {
    for (const ObjectPath& path : library_->enumerateInstanceNames("root/cimv2", name).paths) {
      EXPECT_THAT(library_->getInstance(path).reports, IsEmpty()) << path;
      EXPECT_THAT(library_->associators(path).reports, IsEmpty()) << path;
      EXPECT_THAT(library_->associatorNames(path).reports, IsEmpty()) << path;
      EXPECT_THAT(library_->references(path).reports, IsEmpty()) << path;
      EXPECT_THAT(library_->referenceNames(path).reports, IsEmpty()) << path;
    }
  }
}

TEST_F(EthernetLibrary, EveryNameLeadsToItsInstance) {
  for (const std::string& name : allClasses()) {
    const auto paths = library_->enumerateInstanceNames("root/cimv2", name).paths;
    const auto instances = library_->enumerateInstances("root/cimv2", name).instances;
    ASSERT_EQ(paths.size(), 2u) << name;
    ASSERT_EQ(instances.size(), 2u) << name;
    for (std::size_t i = 0; i < 2; ++i) {
      EXPECT_EQ(instances[i].path, paths[i]) << name;
      const Response one = library_->getInstance(paths[i]);
      ASSERT_EQ(one.instances.size(), 1u) << paths[i];
      EXPECT_EQ(one.instances[0], instances[i]);
    }
  }
}

TEST_F(EthernetLibrary, PortLeadsToItsSatellitesAndEachOfThemBack) {
  const ObjectPath port = portPath("nic0");
  for (std::size_t i = 0; i < kSatellites.size(); ++i) {
    const Response there = library_->associators(port, through(kAssociations[i]));
    ASSERT_EQ(there.rc, CMPI_RC_OK);
    ASSERT_THAT(classNames(there), ElementsAre(kSatellites[i]));
    EXPECT_EQ(there.doneCount, 1);
    EXPECT_EQ(there.instances[0],
              library_->enumerateInstances("root/cimv2", kSatellites[i]).instances.at(0));

    const Response back = library_->associators(there.instances[0].path, through(kAssociations[i]));
    ASSERT_THAT(classNames(back), ElementsAre("Orvane_EthernetPort"));
    EXPECT_EQ(back.instances[0].path, port);
    EXPECT_NE(back.instances[0].property("Speed"), nullptr);
  }
}

TEST_F(EthernetLibrary, WithoutAFilterAPortLeadsToAllItsSatellites) {
  const ObjectPath port = portPath("nic0");
  EXPECT_EQ(classNames(library_->associators(port)), kSatellites);
  EXPECT_EQ(classNames(library_->associatorNames(port)), kSatellites);
  EXPECT_EQ(classNames(library_->references(port)), kAssociations);
  EXPECT_EQ(classNames(library_->referenceNames(port)), kAssociations);
}

TEST_F(EthernetLibrary, ReferenceNamesCarryBothReferences) {
  const ObjectPath port = portPath("nic0");
  EXPECT_THAT(
      library_
          ->referenceNames(port,
                           [] {
                             AssociationFilter filter;
                             filter.resultClass = "Orvane_EPStatistics";
                             return filter;
                           }())
          .paths,
      ElementsAre(
          library_->enumerateInstanceNames("root/cimv2", "Orvane_EPStatistics").paths.at(0)));
}

TEST_F(EthernetLibrary, PortThatIsGoneStillHasReferencesButNoAssociators) {
  const ObjectPath port = portPath("nic0");
  host_.write(R"({"systemName": "host-7", "ports": [{"name": "nic1"}]})");
  EXPECT_EQ(classNames(library_->references(port)), kAssociations);
  EXPECT_EQ(classNames(library_->associatorNames(port)), kSatellites);
  const Response associators = library_->associators(port);
  EXPECT_EQ(associators.rc, CMPI_RC_OK);
  EXPECT_THAT(associators.instances, IsEmpty());
  EXPECT_EQ(associators.doneCount, 1);
}

TEST_F(EthernetLibrary, PropertyListCutsAssociators) {
  const Response response = library_->associators(portPath("nic0"), through("Orvane_EPStatistics"),
                                                  std::vector<std::string>{"bytesRx"});
  ASSERT_EQ(response.instances.size(), 1u);
  EXPECT_NE(response.instances[0].property("bytesRx"), nullptr);
  EXPECT_EQ(response.instances[0].property("packetsTx"), nullptr);
}

TEST_F(EthernetLibrary, FiltersOfAnyCaseAndEmptyOnesAreServedAlike) {
  AssociationFilter filter;
  filter.assocClass = "ORVANE_EPSTATISTICS";
  filter.resultClass = "cim_statisticalinformation";
  filter.role = "element";
  filter.resultRole = "STATS";
  EXPECT_THAT(classNames(library_->associatorNames(portPath("nic0"), filter)),
              ElementsAre("Orvane_EPStatisticalInformation"));
  AssociationFilter empty;
  empty.resultClass = empty.role = empty.resultRole = "";
  EXPECT_EQ(classNames(library_->associatorNames(portPath("nic0"), empty)), kSatellites);
}

TEST_F(EthernetLibrary, HostLibrarysExceptionIsAStatusForTheClient) {
  host_.write(R"({"ports": {"throw": "nodemgr"}})");
  const Response failed = library_->enumerateInstances("root/cimv2", "Orvane_EthernetPort");
  EXPECT_EQ(failed.rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(failed.message, "Failed to get pnics information");
  EXPECT_EQ(failed.doneCount, 0);
}

TEST_F(EthernetLibrary, ForeignExceptionBecomesStatusOneWithItsText) {
  host_.write(R"({"ports": {"throw": "other"}})");
  for (const Response& response :
       {library_->enumerateInstances("root/cimv2", "Orvane_EthernetPort"),
        library_->enumerateInstanceNames("root/cimv2", "Orvane_EPStatistics")}) {
    EXPECT_EQ(response.rc, CMPI_RC_ERR_FAILED);
    EXPECT_TRUE(response.message.has_value());
    EXPECT_NE(response.message, "Failed to get pnics information");
  }
}

TEST_F(EthernetLibrary, FailureInTheMiddleLeavesWhatWasReturned) {
  host_.write(
      R"({"ports": [{"name": "nic0"}, {"name": "nic1", "faults": {"GetMtu": "nodemgr"}}]})");
  const Response response = library_->enumerateInstances("root/cimv2", "Orvane_EthernetPort");
  EXPECT_EQ(response.rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(response.discarded.instances.size(), 1u);
  EXPECT_EQ(response.doneCount, 0);
}

TEST_F(EthernetLibrary, MissingHostFileIsAHostThatFails) {
  host_.remove();
  const Response response = library_->enumerateInstances("root/cimv2", "Orvane_EthernetPort");
  EXPECT_EQ(response.rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(response.message, "Failed to get pnics information");
}

TEST_F(EthernetLibrary, HostWithoutPortsIsEmptyAndDone) {
  host_.write("{}");
  for (const std::string& name : allClasses()) {
    const Response response = library_->enumerateInstances("root/cimv2", name);
    EXPECT_EQ(response.rc, CMPI_RC_OK) << name;
    EXPECT_EQ(response.doneCount, 1) << name;
    EXPECT_THAT(response.instances, IsEmpty()) << name;
  }
}

TEST_F(EthernetLibrary, LargeCountersReachTheClientWhole) {
  const Response response =
      library_->enumerateInstances("root/cimv2", "Orvane_EPStatisticalInformation");
  EXPECT_EQ(*response.instances.at(0).property("packetsTx"),
            Value::ofUnsigned(CMPI_uint64, 6442450944));
}

TEST_F(EthernetLibrary, AThousandPortsAreAllServed) {
  host_.write(makeHostWithPorts(1024));
  for (const std::string& name : allClasses()) {
    EXPECT_EQ(library_->enumerateInstances("root/cimv2", name).instances.size(), 1024u) << name;
  }
}

TEST_F(EthernetLibrary, RequestsMayRunAtOnce) {
  std::vector<std::thread> clients;
  for (const std::string& name : allClasses()) {
    clients.emplace_back([&, name] {
      for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(library_->enumerateInstances("root/cimv2", name).instances.size(), 2u);
      }
    });
  }
  for (std::thread& client : clients) client.join();
}

TEST_F(EthernetLibrary, RequestsLeaveNoBrokerObjectsBehind) {
  library_->associators(portPath("nic0"));
  const std::size_t before = broker::TestBroker::liveObjects();
  for (int i = 0; i < 20; ++i) {
    library_->associators(portPath("nic0"));
    library_->enumerateInstances("root/cimv2", "Orvane_EPStatistics");
  }
  EXPECT_EQ(broker::TestBroker::liveObjects(), before);
}

TEST_F(EthernetLibrary, CreatingChangingAndDeletingAreNotSupported) {
  const Instance port = library_->getInstance(portPath("nic0")).instances.at(0);
  for (const auto operation :
       {broker::Operation::kCreateInstance, broker::Operation::kModifyInstance,
        broker::Operation::kDeleteInstance}) {
    broker::Request request;
    request.operation = operation;
    request.path = port.path;
    request.instance = port;
    const Response response = library_->request(request);
    EXPECT_EQ(response.rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(response.message, std::nullopt);
  }
}

/// On the real host, whatever ports it has.
TEST(RealHost, EachPortLeadsToItsSatellitesAndBack) {
  LoadedLibrary library(ORV_REAL_LIBRARY);
  const Response ports = library->enumerateInstanceNames("root/cimv2", "Orvane_EthernetPort");
  ASSERT_EQ(ports.rc, CMPI_RC_OK);
  if (ports.paths.empty()) GTEST_SKIP() << "this machine has no Ethernet port backed by a device";
  for (const ObjectPath& port : ports.paths) {
    const Response there = library->associators(port);
    ASSERT_EQ(there.rc, CMPI_RC_OK);
    ASSERT_EQ(there.instances.size(), kSatellites.size()) << port;
    for (const Instance& satellite : there.instances) {
      const Response back = library->associatorNames(satellite.path);
      EXPECT_THAT(back.paths, ElementsAre(port)) << satellite.path;
    }
  }
}

std::uint64_t packetsSentBy(LoadedLibrary& library, const std::string& port) {
  const std::string id = "Orvane:Orvane_EPStatisticalInformation:" + port;
  const Response response =
      library->getInstance(objectPath("Orvane_EPStatisticalInformation", {{"InstanceID", id}}));
  return response.instances.at(0).property("packetsTx")->number();
}

/// One packet to the discard port of whoever is on the wire; false when this machine does not let
/// us.
bool broadcastThrough(const std::string& port) {
  const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const int on = 1;
  sockaddr_in everyone{};
  everyone.sin_family = AF_INET;
  everyone.sin_port = htons(9);
  everyone.sin_addr.s_addr = INADDR_BROADCAST;
  const bool sent = setsockopt(socket, SOL_SOCKET, SO_BROADCAST, &on, sizeof(on)) == 0 &&
                    setsockopt(socket, SOL_SOCKET, SO_BINDTODEVICE, port.c_str(),
                               static_cast<socklen_t>(port.size())) == 0 &&
                    sendto(socket, "orv", 3, 0, reinterpret_cast<const sockaddr*>(&everyone),
                           sizeof(everyone)) == 3;
  ::close(socket);
  return sent;
}

TEST(RealHost, StatisticsMoveWithTraffic) {
  LoadedLibrary library(ORV_REAL_LIBRARY);
  int moved = 0;
  for (const Instance& port :
       library->enumerateInstances("root/cimv2", "Orvane_EthernetPort").instances) {
    const Value* state = port.property("EnabledState");
    if (state == nullptr || state->null || state->number() != 2) continue;
    const std::string name = port.property("DeviceID")->text();
    const std::uint64_t before = packetsSentBy(library, name);
    if (!broadcastThrough(name)) continue;
    // Some drivers report what they have sent a moment later.
    for (int i = 0; i < 50 && packetsSentBy(library, name) == before; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    EXPECT_GT(packetsSentBy(library, name), before) << name;
    ++moved;
  }
  if (moved == 0) GTEST_SKIP() << "no port of this machine is up and lets us send";
}

}  // namespace
}  // namespace orv::test
