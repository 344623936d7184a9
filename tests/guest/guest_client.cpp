// A client that runs in a guest and asks the library of the build tree:
//
//   guest_client instances CLASS...    what each class answers, as one JSON object
//   guest_client storm SECONDS         four clients ask for the ports for so long; a report as JSON

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "notation/json.h"
#include "tests/support/real_library.h"

namespace {

using orv::broker::Broker;
using orv::broker::Instance;
using orv::broker::Response;
using orv::notation::Json;

constexpr char kNameSpace[] = "root/cimv2";
constexpr int kClients = 4;

// Each class of the ports, with the property that is set last.
const std::map<std::string, std::string> kPortClasses = {
    {"Orvane_EthernetPort", "WOLOptions"},
    {"Orvane_EPDriverSoftwareIdentity", "VersionString"},
    {"Orvane_EPFirmwareSoftwareIdentity", "VersionString"},
    {"Orvane_EPStatisticalInformation", "TxWindowErrors"},
    {"Orvane_EPCoalesceSettingData", "txFrameHigh"},
    {"Orvane_EPDriverElementSoftwareIdentity", "Antecedent"},
    {"Orvane_EPFirmwareElementSoftwareIdentity", "Antecedent"},
    {"Orvane_EPStatistics", "Stats"},
    {"Orvane_EPCoalesceElementSettingData", "SettingData"},
};

const std::set<std::string> kKeys = {"SystemCreationClassName", "SystemName", "CreationClassName",
                                     "DeviceID", "InstanceID"};

Json answersOf(Broker& broker, char** classes) {
  Json answers = Json::object();
  for (; *classes != nullptr; ++classes) {
    const Response response = broker.enumerateInstances(kNameSpace, *classes);
    if (!response.ok()) {
      std::cerr << *classes << ": " << orv::broker::statusName(response.rc) << " "
                << response.message.value_or("") << "\n";
      std::exit(1);
    }
    const auto schema = orv::test::realLibrary().namespaces.at(kNameSpace);
    Json& instances = answers[*classes] = Json::array();
    for (const Instance& instance : response.instances) {
      instances.push_back(orv::notation::toJson(instance, *schema, false));
    }
  }
  return answers;
}

/// What the clients saw.
class Report {
 public:
  void count(bool whole) { ++(whole ? whole_ : keysOnly_); }
  void request() { ++requests_; }
  unsigned requests() const { return requests_; }
  void wrong(const std::string& what) {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++wrong_[what];
  }
  Json json() const {
    return {{"requests", requests_.load()},
            {"whole", whole_.load()},
            {"keysOnly", keysOnly_.load()},
            {"wrong", wrong_}};
  }

 private:
  std::atomic<unsigned> requests_{0};
  std::atomic<unsigned> whole_{0};
  std::atomic<unsigned> keysOnly_{0};
  std::mutex mutex_;  // guards wrong_
  std::map<std::string, unsigned> wrong_;
};

bool isSet(const Instance& instance, const std::string& name) {
  const auto* value = instance.property(name);
  return value != nullptr && !value->null;
}

/// A port that goes away while it is asked has its keys only; all others are whole.
void look(const Instance& instance, Report& report) {
  const std::string& last = kPortClasses.at(instance.path.className);
  const bool whole = isSet(instance, last);
  const bool keysOnly = std::all_of(
      instance.properties.begin(), instance.properties.end(),
      [](const auto& property) { return property.value.null || kKeys.count(property.name) != 0; });
  if (!whole && !keysOnly) report.wrong("half an instance: " + instance.toText());
  report.count(whole);
}

/// The requests of one round: each class as a whole, then each object by its path.
void ask(Broker& broker, Report& report) {
  const auto request = [&](orv::broker::Operation operation, const orv::broker::ObjectPath& path) {
    orv::broker::Request wanted;
    wanted.operation = operation;
    wanted.path = path;
    Response response = broker.request(wanted);
    report.request();
    // What an enumeration has listed may be gone by now.
    const bool gone =
        operation == orv::broker::Operation::kGetInstance && response.rc == CMPI_RC_ERR_NOT_FOUND;
    if (!response.ok() && !gone) {
      report.wrong(path.className + ": " + orv::broker::statusName(response.rc) + " " +
                   response.message.value_or(""));
    }
    for (const Instance& instance : response.instances) look(instance, report);
    return response;
  };
  for (const auto& [className, last] : kPortClasses) {
    orv::broker::ObjectPath all;
    all.nameSpace = kNameSpace;
    all.className = className;
    for (const Instance& instance :
         request(orv::broker::Operation::kEnumerateInstances, all).instances) {
      request(orv::broker::Operation::kGetInstance, instance.path);
      if (className == "Orvane_EthernetPort") {
        request(orv::broker::Operation::kReferences, instance.path);
        request(orv::broker::Operation::kAssociators, instance.path);
      }
    }
  }
}

/// What the process has allocated and used. Pages of programs and libraries do not count: they come
/// as each is first needed.
std::size_t residentKilobytes() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    std::size_t kilobytes = 0;
    if (word == "RssAnon:" && status >> kilobytes) return kilobytes;
  }
  return 0;
}

Json storm(Broker& broker, std::chrono::seconds length) {
  constexpr unsigned kWarmUp = 3000;  // requests until the allocator's memory no longer grows
  Report report;
  std::atomic<bool> over{false};
  std::vector<std::thread> clients;
  for (int number = 0; number < kClients; ++number) {
    clients.emplace_back([&] {
      while (!over) ask(broker, report);
    });
  }
  std::this_thread::sleep_for(length / 2);
  while (report.requests() < kWarmUp) std::this_thread::sleep_for(std::chrono::milliseconds(100));
  const std::size_t before = residentKilobytes();
  std::this_thread::sleep_for(length / 2);
  over = true;
  for (std::thread& client : clients) client.join();
  Json json = report.json();
  json["residentBefore"] = before;
  json["residentAfter"] = residentKilobytes();
  return json;
}

}  // namespace

int main(int count, char** arguments) {
  const std::string command = count > 2 ? arguments[1] : "";
  if (command != "instances" && command != "storm") {
    std::cerr << "usage: guest_client instances CLASS... | storm SECONDS\n";
    return 2;
  }
  Broker broker(orv::test::realLibrary());
  const Json answer = command == "instances"
                          ? answersOf(broker, arguments + 2)
                          : storm(broker, std::chrono::seconds(std::atoi(arguments[2])));
  std::cout << orv::notation::jsonText(answer, 1) << "\n";
  return 0;
}
