// Enumerations that a client opens and then pulls in batches.

#include <algorithm>
#include <utility>

#include "serve/operations.h"
#include "serve/statuses.h"

namespace orv::serve {
namespace {

using broker::Instance;
using broker::Operation;
using cimxml::CimError;

constexpr std::uint64_t kLongestTimeout = 300;  // seconds
constexpr std::uint64_t kTimeout = 60;          // seconds, when the client gives none
constexpr std::uint64_t kMostObjects = 10'000;  // in one answer

/// Refuses optional features that are not supported, with the statuses that the standard has for
/// them.
void requireServed(const RequestContext& context) {
  const bool isQuery = broker::sameName(context.call.method, "OpenQueryInstances");
  if (!isQuery && !context.text("FilterQuery").value_or("").empty()) {
    throw CimError(kFilteredEnumerationNotSupported, "FilterQuery is not supported");
  }
  if (context.flag("ContinueOnError", false)) {
    throw CimError(kContinuationOnErrorNotSupported, "ContinueOnError is not supported");
  }
}

std::chrono::seconds timeoutOf(const RequestContext& context) {
  const std::uint64_t wanted = context.number("OperationTimeout").value_or(kTimeout);
  // Zero would mean that the enumeration never times out.
  if (wanted == 0 || wanted > kLongestTimeout) {
    throw CimError(kInvalidOperationTimeout,
                   "OperationTimeout must be 1 to " + std::to_string(kLongestTimeout));
  }
  return std::chrono::seconds(wanted);
}

std::size_t countOf(const RequestContext& context) {
  return static_cast<std::size_t>(
      std::min(context.number("MaxObjectCount").value_or(0), kMostObjects));
}

void write(RequestContext& context, PullKind kind, const OpenEnumerations::Batch& batch) {
  if (batch.includeClassOrigin) context.writer.setOriginClasses(&context.classes);
  for (const Instance& object : batch.objects) {
    if (kind == PullKind::kInstancesWithPath) {
      context.writer.instanceWithPath(object);
    } else if (kind == PullKind::kInstancePaths) {
      context.writer.instancePath(object.path);
    } else {
      context.writer.instance(object);
    }
  }
  context.writer.outParameter("EnumerationContext", "string", batch.context);
  context.writer.outParameter("EndOfSequence", "boolean", batch.context.empty() ? "TRUE" : "FALSE");
}

}  // namespace

void Operations::open(RequestContext& context, PullKind kind, std::vector<Instance> objects) {
  OpenEnumerations::Enumeration enumeration;
  enumeration.kind = kind;
  enumeration.includeClassOrigin = context.flag("IncludeClassOrigin", false);
  enumeration.timeout = timeoutOf(context);
  std::move(objects.begin(), objects.end(), std::back_inserter(enumeration.objects));
  write(context, kind, enumerations_.open(std::move(enumeration), countOf(context)));
}

template <PullKind kind>
void Operations::pull(RequestContext& context) {
  const std::size_t count = countOf(context);
  write(context, kind,
        enumerations_.pull(context.text("EnumerationContext").value_or(""), kind, count));
}

template void Operations::pull<PullKind::kInstancesWithPath>(RequestContext&);
template void Operations::pull<PullKind::kInstancePaths>(RequestContext&);
template void Operations::pull<PullKind::kInstances>(RequestContext&);

void Operations::openEnumerateInstances(RequestContext& context) {
  requireServed(context);
  open(context, PullKind::kInstancesWithPath, instancesOf(context));
}

void Operations::openEnumerateInstancePaths(RequestContext& context) {
  requireServed(context);
  open(context, PullKind::kInstancePaths, namesOf(context));
}

template <Operation operation>
void Operations::openRelated(RequestContext& context) {
  constexpr bool kNames =
      operation == Operation::kAssociatorNames || operation == Operation::kReferenceNames;
  requireServed(context);
  open(context, kNames ? PullKind::kInstancePaths : PullKind::kInstancesWithPath,
       related(context, operation, "InstanceName"));
}

template void Operations::openRelated<Operation::kAssociators>(RequestContext&);
template void Operations::openRelated<Operation::kAssociatorNames>(RequestContext&);
template void Operations::openRelated<Operation::kReferences>(RequestContext&);
template void Operations::openRelated<Operation::kReferenceNames>(RequestContext&);

void Operations::openQueryInstances(RequestContext& context) {
  requireServed(context);
  if (context.flag("ReturnQueryResultClass", false)) {
    throw CimError(CMPI_RC_ERR_NOT_SUPPORTED, "ReturnQueryResultClass is not supported");
  }
  open(context, PullKind::kInstances,
       selected(context, context.text("FilterQuery").value_or(""),
                context.text("FilterQueryLanguage").value_or("")));
}

void Operations::closeEnumeration(RequestContext& context) {
  enumerations_.close(context.text("EnumerationContext").value_or(""));
  context.writer.noReturnValue();
}

}  // namespace orv::serve
