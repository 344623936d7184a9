/* CMPI 2.0 function tables, every slot in its place.
 *
 * An object that a factory slot, a getter or an up-call returns belongs to the broker's memory for
 * the calling thread; only what a clone slot returned is released by the caller. Statuses passed by
 * pointer may be null. Brokers leave some slots null: check a slot of eft, xft or mft before
 * calling it.
 */
#ifndef ORV_CMPI_ABI_CMPI_TABLES_H
#define ORV_CMPI_ABI_CMPI_TABLES_H

#include <pthread.h>
#include <stddef.h>
#include <time.h>

#include "cmpi/abi/cmpi_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Requests to the broker: threads, indications, up-calls into other providers. */
typedef struct CMPIBrokerFT_ {
  unsigned int brokerCapabilities;
  unsigned int brokerVersion;
  const char* brokerName;
  CMPIContext* (*prepareAttachThread)(const CMPIBroker*, const CMPIContext*);
  CMPIStatus (*attachThread)(const CMPIBroker*, const CMPIContext*);
  CMPIStatus (*detachThread)(const CMPIBroker*, const CMPIContext*);
  CMPIStatus (*deliverIndication)(const CMPIBroker*, const CMPIContext*, const char* ns,
                                  const CMPIInstance*);
  CMPIEnumeration* (*enumerateInstanceNames)(const CMPIBroker*, const CMPIContext*,
                                             const CMPIObjectPath*, CMPIStatus*);
  CMPIInstance* (*getInstance)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                               const char** props, CMPIStatus*);
  CMPIObjectPath* (*createInstance)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                                    const CMPIInstance*, CMPIStatus*);
  CMPIStatus (*modifyInstance)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                               const CMPIInstance*, const char** props);
  CMPIStatus (*deleteInstance)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*);
  CMPIEnumeration* (*execQuery)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                                const char* query, const char* lang, CMPIStatus*);
  CMPIEnumeration* (*enumerateInstances)(const CMPIBroker*, const CMPIContext*,
                                         const CMPIObjectPath*, const char** props, CMPIStatus*);
  CMPIEnumeration* (*associators)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                                  const char* assocClass, const char* resultClass, const char* role,
                                  const char* resultRole, const char** props, CMPIStatus*);
  CMPIEnumeration* (*associatorNames)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                                      const char* assocClass, const char* resultClass,
                                      const char* role, const char* resultRole, CMPIStatus*);
  CMPIEnumeration* (*references)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                                 const char* resultClass, const char* role, const char** props,
                                 CMPIStatus*);
  CMPIEnumeration* (*referenceNames)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                                     const char* resultClass, const char* role, CMPIStatus*);
  CMPIData (*invokeMethod)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                           const char* method, const CMPIArgs* in, CMPIArgs* out, CMPIStatus*);
  CMPIStatus (*setProperty)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                            const char* name, const CMPIValue*, CMPIType);
  CMPIData (*getProperty)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                          const char* name, CMPIStatus*);
} CMPIBrokerFT;

/* Factories of encapsulated objects, and tests on them. */
typedef struct CMPIBrokerEncFT_ {
  int ftVersion;
  CMPIInstance* (*newInstance)(const CMPIBroker*, const CMPIObjectPath*, CMPIStatus*);
  CMPIObjectPath* (*newObjectPath)(const CMPIBroker*, const char* ns, const char* className,
                                   CMPIStatus*);
  CMPIArgs* (*newArgs)(const CMPIBroker*, CMPIStatus*);
  CMPIString* (*newString)(const CMPIBroker*, const char*, CMPIStatus*);
  CMPIArray* (*newArray)(const CMPIBroker*, CMPICount size, CMPIType elementType, CMPIStatus*);
  CMPIDateTime* (*newDateTime)(const CMPIBroker*, CMPIStatus*);
  CMPIDateTime* (*newDateTimeFromBinary)(const CMPIBroker*, CMPIUint64 microseconds,
                                         CMPIBoolean interval, CMPIStatus*);
  CMPIDateTime* (*newDateTimeFromChars)(const CMPIBroker*, const char*, CMPIStatus*);
  CMPISelectExp* (*newSelectExp)(const CMPIBroker*, const char* query, const char* lang,
                                 CMPIArray** projection, CMPIStatus*);
  CMPIBoolean (*classPathIsA)(const CMPIBroker*, const CMPIObjectPath*, const char* className,
                              CMPIStatus*);
  CMPIString* (*toString)(const CMPIBroker*, const void* object, CMPIStatus*);
  CMPIBoolean (*isOfType)(const CMPIBroker*, const void* object, const char* type, CMPIStatus*);
  CMPIString* (*getType)(const CMPIBroker*, const void* object, CMPIStatus*);
  CMPIString* (*getMessage)(const CMPIBroker*, const char* id, const char* defaultText, CMPIStatus*,
                            CMPICount count, ...);
  CMPIStatus (*logMessage)(const CMPIBroker*, int severity, const char* id, const char* text,
                           const CMPIString*);
  CMPIStatus (*trace)(const CMPIBroker*, int level, const char* component, const char* text,
                      const CMPIString*);
  CMPIError* (*newCMPIError)(const CMPIBroker*, const char* owner, const char* msgId,
                             const char* msg, CMPIErrorSeverity, CMPIErrorProbableCause, CMPIrc,
                             CMPIStatus*);
  CMPIStatus (*openMessageFile)(const CMPIBroker*, const char* file, CMPIMsgFileHandle*);
  CMPIStatus (*closeMessageFile)(const CMPIBroker*, CMPIMsgFileHandle);
  CMPIString* (*getMessage2)(const CMPIBroker*, const char* id, CMPIMsgFileHandle,
                             const char* defaultText, CMPIStatus*, CMPICount count, ...);
} CMPIBrokerEncFT;

/* Operating-system services: threads, mutexes, conditions. */
typedef struct CMPIBrokerExtFT_ {
  int ftVersion;
  char* (*resolveFileName)(const char*);
  void* (*newThread)(void* (*)(void*), void* parm, int detached);
  int (*joinThread)(void* thread, void** result);
  int (*exitThread)(void*);
  int (*cancelThread)(void* thread);
  int (*threadSleep)(CMPIUint32 milliseconds);
  int (*threadOnce)(int* once, void (*)(void));
  int (*createThreadKey)(pthread_key_t*, void (*)(void*));
  int (*destroyThreadKey)(pthread_key_t);
  void* (*getThreadSpecific)(pthread_key_t);
  int (*setThreadSpecific)(pthread_key_t, void*);
  void* (*newMutex)(int opt);
  void (*destroyMutex)(void*);
  void (*lockMutex)(void*);
  void (*unlockMutex)(void*);
  void* (*newCondition)(int opt);
  void (*destroyCondition)(void*);
  int (*condWait)(void* cond, void* mutex);
  int (*timedCondWait)(void* cond, void* mutex, struct timespec*);
  int (*signalCondition)(void* cond);
} CMPIBrokerExtFT;

/* Memory: what the calling thread makes after mark is freed by release. */
typedef struct CMPIBrokerMemFT_ {
  int ftVersion;
  CMPIGcStat* (*mark)(const CMPIBroker*, CMPIStatus*);
  CMPIStatus (*release)(const CMPIBroker*, const CMPIGcStat*);
  void* (*cmpiMalloc)(const CMPIBroker*, size_t);
  void* (*cmpiCalloc)(const CMPIBroker*, size_t, size_t);
  void* (*cmpiRealloc)(const CMPIBroker*, void*, size_t);
  char* (*cmpiStrDup)(const CMPIBroker*, const char*);
  void (*cmpiFree)(const CMPIBroker*, void*);
  void (*freeInstance)(const CMPIBroker*, CMPIInstance*);
  void (*freeObjectPath)(const CMPIBroker*, CMPIObjectPath*);
  void (*freeArgs)(const CMPIBroker*, CMPIArgs*);
  void (*freeString)(const CMPIBroker*, CMPIString*);
  void (*freeArray)(const CMPIBroker*, CMPIArray*);
  void (*freeDateTime)(const CMPIBroker*, CMPIDateTime*);
  void (*freeSelectExp)(const CMPIBroker*, CMPISelectExp*);
} CMPIBrokerMemFT;

/* Context entries. */
typedef struct CMPIContextFT_ {
  int ftVersion;
  CMPIStatus (*release)(CMPIContext*);
  CMPIContext* (*clone)(const CMPIContext*, CMPIStatus*);
  CMPIData (*getEntry)(const CMPIContext*, const char* name, CMPIStatus*);
  CMPIData (*getEntryAt)(const CMPIContext*, CMPICount index, CMPIString** name, CMPIStatus*);
  CMPICount (*getEntryCount)(const CMPIContext*, CMPIStatus*);
  CMPIStatus (*addEntry)(const CMPIContext*, const char* name, const CMPIValue*, CMPIType);
} CMPIContextFT;

/* Sink of an operation. */
typedef struct CMPIResultFT_ {
  int ftVersion;
  CMPIStatus (*release)(CMPIResult*);
  CMPIResult* (*clone)(const CMPIResult*, CMPIStatus*);
  CMPIStatus (*returnData)(const CMPIResult*, const CMPIValue*, CMPIType);
  CMPIStatus (*returnInstance)(const CMPIResult*, const CMPIInstance*);
  CMPIStatus (*returnObjectPath)(const CMPIResult*, const CMPIObjectPath*);
  CMPIStatus (*returnDone)(const CMPIResult*);
  CMPIStatus (*returnError)(const CMPIResult*, const CMPIError*);
} CMPIResultFT;

/* Text. */
typedef struct CMPIStringFT_ {
  int ftVersion;
  CMPIStatus (*release)(CMPIString*);
  CMPIString* (*clone)(const CMPIString*, CMPIStatus*);
  char* (*getCharPtr)(const CMPIString*, CMPIStatus*);
} CMPIStringFT;

/* Array of one element type; elements may be null. */
typedef struct CMPIArrayFT_ {
  int ftVersion;
  CMPIStatus (*release)(CMPIArray*);
  CMPIArray* (*clone)(const CMPIArray*, CMPIStatus*);
  CMPICount (*getSize)(const CMPIArray*, CMPIStatus*);
  CMPIType (*getSimpleType)(const CMPIArray*, CMPIStatus*);
  CMPIData (*getElementAt)(const CMPIArray*, CMPICount index, CMPIStatus*);
  CMPIStatus (*setElementAt)(CMPIArray*, CMPICount index, const CMPIValue*, CMPIType);
} CMPIArrayFT;

/* Result of an up-call. The slot getNext stands before hasNext. */
typedef struct CMPIEnumerationFT_ {
  int ftVersion;
  CMPIStatus (*release)(CMPIEnumeration*);
  CMPIEnumeration* (*clone)(const CMPIEnumeration*, CMPIStatus*);
  CMPIData (*getNext)(const CMPIEnumeration*, CMPIStatus*);
  CMPIBoolean (*hasNext)(const CMPIEnumeration*, CMPIStatus*);
  CMPIArray* (*toArray)(const CMPIEnumeration*, CMPIStatus*);
} CMPIEnumerationFT;

/* Instance. */
typedef struct CMPIInstanceFT_ {
  int ftVersion;
  CMPIStatus (*release)(CMPIInstance*);
  CMPIInstance* (*clone)(const CMPIInstance*, CMPIStatus*);
  CMPIData (*getProperty)(const CMPIInstance*, const char* name, CMPIStatus*);
  CMPIData (*getPropertyAt)(const CMPIInstance*, CMPICount index, CMPIString** name, CMPIStatus*);
  CMPICount (*getPropertyCount)(const CMPIInstance*, CMPIStatus*);
  CMPIStatus (*setProperty)(const CMPIInstance*, const char* name, const CMPIValue*, CMPIType);
  CMPIObjectPath* (*getObjectPath)(const CMPIInstance*, CMPIStatus*);
  CMPIStatus (*setPropertyFilter)(CMPIInstance*, const char** props, const char** keys);
  CMPIStatus (*setObjectPath)(CMPIInstance*, const CMPIObjectPath*);
  CMPIStatus (*setPropertyWithOrigin)(const CMPIInstance*, const char* name, const CMPIValue*,
                                      CMPIType, const char* origin);
} CMPIInstanceFT;

/* Object path. */
typedef struct CMPIObjectPathFT_ {
  int ftVersion;
  CMPIStatus (*release)(CMPIObjectPath*);
  CMPIObjectPath* (*clone)(const CMPIObjectPath*, CMPIStatus*);
  CMPIStatus (*setNameSpace)(CMPIObjectPath*, const char*);
  CMPIString* (*getNameSpace)(const CMPIObjectPath*, CMPIStatus*);
  CMPIStatus (*setHostname)(CMPIObjectPath*, const char*);
  CMPIString* (*getHostname)(const CMPIObjectPath*, CMPIStatus*);
  CMPIStatus (*setClassName)(CMPIObjectPath*, const char*);
  CMPIString* (*getClassName)(const CMPIObjectPath*, CMPIStatus*);
  CMPIStatus (*addKey)(CMPIObjectPath*, const char* name, const CMPIValue*, CMPIType);
  CMPIData (*getKey)(const CMPIObjectPath*, const char* name, CMPIStatus*);
  CMPIData (*getKeyAt)(const CMPIObjectPath*, CMPICount index, CMPIString** name, CMPIStatus*);
  CMPICount (*getKeyCount)(const CMPIObjectPath*, CMPIStatus*);
  CMPIStatus (*setNameSpaceFromObjectPath)(CMPIObjectPath*, const CMPIObjectPath* source);
  CMPIStatus (*setHostAndNameSpaceFromObjectPath)(CMPIObjectPath*, const CMPIObjectPath* source);
  CMPIData (*getClassQualifier)(const CMPIObjectPath*, const char* qualifier, CMPIStatus*);
  CMPIData (*getPropertyQualifier)(const CMPIObjectPath*, const char* property,
                                   const char* qualifier, CMPIStatus*);
  CMPIData (*getMethodQualifier)(const CMPIObjectPath*, const char* method, const char* qualifier,
                                 CMPIStatus*);
  CMPIData (*getParameterQualifier)(const CMPIObjectPath*, const char* method,
                                    const char* parameter, const char* qualifier, CMPIStatus*);
  CMPIString* (*toString)(const CMPIObjectPath*, CMPIStatus*);
} CMPIObjectPathFT;

/* Method arguments. */
typedef struct CMPIArgsFT_ {
  int ftVersion;
  CMPIStatus (*release)(CMPIArgs*);
  CMPIArgs* (*clone)(const CMPIArgs*, CMPIStatus*);
  CMPIStatus (*addArg)(const CMPIArgs*, const char* name, const CMPIValue*, CMPIType);
  CMPIData (*getArg)(const CMPIArgs*, const char* name, CMPIStatus*);
  CMPIData (*getArgAt)(const CMPIArgs*, CMPICount index, CMPIString** name, CMPIStatus*);
  CMPICount (*getArgCount)(const CMPIArgs*, CMPIStatus*);
} CMPIArgsFT;

/* Point in time or interval. */
typedef struct CMPIDateTimeFT_ {
  int ftVersion;
  CMPIStatus (*release)(CMPIDateTime*);
  CMPIDateTime* (*clone)(const CMPIDateTime*, CMPIStatus*);
  CMPIUint64 (*getBinaryFormat)(const CMPIDateTime*, CMPIStatus*);
  CMPIString* (*getStringFormat)(const CMPIDateTime*, CMPIStatus*);
  CMPIBoolean (*isInterval)(const CMPIDateTime*, CMPIStatus*);
} CMPIDateTimeFT;

/* Select expression of a filter. */
typedef struct CMPISelectExpFT_ {
  int ftVersion;
  CMPIStatus (*release)(CMPISelectExp*);
  CMPISelectExp* (*clone)(const CMPISelectExp*, CMPIStatus*);
  CMPIBoolean (*evaluate)(const CMPISelectExp*, const CMPIInstance*, CMPIStatus*);
  CMPIString* (*getString)(const CMPISelectExp*, CMPIStatus*);
  CMPISelectCond* (*getDOC)(const CMPISelectExp*, CMPIStatus*);
  CMPISelectCond* (*getCOD)(const CMPISelectExp*, CMPIStatus*);
  CMPIBoolean (*evaluateUsingAccessor)(const CMPISelectExp*, CMPIAccessor, void* parm, CMPIStatus*);
} CMPISelectExpFT;

/* Normalised condition. */
typedef struct CMPISelectCondFT_ {
  int ftVersion;
  CMPIStatus (*release)(CMPISelectCond*);
  CMPISelectCond* (*clone)(const CMPISelectCond*, CMPIStatus*);
  CMPICount (*getCountAndType)(const CMPISelectCond*, int* type, CMPIStatus*);
  CMPISubCond* (*getSubCondAt)(const CMPISelectCond*, CMPICount index, CMPIStatus*);
} CMPISelectCondFT;

/* Part of a condition. */
typedef struct CMPISubCondFT_ {
  int ftVersion;
  CMPIStatus (*release)(CMPISubCond*);
  CMPISubCond* (*clone)(const CMPISubCond*, CMPIStatus*);
  CMPICount (*getCount)(const CMPISubCond*, CMPIStatus*);
  CMPIPredicate* (*getPredicateAt)(const CMPISubCond*, CMPICount index, CMPIStatus*);
  CMPIPredicate* (*getPredicate)(const CMPISubCond*, const char* name, CMPIStatus*);
} CMPISubCondFT;

/* One comparison. */
typedef struct CMPIPredicateFT_ {
  int ftVersion;
  CMPIStatus (*release)(CMPIPredicate*);
  CMPIPredicate* (*clone)(const CMPIPredicate*, CMPIStatus*);
  CMPIStatus (*getData)(const CMPIPredicate*, CMPIType*, CMPIPredOp*, CMPIString** lhs,
                        CMPIString** rhs);
  CMPIBoolean (*evaluateUsingAccessor)(const CMPIPredicate*, CMPIAccessor, void* parm, CMPIStatus*);
} CMPIPredicateFT;

/* Extended error; no broker that we know of supplies one. */
typedef struct CMPIErrorFT_ {
  int ftVersion;
  CMPIStatus (*release)(CMPIError*);
  CMPIError* (*clone)(const CMPIError*, CMPIStatus*);
  CMPIErrorType (*getErrorType)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getOtherErrorType)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getOwningEntity)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getMessageID)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getMessage)(const CMPIError*, CMPIStatus*);
  CMPIErrorSeverity (*getPerceivedSeverity)(const CMPIError*, CMPIStatus*);
  CMPIErrorProbableCause (*getProbableCause)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getProbableCauseDescription)(const CMPIError*, CMPIStatus*);
  CMPIArray* (*getRecommendedActions)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getErrorSource)(const CMPIError*, CMPIStatus*);
  CMPIErrorSrcFormat (*getErrorSourceFormat)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getOtherErrorSourceFormat)(const CMPIError*, CMPIStatus*);
  CMPIrc (*getCIMStatusCode)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getCIMStatusCodeDescription)(const CMPIError*, CMPIStatus*);
  CMPIArray* (*getMessageArguments)(const CMPIError*, CMPIStatus*);
  CMPIStatus (*setErrorType)(CMPIError*, const CMPIErrorType);
  CMPIStatus (*setOtherErrorType)(CMPIError*, const char*);
  CMPIStatus (*setProbableCauseDescription)(CMPIError*, const char*);
  CMPIStatus (*setRecommendedActions)(CMPIError*, const CMPIArray*);
  CMPIStatus (*setErrorSource)(CMPIError*, const char*);
  CMPIStatus (*setErrorSourceFormat)(CMPIError*, const CMPIErrorSrcFormat);
  CMPIStatus (*setOtherErrorSourceFormat)(CMPIError*, const char*);
  CMPIStatus (*setCIMStatusCodeDescription)(CMPIError*, const char*);
  CMPIStatus (*setMessageArguments)(CMPIError*, CMPIArray*);
} CMPIErrorFT;

/* Instance provider. */
typedef struct CMPIInstanceMIFT_ {
  int ftVersion;
  int miVersion;
  const char* miName;
  CMPIStatus (*cleanup)(CMPIInstanceMI*, const CMPIContext*, CMPIBoolean terminating);
  CMPIStatus (*enumerateInstanceNames)(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                                       const CMPIObjectPath*);
  CMPIStatus (*enumerateInstances)(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                                   const CMPIObjectPath*, const char** props);
  CMPIStatus (*getInstance)(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                            const CMPIObjectPath*, const char** props);
  CMPIStatus (*createInstance)(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                               const CMPIObjectPath*, const CMPIInstance*);
  CMPIStatus (*modifyInstance)(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                               const CMPIObjectPath*, const CMPIInstance*, const char** props);
  CMPIStatus (*deleteInstance)(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                               const CMPIObjectPath*);
  CMPIStatus (*execQuery)(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                          const CMPIObjectPath*, const char* query, const char* lang);
} CMPIInstanceMIFT;

/* Association provider. */
typedef struct CMPIAssociationMIFT_ {
  int ftVersion;
  int miVersion;
  const char* miName;
  CMPIStatus (*cleanup)(CMPIAssociationMI*, const CMPIContext*, CMPIBoolean terminating);
  CMPIStatus (*associators)(CMPIAssociationMI*, const CMPIContext*, const CMPIResult*,
                            const CMPIObjectPath*, const char* assocClass, const char* resultClass,
                            const char* role, const char* resultRole, const char** props);
  CMPIStatus (*associatorNames)(CMPIAssociationMI*, const CMPIContext*, const CMPIResult*,
                                const CMPIObjectPath*, const char* assocClass,
                                const char* resultClass, const char* role, const char* resultRole);
  CMPIStatus (*references)(CMPIAssociationMI*, const CMPIContext*, const CMPIResult*,
                           const CMPIObjectPath*, const char* resultClass, const char* role,
                           const char** props);
  CMPIStatus (*referenceNames)(CMPIAssociationMI*, const CMPIContext*, const CMPIResult*,
                               const CMPIObjectPath*, const char* resultClass, const char* role);
} CMPIAssociationMIFT;

/* Method provider. */
typedef struct CMPIMethodMIFT_ {
  int ftVersion;
  int miVersion;
  const char* miName;
  CMPIStatus (*cleanup)(CMPIMethodMI*, const CMPIContext*, CMPIBoolean terminating);
  CMPIStatus (*invokeMethod)(CMPIMethodMI*, const CMPIContext*, const CMPIResult*,
                             const CMPIObjectPath*, const char* method, const CMPIArgs* in,
                             CMPIArgs* out);
} CMPIMethodMIFT;

/* Property provider. */
typedef struct CMPIPropertyMIFT_ {
  int ftVersion;
  int miVersion;
  const char* miName;
  CMPIStatus (*cleanup)(CMPIPropertyMI*, const CMPIContext*, CMPIBoolean terminating);
  CMPIStatus (*setProperty)(CMPIPropertyMI*, const CMPIContext*, const CMPIResult*,
                            const CMPIObjectPath*, const char* name, CMPIData);
  CMPIStatus (*getProperty)(CMPIPropertyMI*, const CMPIContext*, const CMPIResult*,
                            const CMPIObjectPath*, const char* name);
  CMPIStatus (*setPropertyWithOrigin)(CMPIPropertyMI*, const CMPIContext*, const CMPIResult*,
                                      CMPIObjectPath*, const char* name, CMPIData,
                                      const char* origin);
} CMPIPropertyMIFT;

/* Indication provider. mustPoll has no result argument. */
typedef struct CMPIIndicationMIFT_ {
  int ftVersion;
  int miVersion;
  const char* miName;
  CMPIStatus (*cleanup)(CMPIIndicationMI*, const CMPIContext*, CMPIBoolean terminating);
  CMPIStatus (*authorizeFilter)(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*,
                                const char* className, const CMPIObjectPath*, const char* owner);
  CMPIStatus (*mustPoll)(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*,
                         const char* className, const CMPIObjectPath*);
  CMPIStatus (*activateFilter)(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*,
                               const char* className, const CMPIObjectPath*, CMPIBoolean first);
  CMPIStatus (*deActivateFilter)(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*,
                                 const char* className, const CMPIObjectPath*, CMPIBoolean last);
  CMPIStatus (*enableIndications)(CMPIIndicationMI*, const CMPIContext*);
  CMPIStatus (*disableIndications)(CMPIIndicationMI*, const CMPIContext*);
} CMPIIndicationMIFT;

/* Factories that a provider library exports, found by name: <provider>_Create_<kind>MI. */
typedef CMPIInstanceMI* (*CMPICreateInstanceMI)(const CMPIBroker*, const CMPIContext*, CMPIStatus*);
typedef CMPIAssociationMI* (*CMPICreateAssociationMI)(const CMPIBroker*, const CMPIContext*,
                                                      CMPIStatus*);
typedef CMPIIndicationMI* (*CMPICreateIndicationMI)(const CMPIBroker*, const CMPIContext*,
                                                    CMPIStatus*);

#ifdef __cplusplus
}
#endif

#endif
