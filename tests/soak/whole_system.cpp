#include "tests/soak/whole_system.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "broker/mof_reader.h"
#include "broker/registration.h"
#include "tests/health/health_fixture.h"
#include "tests/serve/test_alerts.h"

#define ORV_FACTORIES(apply)                                                                      \
  apply(CMPIInstanceMI, EthernetPortProvider_Create_InstanceMI)                                   \
      apply(CMPIAssociationMI, EthernetPortProvider_Create_AssociationMI)                         \
          apply(CMPIInstanceMI, KernelIPProtocolEndpointProvider_Create_InstanceMI) apply(        \
              CMPIIndicationMI, Orvane_CIMHeartbeat_Create_IndicationMI)                          \
              apply(CMPIInstanceMI, Orvane_LatchedHealthState_Create_InstanceMI) apply(           \
                  CMPIAssociationMI, Orvane_LatchedHealthAssociation_Create_AssociationMI)        \
                  apply(CMPIIndicationMI, Orvane_KernelIPChangedIndication_Create_IndicationMI)   \
                      apply(CMPIInstanceMI, HypervisorSoftwareIdentity_Create_InstanceMI)         \
                          apply(CMPIInstanceMI, OrvaneProcessorProvider_Create_InstanceMI) apply( \
                              CMPIInstanceMI, OrvaneInstalledSoftwareIdentity_Create_InstanceMI)  \
                              apply(CMPIAssociationMI,                                            \
                                    OrvaneInstalledSoftwareIdentity_Create_AssociationMI)

#define ORV_DECLARE(type, name) type* name(const CMPIBroker*, const CMPIContext*, CMPIStatus*);
#define ORV_CALL(type, name) name(scope.broker(), scope.context(), &status);
#define ORV_ENTER(type, name) {#name, reinterpret_cast<void*>(name)},

extern "C" {
ORV_FACTORIES(ORV_DECLARE)
}

namespace orv::test {
namespace {

namespace fs = std::filesystem;

const std::string kSchema = std::string(ORV_SOURCE_DIR) + "/schema";

std::shared_ptr<const broker::ClassRepository> classesOf(const std::string& directory,
                                                         bool withTestClasses) {
  auto classes = std::make_shared<broker::ClassRepository>();
  broker::MofReader reader(*classes);
  reader.readDirectory(directory);
  if (withTestClasses) {
    reader.readText(kAlertMof, "alert.mof");
    reader.readFile(ORV_SOURCE_DIR "/tests/hardware_provider/hardware.mof");
  }
  return classes;
}

broker::Broker::Options everything() {
  broker::Broker::Options options;
  options.namespaces["root/cimv2"] = classesOf(kSchema, true);
  options.namespaces["root/interop"] = classesOf(kSchema + "/interop", false);
  options.registration = broker::readRegistrationFile(kSchema + "/orvprovider.reg");
  options.linkedFactories = {ORV_FACTORIES(ORV_ENTER)};
  addScriptedHardware(options);
  addAlerts(options);
  return options;
}

}  // namespace

WholeSystem::WholeSystem() {
  broker::Broker::Options options = everything();
  const auto namespaces = options.namespaces;
  broker_ = std::make_unique<broker::TestBroker>(std::move(options));
  serve::Endpoint::Settings settings;
  settings.host = "serving-host";
  endpoint_ = std::make_unique<serve::Endpoint>(*broker_, namespaces, settings);
  serve::ListenSocket socket(serve::ListenAddress{"127.0.0.1", 0});
  port_ = socket.port();
  endpoint_->start(std::move(socket));
}

WholeSystem::~WholeSystem() { stop(); }

void WholeSystem::stop() {
  if (!endpoint_) return;
  endpoint_.reset();
  endThreads();
  broker_->shutdown();
}

void WholeSystem::callFactories() {
  const broker::RequestScope scope(*broker_);
  CMPIStatus status{CMPI_RC_OK, nullptr};
  ORV_FACTORIES(ORV_CALL)
}

// By their owners: the broker's own walk asks one provider of each kind for the whole library.
void WholeSystem::endThreads() {
  const broker::RequestScope scope(*broker_);
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CMPIIndicationMI* beats =
      Orvane_CIMHeartbeat_Create_IndicationMI(scope.broker(), scope.context(), &status);
  beats->ft->cleanup(beats, scope.context(), 1);
  CMPIInstanceMI* health =
      Orvane_LatchedHealthState_Create_InstanceMI(scope.broker(), scope.context(), &status);
  health->ft->cleanup(health, scope.context(), 1);
}

void Actors::add(std::function<void(unsigned number)> act) {
  threads_.emplace_back([this, act = std::move(act)] {
    for (unsigned number = 0; !ending_; ++number) act(number);
  });
}

void Actors::end() {
  ending_ = true;
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
}

ChangingHost::ChangingHost() {
  std::string pattern = (fs::temp_directory_path() / "orv-soak-XXXXXX").string();
  directory_ = ::mkdtemp(pattern.data());
  setPorts(1);
  ::setenv("ORV_HOST_FILE", (directory_ + "/host.json").c_str(), 1);
}

ChangingHost::~ChangingHost() {
  ::unsetenv("ORV_HOST_FILE");
  fs::remove_all(directory_);
}

void ChangingHost::setPorts(unsigned count) const {
  {
    std::ofstream out(directory_ + "/next.json");
    out << R"({"systemName": "host-7", "processors": {"packages": [{"cores": [{}, {}]}]}, "ports": [)";
    for (unsigned i = 0; i < count; ++i) {
      out << (i == 0 ? "" : ", ") << "{\"name\": \"nic" << i << "\", \"mtu\": " << 1500 + count
          << "}";
    }
    out << R"(], "interfaces": [{"name": "hk0", "ipv4": {"address": "10.0.0.7"}}]})";
  }
  fs::rename(directory_ + "/next.json", directory_ + "/host.json");
}

namespace {

std::string addressIn(const broker::Instance& indication, const char* property) {
  const broker::Value* endpoint = indication.property(property);
  if (endpoint == nullptr || endpoint->null) return "";
  const broker::Value* address = endpoint->instance().property("IPv4Address");
  return address == nullptr || address->null ? "" : address->text();
}

}  // namespace

void AddressWatch::take(const broker::Instance& indication) {
  const std::string before = addressIn(indication, "PreviousInstance");
  const std::string now = addressIn(indication, "SourceInstance");
  const std::lock_guard<std::mutex> lock(mutex_);
  const bool follows = last_.empty() || before == last_;
  if (failure_.empty() && (!follows || now.empty())) {
    failure_ = "from \"" + before + "\" to \"" + now + "\" after \"" + last_ + "\"";
  }
  last_ = now;
  changed_.notify_all();
}

std::string AddressWatch::failure() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return failure_;
}

bool AddressWatch::sees(const std::string& address) {
  std::unique_lock<std::mutex> lock(mutex_);
  return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return last_ == address; });
}

}  // namespace orv::test
