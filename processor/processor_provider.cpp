// One Orvane_Processor for each processor package of the host.

#include "cmpi/cmpi_result_filters.h"
#include "framework/factories.h"
#include "framework/text.h"
#include "processor/processor_instance.h"
#include "processor/processor_query.h"

namespace OrvProcessor {

namespace {

bool isServedClass(const CmpiObjectPath& path) {
  return ORV::sameName(ORV::classNameOf(path).c_str(), kProcessorClass);
}

/// The packages of the host; empty also when the query fails.
std::vector<ProcessorRecord> processors() {
  std::vector<ProcessorRecord> records;
  queryProcessors(records);
  return records;
}

/// The record that a request's DeviceID names; null when there is none.
const ProcessorRecord* find(const std::vector<ProcessorRecord>& records,
                            const CmpiObjectPath& path) {
  const auto position = packagePosition(ORV::textKey(path, "DeviceID").value_or(""));
  return position && *position < records.size() ? &records[*position] : nullptr;
}

class OrvaneProcessorProvider : public CmpiInstanceMI {
 public:
  OrvaneProcessorProvider(const CmpiBroker& mbp, const CmpiContext& context)
      : CmpiBaseMI(mbp, context), CmpiInstanceMI(mbp, context) {}

  CmpiStatus enumInstanceNames(const CmpiContext& context, CmpiResult& result,
                               const CmpiObjectPath& path) override {
    CmpiResultInstanceToPathFilter names(result);
    return enumInstances(context, names, path, nullptr);
  }

  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override {
    if (!isServedClass(path)) return CMPI_RC_OK;
    const std::vector<ProcessorRecord> records = processors();
    if (records.empty()) return CMPI_RC_OK;
    const std::string nameSpace = ORV::nameSpaceOf(path);
    const ORV::ScopingKeys scope = ORV::scopingKeys(context, broker);
    for (const ProcessorRecord& record : records) {
      result.returnData(processorInstance(nameSpace, scope, record, properties));
    }
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus getInstance(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         const char** properties) override {
    if (!isServedClass(path)) return CMPI_RC_OK;
    const std::vector<ProcessorRecord> records = processors();
    const ProcessorRecord* record = find(records, path);
    if (record == nullptr) return CMPI_RC_ERR_NOT_FOUND;
    result.returnData(processorInstance(ORV::nameSpaceOf(path), ORV::scopingKeys(context, broker),
                                        *record, properties));
    result.returnDone();
    return CMPI_RC_OK;
  }
};

}  // namespace

}  // namespace OrvProcessor

ORV_PROVIDER_BASE(OrvaneProcessorProvider);
ORV_INSTANCE_FACTORY(OrvaneProcessorProvider, OrvProcessor::OrvaneProcessorProvider)
