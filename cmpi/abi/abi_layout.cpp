// Compile-time proof that the tables have the object manager's layout on 64-bit Linux.
#include <cstddef>

#include "cmpi/abi/cmpi_tables.h"

namespace {

#define ORV_SLOT(table, slot, byte) static_assert(offsetof(table, slot) == (byte), #table "." #slot)
#define ORV_SIZE(type, bytes) static_assert(sizeof(type) == (bytes), #type)

ORV_SIZE(CMPIValue, 16);
ORV_SIZE(CMPIData, 24);
ORV_SIZE(CMPIStatus, 16);
ORV_SIZE(CMPIrc, 4);
ORV_SIZE(CMPIBroker, 40);
ORV_SIZE(CMPIObjectPath, 16);
ORV_SIZE(CMPIInstanceMI, 16);
static_assert(alignof(CMPIValue) == 8, "CMPIValue alignment");
static_assert(offsetof(CMPIData, type) == 0 && offsetof(CMPIData, state) == 2, "CMPIData head");
static_assert(offsetof(CMPIData, value) == 8, "CMPIData.value");
static_assert(offsetof(CMPIStatus, rc) == 0 && offsetof(CMPIStatus, msg) == 8, "CMPIStatus");
static_assert(offsetof(CMPIBroker, bft) == 8 && offsetof(CMPIBroker, eft) == 16, "CMPIBroker head");
static_assert(offsetof(CMPIBroker, xft) == 24 && offsetof(CMPIBroker, mft) == 32,
              "CMPIBroker tail");

ORV_SIZE(CMPIBrokerFT, 160);
ORV_SLOT(CMPIBrokerFT, prepareAttachThread, 16);
ORV_SLOT(CMPIBrokerFT, attachThread, 24);
ORV_SLOT(CMPIBrokerFT, detachThread, 32);
ORV_SLOT(CMPIBrokerFT, deliverIndication, 40);
ORV_SLOT(CMPIBrokerFT, enumerateInstanceNames, 48);
ORV_SLOT(CMPIBrokerFT, getInstance, 56);
ORV_SLOT(CMPIBrokerFT, createInstance, 64);
ORV_SLOT(CMPIBrokerFT, modifyInstance, 72);
ORV_SLOT(CMPIBrokerFT, deleteInstance, 80);
ORV_SLOT(CMPIBrokerFT, execQuery, 88);
ORV_SLOT(CMPIBrokerFT, enumerateInstances, 96);
ORV_SLOT(CMPIBrokerFT, associators, 104);
ORV_SLOT(CMPIBrokerFT, associatorNames, 112);
ORV_SLOT(CMPIBrokerFT, references, 120);
ORV_SLOT(CMPIBrokerFT, referenceNames, 128);
ORV_SLOT(CMPIBrokerFT, invokeMethod, 136);
ORV_SLOT(CMPIBrokerFT, setProperty, 144);
ORV_SLOT(CMPIBrokerFT, getProperty, 152);

ORV_SIZE(CMPIBrokerEncFT, 168);
ORV_SLOT(CMPIBrokerEncFT, newInstance, 8);
ORV_SLOT(CMPIBrokerEncFT, newObjectPath, 16);
ORV_SLOT(CMPIBrokerEncFT, newArgs, 24);
ORV_SLOT(CMPIBrokerEncFT, newString, 32);
ORV_SLOT(CMPIBrokerEncFT, newArray, 40);
ORV_SLOT(CMPIBrokerEncFT, newDateTime, 48);
ORV_SLOT(CMPIBrokerEncFT, newDateTimeFromBinary, 56);
ORV_SLOT(CMPIBrokerEncFT, newDateTimeFromChars, 64);
ORV_SLOT(CMPIBrokerEncFT, newSelectExp, 72);
ORV_SLOT(CMPIBrokerEncFT, classPathIsA, 80);
ORV_SLOT(CMPIBrokerEncFT, toString, 88);
ORV_SLOT(CMPIBrokerEncFT, isOfType, 96);
ORV_SLOT(CMPIBrokerEncFT, getType, 104);
ORV_SLOT(CMPIBrokerEncFT, getMessage, 112);
ORV_SLOT(CMPIBrokerEncFT, logMessage, 120);
ORV_SLOT(CMPIBrokerEncFT, trace, 128);
ORV_SLOT(CMPIBrokerEncFT, newCMPIError, 136);
ORV_SLOT(CMPIBrokerEncFT, openMessageFile, 144);
ORV_SLOT(CMPIBrokerEncFT, closeMessageFile, 152);
ORV_SLOT(CMPIBrokerEncFT, getMessage2, 160);

ORV_SIZE(CMPIBrokerExtFT, 168);
ORV_SLOT(CMPIBrokerExtFT, resolveFileName, 8);
ORV_SLOT(CMPIBrokerExtFT, newThread, 16);
ORV_SLOT(CMPIBrokerExtFT, joinThread, 24);
ORV_SLOT(CMPIBrokerExtFT, exitThread, 32);
ORV_SLOT(CMPIBrokerExtFT, cancelThread, 40);
ORV_SLOT(CMPIBrokerExtFT, threadSleep, 48);
ORV_SLOT(CMPIBrokerExtFT, threadOnce, 56);
ORV_SLOT(CMPIBrokerExtFT, createThreadKey, 64);
ORV_SLOT(CMPIBrokerExtFT, destroyThreadKey, 72);
ORV_SLOT(CMPIBrokerExtFT, getThreadSpecific, 80);
ORV_SLOT(CMPIBrokerExtFT, setThreadSpecific, 88);
ORV_SLOT(CMPIBrokerExtFT, newMutex, 96);
ORV_SLOT(CMPIBrokerExtFT, destroyMutex, 104);
ORV_SLOT(CMPIBrokerExtFT, lockMutex, 112);
ORV_SLOT(CMPIBrokerExtFT, unlockMutex, 120);
ORV_SLOT(CMPIBrokerExtFT, newCondition, 128);
ORV_SLOT(CMPIBrokerExtFT, destroyCondition, 136);
ORV_SLOT(CMPIBrokerExtFT, condWait, 144);
ORV_SLOT(CMPIBrokerExtFT, timedCondWait, 152);
ORV_SLOT(CMPIBrokerExtFT, signalCondition, 160);

ORV_SIZE(CMPIBrokerMemFT, 120);
ORV_SLOT(CMPIBrokerMemFT, mark, 8);
ORV_SLOT(CMPIBrokerMemFT, release, 16);
ORV_SLOT(CMPIBrokerMemFT, cmpiMalloc, 24);
ORV_SLOT(CMPIBrokerMemFT, cmpiCalloc, 32);
ORV_SLOT(CMPIBrokerMemFT, cmpiRealloc, 40);
ORV_SLOT(CMPIBrokerMemFT, cmpiStrDup, 48);
ORV_SLOT(CMPIBrokerMemFT, cmpiFree, 56);
ORV_SLOT(CMPIBrokerMemFT, freeInstance, 64);
ORV_SLOT(CMPIBrokerMemFT, freeObjectPath, 72);
ORV_SLOT(CMPIBrokerMemFT, freeArgs, 80);
ORV_SLOT(CMPIBrokerMemFT, freeString, 88);
ORV_SLOT(CMPIBrokerMemFT, freeArray, 96);
ORV_SLOT(CMPIBrokerMemFT, freeDateTime, 104);
ORV_SLOT(CMPIBrokerMemFT, freeSelectExp, 112);

ORV_SIZE(CMPIContextFT, 56);
ORV_SLOT(CMPIContextFT, release, 8);
ORV_SLOT(CMPIContextFT, clone, 16);
ORV_SLOT(CMPIContextFT, getEntry, 24);
ORV_SLOT(CMPIContextFT, getEntryAt, 32);
ORV_SLOT(CMPIContextFT, getEntryCount, 40);
ORV_SLOT(CMPIContextFT, addEntry, 48);

ORV_SIZE(CMPIResultFT, 64);
ORV_SLOT(CMPIResultFT, release, 8);
ORV_SLOT(CMPIResultFT, clone, 16);
ORV_SLOT(CMPIResultFT, returnData, 24);
ORV_SLOT(CMPIResultFT, returnInstance, 32);
ORV_SLOT(CMPIResultFT, returnObjectPath, 40);
ORV_SLOT(CMPIResultFT, returnDone, 48);
ORV_SLOT(CMPIResultFT, returnError, 56);

ORV_SIZE(CMPIStringFT, 32);
ORV_SLOT(CMPIStringFT, release, 8);
ORV_SLOT(CMPIStringFT, clone, 16);
ORV_SLOT(CMPIStringFT, getCharPtr, 24);

ORV_SIZE(CMPIArrayFT, 56);
ORV_SLOT(CMPIArrayFT, release, 8);
ORV_SLOT(CMPIArrayFT, clone, 16);
ORV_SLOT(CMPIArrayFT, getSize, 24);
ORV_SLOT(CMPIArrayFT, getSimpleType, 32);
ORV_SLOT(CMPIArrayFT, getElementAt, 40);
ORV_SLOT(CMPIArrayFT, setElementAt, 48);

ORV_SIZE(CMPIEnumerationFT, 48);
ORV_SLOT(CMPIEnumerationFT, release, 8);
ORV_SLOT(CMPIEnumerationFT, clone, 16);
ORV_SLOT(CMPIEnumerationFT, getNext, 24);
ORV_SLOT(CMPIEnumerationFT, hasNext, 32);
ORV_SLOT(CMPIEnumerationFT, toArray, 40);

ORV_SIZE(CMPIInstanceFT, 88);
ORV_SLOT(CMPIInstanceFT, release, 8);
ORV_SLOT(CMPIInstanceFT, clone, 16);
ORV_SLOT(CMPIInstanceFT, getProperty, 24);
ORV_SLOT(CMPIInstanceFT, getPropertyAt, 32);
ORV_SLOT(CMPIInstanceFT, getPropertyCount, 40);
ORV_SLOT(CMPIInstanceFT, setProperty, 48);
ORV_SLOT(CMPIInstanceFT, getObjectPath, 56);
ORV_SLOT(CMPIInstanceFT, setPropertyFilter, 64);
ORV_SLOT(CMPIInstanceFT, setObjectPath, 72);
ORV_SLOT(CMPIInstanceFT, setPropertyWithOrigin, 80);

ORV_SIZE(CMPIObjectPathFT, 160);
ORV_SLOT(CMPIObjectPathFT, release, 8);
ORV_SLOT(CMPIObjectPathFT, clone, 16);
ORV_SLOT(CMPIObjectPathFT, setNameSpace, 24);
ORV_SLOT(CMPIObjectPathFT, getNameSpace, 32);
ORV_SLOT(CMPIObjectPathFT, setHostname, 40);
ORV_SLOT(CMPIObjectPathFT, getHostname, 48);
ORV_SLOT(CMPIObjectPathFT, setClassName, 56);
ORV_SLOT(CMPIObjectPathFT, getClassName, 64);
ORV_SLOT(CMPIObjectPathFT, addKey, 72);
ORV_SLOT(CMPIObjectPathFT, getKey, 80);
ORV_SLOT(CMPIObjectPathFT, getKeyAt, 88);
ORV_SLOT(CMPIObjectPathFT, getKeyCount, 96);
ORV_SLOT(CMPIObjectPathFT, setNameSpaceFromObjectPath, 104);
ORV_SLOT(CMPIObjectPathFT, setHostAndNameSpaceFromObjectPath, 112);
ORV_SLOT(CMPIObjectPathFT, getClassQualifier, 120);
ORV_SLOT(CMPIObjectPathFT, getPropertyQualifier, 128);
ORV_SLOT(CMPIObjectPathFT, getMethodQualifier, 136);
ORV_SLOT(CMPIObjectPathFT, getParameterQualifier, 144);
ORV_SLOT(CMPIObjectPathFT, toString, 152);

ORV_SIZE(CMPIArgsFT, 56);
ORV_SLOT(CMPIArgsFT, release, 8);
ORV_SLOT(CMPIArgsFT, clone, 16);
ORV_SLOT(CMPIArgsFT, addArg, 24);
ORV_SLOT(CMPIArgsFT, getArg, 32);
ORV_SLOT(CMPIArgsFT, getArgAt, 40);
ORV_SLOT(CMPIArgsFT, getArgCount, 48);

ORV_SIZE(CMPIDateTimeFT, 48);
ORV_SLOT(CMPIDateTimeFT, release, 8);
ORV_SLOT(CMPIDateTimeFT, clone, 16);
ORV_SLOT(CMPIDateTimeFT, getBinaryFormat, 24);
ORV_SLOT(CMPIDateTimeFT, getStringFormat, 32);
ORV_SLOT(CMPIDateTimeFT, isInterval, 40);

ORV_SIZE(CMPISelectExpFT, 64);
ORV_SLOT(CMPISelectExpFT, release, 8);
ORV_SLOT(CMPISelectExpFT, clone, 16);
ORV_SLOT(CMPISelectExpFT, evaluate, 24);
ORV_SLOT(CMPISelectExpFT, getString, 32);
ORV_SLOT(CMPISelectExpFT, getDOC, 40);
ORV_SLOT(CMPISelectExpFT, getCOD, 48);
ORV_SLOT(CMPISelectExpFT, evaluateUsingAccessor, 56);

ORV_SIZE(CMPISelectCondFT, 40);
ORV_SLOT(CMPISelectCondFT, release, 8);
ORV_SLOT(CMPISelectCondFT, clone, 16);
ORV_SLOT(CMPISelectCondFT, getCountAndType, 24);
ORV_SLOT(CMPISelectCondFT, getSubCondAt, 32);

ORV_SIZE(CMPISubCondFT, 48);
ORV_SLOT(CMPISubCondFT, release, 8);
ORV_SLOT(CMPISubCondFT, clone, 16);
ORV_SLOT(CMPISubCondFT, getCount, 24);
ORV_SLOT(CMPISubCondFT, getPredicateAt, 32);
ORV_SLOT(CMPISubCondFT, getPredicate, 40);

ORV_SIZE(CMPIPredicateFT, 40);
ORV_SLOT(CMPIPredicateFT, release, 8);
ORV_SLOT(CMPIPredicateFT, clone, 16);
ORV_SLOT(CMPIPredicateFT, getData, 24);
ORV_SLOT(CMPIPredicateFT, evaluateUsingAccessor, 32);

ORV_SIZE(CMPIErrorFT, 216);
ORV_SLOT(CMPIErrorFT, release, 8);
ORV_SLOT(CMPIErrorFT, clone, 16);
ORV_SLOT(CMPIErrorFT, getErrorType, 24);
ORV_SLOT(CMPIErrorFT, getOtherErrorType, 32);
ORV_SLOT(CMPIErrorFT, getOwningEntity, 40);
ORV_SLOT(CMPIErrorFT, getMessageID, 48);
ORV_SLOT(CMPIErrorFT, getMessage, 56);
ORV_SLOT(CMPIErrorFT, getPerceivedSeverity, 64);
ORV_SLOT(CMPIErrorFT, getProbableCause, 72);
ORV_SLOT(CMPIErrorFT, getProbableCauseDescription, 80);
ORV_SLOT(CMPIErrorFT, getRecommendedActions, 88);
ORV_SLOT(CMPIErrorFT, getErrorSource, 96);
ORV_SLOT(CMPIErrorFT, getErrorSourceFormat, 104);
ORV_SLOT(CMPIErrorFT, getOtherErrorSourceFormat, 112);
ORV_SLOT(CMPIErrorFT, getCIMStatusCode, 120);
ORV_SLOT(CMPIErrorFT, getCIMStatusCodeDescription, 128);
ORV_SLOT(CMPIErrorFT, getMessageArguments, 136);
ORV_SLOT(CMPIErrorFT, setErrorType, 144);
ORV_SLOT(CMPIErrorFT, setOtherErrorType, 152);
ORV_SLOT(CMPIErrorFT, setProbableCauseDescription, 160);
ORV_SLOT(CMPIErrorFT, setRecommendedActions, 168);
ORV_SLOT(CMPIErrorFT, setErrorSource, 176);
ORV_SLOT(CMPIErrorFT, setErrorSourceFormat, 184);
ORV_SLOT(CMPIErrorFT, setOtherErrorSourceFormat, 192);
ORV_SLOT(CMPIErrorFT, setCIMStatusCodeDescription, 200);
ORV_SLOT(CMPIErrorFT, setMessageArguments, 208);

ORV_SIZE(CMPIInstanceMIFT, 80);
ORV_SLOT(CMPIInstanceMIFT, cleanup, 16);
ORV_SLOT(CMPIInstanceMIFT, enumerateInstanceNames, 24);
ORV_SLOT(CMPIInstanceMIFT, enumerateInstances, 32);
ORV_SLOT(CMPIInstanceMIFT, getInstance, 40);
ORV_SLOT(CMPIInstanceMIFT, createInstance, 48);
ORV_SLOT(CMPIInstanceMIFT, modifyInstance, 56);
ORV_SLOT(CMPIInstanceMIFT, deleteInstance, 64);
ORV_SLOT(CMPIInstanceMIFT, execQuery, 72);

ORV_SIZE(CMPIAssociationMIFT, 56);
ORV_SLOT(CMPIAssociationMIFT, cleanup, 16);
ORV_SLOT(CMPIAssociationMIFT, associators, 24);
ORV_SLOT(CMPIAssociationMIFT, associatorNames, 32);
ORV_SLOT(CMPIAssociationMIFT, references, 40);
ORV_SLOT(CMPIAssociationMIFT, referenceNames, 48);

ORV_SIZE(CMPIMethodMIFT, 32);
ORV_SLOT(CMPIMethodMIFT, cleanup, 16);
ORV_SLOT(CMPIMethodMIFT, invokeMethod, 24);

ORV_SIZE(CMPIPropertyMIFT, 48);
ORV_SLOT(CMPIPropertyMIFT, cleanup, 16);
ORV_SLOT(CMPIPropertyMIFT, setProperty, 24);
ORV_SLOT(CMPIPropertyMIFT, getProperty, 32);
ORV_SLOT(CMPIPropertyMIFT, setPropertyWithOrigin, 40);

ORV_SIZE(CMPIIndicationMIFT, 72);
ORV_SLOT(CMPIIndicationMIFT, cleanup, 16);
ORV_SLOT(CMPIIndicationMIFT, authorizeFilter, 24);
ORV_SLOT(CMPIIndicationMIFT, mustPoll, 32);
ORV_SLOT(CMPIIndicationMIFT, activateFilter, 40);
ORV_SLOT(CMPIIndicationMIFT, deActivateFilter, 48);
ORV_SLOT(CMPIIndicationMIFT, enableIndications, 56);
ORV_SLOT(CMPIIndicationMIFT, disableIndications, 64);

#undef ORV_SLOT
#undef ORV_SIZE

}  // namespace
