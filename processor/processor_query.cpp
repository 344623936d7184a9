#include "processor/processor_query.h"

#include "framework/kernel_queries.h"

namespace OrvProcessor {

namespace {

using ORV::ParamList;

/// What the kernel says about the whole host.
struct HostFacts {
  HsiPowerManagement powerManagement{};
  HsiTopology topology{};
  HsiCpuModel modelName{};
};

template <typename Value>
HSI_Status readHostValue(HSI_Node node, Value& value) {
  return HSI_Get(node, nullptr, &value, sizeof value);
}

HSI_Status readHostFacts(HostFacts& facts) {
  HSI_Status status = readHostValue(kHsiPowerManagement, facts.powerManagement);
  if (status == kHsiOk) status = readHostValue(kHsiTopology, facts.topology);
  if (status == kHsiOk) status = readHostValue(kHsiCpuModel, facts.modelName);
  return status;
}

/// The instances of a node. Reads a value of one of them by its position in the kernel's list.
class InstanceList {
 public:
  HSI_Status load(HSI_Node node) {
    const HSI_Status status = ORV::listInstances(node, nullptr, instances_);
    if (status != kHsiOk) return status;
    argument_.reset(HSI_ParamListCreate(1, 1));
    return argument_ == nullptr ? kHsiFailed : kHsiOk;
  }

  unsigned size() const { return HSI_ParamListUsedCount(instances_.get()); }

  /// Reads `node` for the instance at `position`. Fails for a position past the end.
  template <typename Value>
  HSI_Status read(HSI_Node node, std::uint64_t position, Value& value) const {
    std::int32_t instance = 0;
    if (position >= size()) return kHsiFailed;
    HSI_Status status =
        HSI_ParamListGetInt32(instances_.get(), static_cast<unsigned>(position), &instance);
    if (status == kHsiOk) status = HSI_ParamListAddInt(argument_.get(), instance);
    if (status != kHsiOk) return status;
    status = HSI_Get(node, argument_.get(), &value, sizeof value);
    const HSI_Status removed = HSI_ParamListRemoveLastParam(argument_.get());
    return status == kHsiOk ? removed : status;
  }

 private:
  ParamList instances_;
  ParamList argument_;  ///< holds the instance during a read, empty otherwise
};

HSI_Status readPackages(const InstanceList& packages, const HostFacts& facts,
                        std::vector<ProcessorRecord>& records) {
  const auto& policy = facts.powerManagement.policy;
  for (unsigned i = 0; i < packages.size(); ++i) {
    ProcessorRecord record;
    record.name = "cpu-" + std::to_string(i);
    const HSI_Status status = packages.read(kHsiPackage, i, record.coreCount);
    if (status != kHsiOk) return status;
    record.modelName = cleanModelName({facts.modelName.data(), facts.modelName.size()});
    record.hardwareThread = facts.topology.hyperThreading != 0;
    decodePowerPolicy({policy, sizeof policy}, record);
    records.push_back(record);
  }
  return kHsiOk;
}

/// A package runs when one of its cores does. The details of that core are read only to see whether
/// they can be.
HSI_Status readRunState(const InstanceList& cores, std::uint64_t firstCore,
                        ProcessorRecord& record) {
  HsiCoreState state{};
  record.status = kCpuIdle;
  for (std::uint64_t core = firstCore; core < firstCore + record.coreCount; ++core) {
    const HSI_Status status = cores.read(kHsiCoreState, core, state);
    if (status != kHsiOk) return status;
    if (state.running == 0) continue;
    record.status = kCpuEnabled;
    HsiCoreDetail detail{};
    return cores.read(kHsiCoreDetail, core, detail);
  }
  return kHsiOk;
}

HSI_Status readCores(const InstanceList& cores, std::vector<ProcessorRecord>& records) {
  std::uint64_t firstCore = 0;
  for (ProcessorRecord& record : records) {
    HsiCore identification{};
    HSI_Status status = cores.read(kHsiCore, firstCore, identification);
    if (status != kHsiOk) return status;
    decodeIdentification(identification, record);
    status = readRunState(cores, firstCore, record);
    if (status != kHsiOk) return status;
    firstCore += record.coreCount;
  }
  return kHsiOk;
}

}  // namespace

HSI_Status queryProcessors(std::vector<ProcessorRecord>& records) {
  HostFacts facts;
  InstanceList packages;
  InstanceList cores;
  std::vector<ProcessorRecord> found;
  HSI_Status status = HSI_CheckSig(kHsiSignature);
  if (status == kHsiOk) status = readHostFacts(facts);
  if (status == kHsiOk) status = packages.load(kHsiPackage);
  if (status != kHsiOk) return status;
  if (packages.size() > 0) {
    status = readPackages(packages, facts, found);
    if (status == kHsiOk) status = cores.load(kHsiCore);
    if (status == kHsiOk) status = readCores(cores, found);
    if (status != kHsiOk) return status;
  }
  records.swap(found);
  return kHsiOk;
}

}  // namespace OrvProcessor
