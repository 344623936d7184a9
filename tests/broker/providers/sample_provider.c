/* Providers for the tests of the broker, in plain C. One library, several provider names that share
 * their code; what a call does is chosen by the class and the key "Id" of its path. Every call is
 * noted in a log that the test takes with sampleTakeLog(); sampleSet() changes answers. */
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <strings.h>

#include "cmpi/abi/cmpi_tables.h"

#define EXPORT __attribute__((visibility("default")))

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static char logText[1 << 16];
static char takenLog[1 << 16];
static struct {
  char name[48];
  int value;
} settings[32];

static const CMPIBroker* broker;
static CMPIContext* prepared;             /* of the last factory call */
static const CMPIContext* factoryContext; /* kept although it must not be */

static void note(const char* format, ...) {
  va_list arguments;
  size_t used;
  pthread_mutex_lock(&lock);
  used = strlen(logText);
  va_start(arguments, format);
  vsnprintf(logText + used, sizeof logText - used, format, arguments);
  va_end(arguments);
  used = strlen(logText);
  if (used + 2 < sizeof logText) strcpy(logText + used, "\n");
  pthread_mutex_unlock(&lock);
}

EXPORT const char* sampleTakeLog(void) {
  pthread_mutex_lock(&lock);
  strcpy(takenLog, logText);
  logText[0] = '\0';
  pthread_mutex_unlock(&lock);
  return takenLog;
}

EXPORT void sampleSet(const char* name, int value) {
  size_t i;
  pthread_mutex_lock(&lock);
  for (i = 0; i < 32; ++i) {
    if (settings[i].name[0] == '\0' || strcmp(settings[i].name, name) == 0) {
      snprintf(settings[i].name, sizeof settings[i].name, "%s", name);
      settings[i].value = value;
      break;
    }
  }
  pthread_mutex_unlock(&lock);
}

EXPORT void sampleReset(void) {
  pthread_mutex_lock(&lock);
  memset(settings, 0, sizeof settings);
  logText[0] = '\0';
  pthread_mutex_unlock(&lock);
}

static int setting(const char* name) {
  size_t i;
  int value = 0;
  pthread_mutex_lock(&lock);
  for (i = 0; i < 32 && settings[i].name[0] != '\0'; ++i) {
    if (strcmp(settings[i].name, name) == 0) value = settings[i].value;
  }
  pthread_mutex_unlock(&lock);
  return value;
}

static CMPIStatus statusOf(CMPIrc rc, const char* text) {
  CMPIStatus status = {rc, NULL};
  if (text != NULL) status.msg = broker->eft->newString(broker, text, NULL);
  return status;
}

static const char* className(const CMPIObjectPath* path) {
  return path->ft->getClassName(path, NULL)
      ->ft->getCharPtr(path->ft->getClassName(path, NULL), NULL);
}

static const char* nameSpace(const CMPIObjectPath* path) {
  CMPIString* text = path->ft->getNameSpace(path, NULL);
  return text->ft->getCharPtr(text, NULL);
}

/* Text of the key "Id", or an empty text. */
static const char* idOf(const CMPIObjectPath* path) {
  CMPIData data = path->ft->getKey(path, "Id", NULL);
  if (data.type != CMPI_string || data.state != CMPI_goodValue) return "";
  return data.value.string->ft->getCharPtr(data.value.string, NULL);
}

static const char* listText(const char** list, char* buffer, size_t size) {
  if (list == NULL) return "null";
  buffer[0] = '\0';
  for (; *list != NULL; ++list) {
    snprintf(buffer + strlen(buffer), size - strlen(buffer), "%s;", *list);
  }
  return buffer;
}

static CMPIObjectPath* makePath(const char* ns, const char* class, const char* id) {
  CMPIObjectPath* path = broker->eft->newObjectPath(broker, ns, class, NULL);
  path->ft->addKey(path, "Id", (const CMPIValue*)id, CMPI_chars);
  return path;
}

static CMPIInstance* makeInstance(const CMPIObjectPath* path, const char** props, CMPIUint64 size) {
  CMPIInstance* instance = broker->eft->newInstance(broker, path, NULL);
  CMPIValue value;
  instance->ft->setPropertyFilter(instance, props, NULL);
  value.uint64 = size;
  instance->ft->setProperty(instance, "Size", &value, CMPI_uint64);
  instance->ft->setProperty(instance, "Name", (const CMPIValue*)idOf(path), CMPI_chars);
  return instance;
}

/* What a provider called from a request must not do; by the key "Id". */
static CMPIStatus misuse(const char* id, const CMPIContext* context, const CMPIResult* result,
                         const CMPIObjectPath* path) {
  CMPIValue value;
  if (strcmp(id, "returnDataReference") == 0) {
    value.ref = (CMPIObjectPath*)path;
    return result->ft->returnData(result, &value, CMPI_ref);
  }
  if (strcmp(id, "nullTable") == 0) return statusOf(CMPI_RC_OK, NULL);
  if (strcmp(id, "insideMark") == 0) {
    CMPIGcStat* mark = broker->mft->mark(broker, NULL);
    CMPIStatus status = result->ft->returnInstance(result, makeInstance(path, NULL, 1));
    broker->mft->release(broker, mark);
    return status;
  }
  if (strcmp(id, "openMark") == 0) {
    broker->mft->mark(broker, NULL);
    return result->ft->returnInstance(result, makeInstance(path, NULL, 1));
  }
  if (strcmp(id, "lateContext") == 0) {
    CMPIStatus status;
    factoryContext->ft->getEntryCount(factoryContext, &status);
    return status;
  }
  if (strcmp(id, "foreignMessage") == 0) {
    static CMPIString message;
    CMPIStatus status = {CMPI_RC_ERR_FAILED, &message};
    return status;
  }
  if (strcmp(id, "ownContext") == 0) return context->ft->release((CMPIContext*)context);
  return statusOf(CMPI_RC_ERR_NOT_FOUND, "no such misuse");
}

/* Up-calls: what comes back is handed on. */
static CMPIStatus relay(const CMPIContext* context, const CMPIResult* result,
                        const CMPIObjectPath* path, const char* target, int names) {
  CMPIStatus status = {CMPI_RC_OK, NULL};
  CMPIObjectPath* asked = broker->eft->newObjectPath(broker, nameSpace(path), target, NULL);
  CMPIEnumeration* found =
      names ? broker->bft->enumerateInstanceNames(broker, context, asked, &status)
            : broker->bft->enumerateInstances(broker, context, asked, NULL, &status);
  while (found != NULL && found->ft->hasNext(found, NULL)) {
    CMPIData data = found->ft->getNext(found, NULL);
    if (names) {
      result->ft->returnObjectPath(result, data.value.ref);
    } else {
      result->ft->returnInstance(result, data.value.inst);
    }
  }
  return status;
}

static CMPIStatus cleanupAnswer(const char* provider, const char* kind, const CMPIContext* context,
                                CMPIBoolean terminating) {
  char name[64];
  note("%s cleanup %s %d entries %u", provider, kind, terminating,
       context->ft->getEntryCount(context, NULL));
  snprintf(name, sizeof name, "%s.cleanup.%s", provider, kind);
  if (setting("cleanup.upcall")) {
    CMPIStatus status;
    CMPIObjectPath* path = broker->eft->newObjectPath(broker, "root/test", "Test_Disk", NULL);
    broker->bft->enumerateInstances(broker, context, path, NULL, &status);
    return status;
  }
  return statusOf((CMPIrc)setting(name), NULL);
}

static CMPIStatus instanceCleanup(CMPIInstanceMI* mi, const CMPIContext* context,
                                  CMPIBoolean terminating) {
  return cleanupAnswer(mi->hdl, "instance", context, terminating);
}

static CMPIStatus enumerateInstanceNames(CMPIInstanceMI* mi, const CMPIContext* context,
                                         const CMPIResult* result, const CMPIObjectPath* path) {
  int i;
  char id[64];
  note("%s enumerateInstanceNames %s", (const char*)mi->hdl, className(path));
  if (strcasecmp(className(path), "Test_Caller") == 0) {
    CMPIStatus status = relay(context, result, path, "Test_Disk", 1);
    result->ft->returnDone(result);
    return status;
  }
  for (i = 0; i < 2; ++i) {
    snprintf(id, sizeof id, "%s-%s-%d", (const char*)mi->hdl, className(path), i);
    result->ft->returnObjectPath(result, makePath(nameSpace(path), className(path), id));
  }
  result->ft->returnDone(result);
  return statusOf(CMPI_RC_OK, NULL);
}

static CMPIStatus enumerateInstances(CMPIInstanceMI* mi, const CMPIContext* context,
                                     const CMPIResult* result, const CMPIObjectPath* path,
                                     const char** props) {
  int i;
  char id[64];
  char list[256];
  const char* class = className(path);
  note("%s enumerateInstances %s %s", (const char*)mi->hdl, class,
       listText(props, list, sizeof list));
  if (strcasecmp(class, "Test_Caller") == 0) {
    return relay(context, result, path, setting("relay.failing") ? "Test_Failing" : "Test_Disk", 0);
  }
  for (i = 0; i < 2; ++i) {
    CMPIObjectPath* own;
    snprintf(id, sizeof id, "%s-%s-%d", (const char*)mi->hdl, class, i);
    own = makePath(nameSpace(path), class, id);
    if (setting("asData")) {
      CMPIValue value;
      value.inst = makeInstance(own, props, (CMPIUint64)i);
      result->ft->returnData(result, &value, CMPI_instance);
    } else {
      result->ft->returnInstance(result, makeInstance(own, props, (CMPIUint64)i));
    }
    if (strcasecmp(class, "Test_Failing") == 0) {
      return statusOf(CMPI_RC_ERR_INVALID_PARAMETER, "broken on purpose");
    }
  }
  result->ft->returnDone(result);
  return statusOf(CMPI_RC_OK, NULL);
}

static CMPIStatus getInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                              const CMPIResult* result, const CMPIObjectPath* path,
                              const char** props) {
  char list[256];
  const char* id = idOf(path);
  note("%s getInstance %s %s %s", (const char*)mi->hdl, className(path), id,
       listText(props, list, sizeof list));
  if (strcasecmp(className(path), "Test_Misuse") == 0) return misuse(id, context, result, path);
  if (strcasecmp(className(path), "Test_Caller") == 0) {
    CMPIStatus status = {CMPI_RC_OK, NULL};
    CMPIInstance* found = broker->bft->getInstance(
        broker, context, makePath(nameSpace(path), "Test_Disk", id), NULL, &status);
    if (found == NULL) return status;
    return result->ft->returnInstance(result, found);
  }
  if (strcmp(id, "gone") == 0) {
    result->ft->returnDone(result);
    return statusOf(CMPI_RC_OK, NULL);
  }
  if (strcmp(id, "error") == 0) return statusOf(CMPI_RC_ERR_ACCESS_DENIED, "not for you");
  if (strcmp(id, "silent") == 0) return statusOf(CMPI_RC_ERR_ACCESS_DENIED, NULL);
  if (setting("asData")) {
    CMPIValue value;
    value.inst = makeInstance(path, props, 7);
    return result->ft->returnData(result, &value, CMPI_instance);
  }
  result->ft->returnInstance(result, makeInstance(path, props, 7));
  if (strcmp(id, "two") == 0) result->ft->returnInstance(result, makeInstance(path, props, 8));
  result->ft->returnDone(result);
  return statusOf(CMPI_RC_OK, NULL);
}

static CMPIStatus createInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                                 const CMPIResult* result, const CMPIObjectPath* path,
                                 const CMPIInstance* instance) {
  CMPIData name = instance->ft->getProperty(instance, "Name", NULL);
  (void)context;
  note("%s createInstance %s %s", (const char*)mi->hdl, className(path),
       name.value.string->ft->getCharPtr(name.value.string, NULL));
  return result->ft->returnObjectPath(result, path);
}

static CMPIStatus modifyInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                                 const CMPIResult* result, const CMPIObjectPath* path,
                                 const CMPIInstance* instance, const char** props) {
  char list[256];
  (void)context;
  (void)result;
  (void)instance;
  note("%s modifyInstance %s %s", (const char*)mi->hdl, className(path),
       listText(props, list, sizeof list));
  return statusOf(CMPI_RC_OK, NULL);
}

static CMPIStatus deleteInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                                 const CMPIResult* result, const CMPIObjectPath* path) {
  (void)context;
  (void)result;
  note("%s deleteInstance %s", (const char*)mi->hdl, className(path));
  return statusOf(CMPI_RC_ERR_NOT_SUPPORTED, NULL);
}

static CMPIInstanceMIFT instanceTable = {200,
                                         200,
                                         "instanceSample",
                                         instanceCleanup,
                                         enumerateInstanceNames,
                                         enumerateInstances,
                                         getInstance,
                                         createInstance,
                                         modifyInstance,
                                         deleteInstance,
                                         NULL};

/* Associations. */
static const char* textOrNull(const char* text) { return text != NULL ? text : "null"; }

static CMPIStatus associationCleanup(CMPIAssociationMI* mi, const CMPIContext* context,
                                     CMPIBoolean terminating) {
  return cleanupAnswer(mi->hdl, "association", context, terminating);
}

static CMPIObjectPath* makeLink(const CMPIObjectPath* source, int complete) {
  CMPIObjectPath* link = broker->eft->newObjectPath(broker, nameSpace(source), "Test_Link", NULL);
  CMPIValue value;
  value.ref = (CMPIObjectPath*)source;
  link->ft->addKey(link, "From", &value, CMPI_ref);
  value.ref = complete ? makePath(nameSpace(source), "Test_Disk", "far") : NULL;
  link->ft->addKey(link, "To", &value, CMPI_ref);
  return link;
}

static CMPIStatus associators(CMPIAssociationMI* mi, const CMPIContext* context,
                              const CMPIResult* result, const CMPIObjectPath* path,
                              const char* assocClass, const char* resultClass, const char* role,
                              const char* resultRole, const char** props) {
  char list[256];
  (void)context;
  note("%s associators %s %s %s %s %s %s", (const char*)mi->hdl, className(path),
       textOrNull(assocClass), textOrNull(resultClass), textOrNull(role), textOrNull(resultRole),
       listText(props, list, sizeof list));
  result->ft->returnInstance(
      result, makeInstance(makePath(nameSpace(path), "Test_Disk", mi->hdl), props, 1));
  result->ft->returnDone(result);
  return statusOf((CMPIrc)setting("associators"), NULL);
}

static CMPIStatus associatorNames(CMPIAssociationMI* mi, const CMPIContext* context,
                                  const CMPIResult* result, const CMPIObjectPath* path,
                                  const char* assocClass, const char* resultClass, const char* role,
                                  const char* resultRole) {
  (void)context;
  note("%s associatorNames %s %s %s %s %s", (const char*)mi->hdl, className(path),
       textOrNull(assocClass), textOrNull(resultClass), textOrNull(role), textOrNull(resultRole));
  return result->ft->returnObjectPath(result, makePath(nameSpace(path), "Test_Disk", mi->hdl));
}

static CMPIStatus references(CMPIAssociationMI* mi, const CMPIContext* context,
                             const CMPIResult* result, const CMPIObjectPath* path,
                             const char* resultClass, const char* role, const char** props) {
  char list[256];
  (void)context;
  note("%s references %s %s %s %s", (const char*)mi->hdl, className(path), textOrNull(resultClass),
       textOrNull(role), listText(props, list, sizeof list));
  return result->ft->returnInstance(result,
                                    broker->eft->newInstance(broker, makeLink(path, 1), NULL));
}

static CMPIStatus referenceNames(CMPIAssociationMI* mi, const CMPIContext* context,
                                 const CMPIResult* result, const CMPIObjectPath* path,
                                 const char* resultClass, const char* role) {
  (void)context;
  note("%s referenceNames %s %s %s", (const char*)mi->hdl, className(path), textOrNull(resultClass),
       textOrNull(role));
  return result->ft->returnObjectPath(result, makeLink(path, !setting("link.incomplete")));
}

static CMPIAssociationMIFT associationTable = {200,
                                               200,
                                               "associationSample",
                                               associationCleanup,
                                               associators,
                                               associatorNames,
                                               references,
                                               referenceNames};

/* Indications. */
static CMPIStatus indicationCleanup(CMPIIndicationMI* mi, const CMPIContext* context,
                                    CMPIBoolean terminating) {
  return cleanupAnswer(mi->hdl, "indication", context, terminating);
}

static const char* queryOf(const CMPISelectExp* filter) {
  CMPIString* text = filter->ft->getString(filter, NULL);
  return text->ft->getCharPtr(text, NULL);
}

static CMPIStatus authorizeFilter(CMPIIndicationMI* mi, const CMPIContext* context,
                                  const CMPISelectExp* filter, const char* class,
                                  const CMPIObjectPath* path, const char* owner) {
  note("%s authorizeFilter %s %s:%s owner %s entries %u [%s]", (const char*)mi->hdl, class,
       nameSpace(path), className(path), textOrNull(owner),
       context->ft->getEntryCount(context, NULL), queryOf(filter));
  return statusOf((CMPIrc)setting("authorizeFilter"), "authorize says so");
}

static CMPIStatus mustPoll(CMPIIndicationMI* mi, const CMPIContext* context,
                           const CMPISelectExp* filter, const char* class,
                           const CMPIObjectPath* path) {
  (void)context;
  (void)filter;
  note("%s mustPoll %s %s", (const char*)mi->hdl, class, className(path));
  return statusOf(CMPI_RC_ERR_NOT_SUPPORTED, NULL);
}

static CMPIStatus activateFilter(CMPIIndicationMI* mi, const CMPIContext* context,
                                 const CMPISelectExp* filter, const char* class,
                                 const CMPIObjectPath* path, CMPIBoolean first) {
  (void)context;
  (void)filter;
  (void)path;
  note("%s activateFilter %s first %d", (const char*)mi->hdl, class, first);
  return statusOf((CMPIrc)setting("activateFilter"), NULL);
}

static CMPIStatus deActivateFilter(CMPIIndicationMI* mi, const CMPIContext* context,
                                   const CMPISelectExp* filter, const char* class,
                                   const CMPIObjectPath* path, CMPIBoolean last) {
  (void)context;
  (void)filter;
  (void)path;
  note("%s deActivateFilter %s last %d", (const char*)mi->hdl, class, last);
  return statusOf((CMPIrc)setting("deActivateFilter"), NULL);
}

static CMPIStatus enableIndications(CMPIIndicationMI* mi, const CMPIContext* context) {
  note("%s enableIndications entries %u", (const char*)mi->hdl,
       context->ft->getEntryCount(context, NULL));
  return statusOf(CMPI_RC_OK, NULL);
}

static CMPIStatus disableIndications(CMPIIndicationMI* mi, const CMPIContext* context) {
  note("%s disableIndications entries %u", (const char*)mi->hdl,
       context->ft->getEntryCount(context, NULL));
  return statusOf(CMPI_RC_OK, NULL);
}

static CMPIIndicationMIFT indicationTable = {200,
                                             200,
                                             "indicationSample",
                                             indicationCleanup,
                                             authorizeFilter,
                                             mustPoll,
                                             activateFilter,
                                             deActivateFilter,
                                             enableIndications,
                                             disableIndications};

/* Delivers one indication on the prepared context; for the test to call from a thread of its own.
 */
EXPORT int sampleDeliver(const char* class, const char* text, unsigned level) {
  CMPIGcStat* mark = broker->mft->mark(broker, NULL);
  CMPIObjectPath* path = broker->eft->newObjectPath(broker, "root/test", class, NULL);
  CMPIInstance* instance = broker->eft->newInstance(broker, path, NULL);
  CMPIValue value;
  CMPIStatus status;
  value.uint32 = level;
  instance->ft->setProperty(instance, "Level", &value, CMPI_uint32);
  instance->ft->setProperty(instance, "Text", (const CMPIValue*)text, CMPI_chars);
  status = broker->bft->deliverIndication(broker, prepared, "root/test", instance);
  broker->mft->release(broker, mark);
  return (int)status.rc;
}

/* A thread of the provider that polls as monitors do, until it is told to stop. */
static pthread_cond_t wake = PTHREAD_COND_INITIALIZER;
static pthread_t worker;
static int workerRuns;
static int workerRounds;

static void* work(void* parameter) {
  const CMPIContext* context = parameter;
  broker->bft->attachThread(broker, context);
  pthread_mutex_lock(&lock);
  while (workerRuns) {
    CMPIGcStat* mark;
    pthread_mutex_unlock(&lock);
    mark = broker->mft->mark(broker, NULL);
    makePath("root/test", "Test_Disk", "worker");
    broker->mft->release(broker, mark);
    pthread_mutex_lock(&lock);
    ++workerRounds;
    pthread_cond_broadcast(&wake);
  }
  pthread_mutex_unlock(&lock);
  return NULL;
}

EXPORT void sampleStartWorker(void) {
  workerRuns = 1;
  pthread_create(&worker, NULL, work, prepared);
}

EXPORT void sampleAwaitWorker(int rounds) {
  pthread_mutex_lock(&lock);
  rounds += workerRounds;
  while (workerRounds < rounds) pthread_cond_wait(&wake, &lock);
  pthread_mutex_unlock(&lock);
}

EXPORT void sampleStopWorker(void) {
  pthread_mutex_lock(&lock);
  workerRuns = 0;
  pthread_mutex_unlock(&lock);
  pthread_join(worker, NULL);
}

EXPORT const CMPIContext* samplePrepared(void) { return prepared; }

/* Factories. Those of different provider names may run at once. */
static pthread_mutex_t factoryLock = PTHREAD_MUTEX_INITIALIZER; /* guards what noteFactory keeps */

static void noteFactory(const char* provider, const char* kind, const CMPIBroker* mb,
                        const CMPIContext* context, const CMPIStatus* rc) {
  CMPIData principal = context->ft->getEntry(context, "CMPIPrincipal", NULL);
  CMPIStatus status;
  CMPIData parameters = context->ft->getEntry(context, "sfcbProviderParameters", &status);
  pthread_mutex_lock(&factoryLock);
  if (broker == NULL) broker = mb; /* the same record for ever; threads of ours read it */
  factoryContext = context;
  if (prepared != NULL) mb->bft->detachThread(mb, prepared);
  prepared = mb->bft->prepareAttachThread(mb, context);
  pthread_mutex_unlock(&factoryLock);
  note("%s factory %s principal %s rc %d parameters %s", provider, kind,
       principal.value.string->ft->getCharPtr(principal.value.string, NULL), rc->rc,
       status.rc == CMPI_RC_OK
           ? parameters.value.string->ft->getCharPtr(parameters.value.string, NULL)
           : "none");
}

EXPORT void sampleDropPrepared(void) {
  if (prepared != NULL) broker->bft->detachThread(broker, prepared);
  prepared = NULL;
}

#define PROVIDER(name)                                                                            \
  EXPORT CMPIInstanceMI* name##_Create_InstanceMI(const CMPIBroker* mb, const CMPIContext* ctx,   \
                                                  CMPIStatus* rc) {                               \
    static CMPIInstanceMI mi = {#name, &instanceTable};                                           \
    noteFactory(#name, "instance", mb, ctx, rc);                                                  \
    if (setting(#name ".factory.rc")) rc->rc = (CMPIrc)setting(#name ".factory.rc");              \
    return setting(#name ".factory.null") ? NULL : &mi;                                           \
  }                                                                                               \
  EXPORT CMPIAssociationMI* name##_Create_AssociationMI(const CMPIBroker* mb,                     \
                                                        const CMPIContext* ctx, CMPIStatus* rc) { \
    static CMPIAssociationMI mi = {#name, &associationTable};                                     \
    noteFactory(#name, "association", mb, ctx, rc);                                               \
    return &mi;                                                                                   \
  }                                                                                               \
  EXPORT CMPIIndicationMI* name##_Create_IndicationMI(const CMPIBroker* mb,                       \
                                                      const CMPIContext* ctx, CMPIStatus* rc) {   \
    static CMPIIndicationMI mi = {#name, &indicationTable};                                       \
    noteFactory(#name, "indication", mb, ctx, rc);                                                \
    return &mi;                                                                                   \
  }

PROVIDER(Sample)
PROVIDER(Other)
PROVIDER(Third)

/* Calls back into its own class from the factory. */
EXPORT CMPIInstanceMI* Looping_Create_InstanceMI(const CMPIBroker* mb, const CMPIContext* ctx,
                                                 CMPIStatus* rc) {
  static CMPIInstanceMI mi = {"Looping", &instanceTable};
  CMPIObjectPath* path = mb->eft->newObjectPath(mb, "root/test", "Test_Looping", NULL);
  CMPIStatus status;
  noteFactory("Looping", "instance", mb, ctx, rc);
  mb->bft->enumerateInstances(mb, ctx, path, NULL, &status);
  note("Looping up-call %d", status.rc);
  return &mi;
}

/* A table with nothing in it. */
EXPORT CMPIInstanceMI* Hollow_Create_InstanceMI(const CMPIBroker* mb, const CMPIContext* ctx,
                                                CMPIStatus* rc) {
  static CMPIInstanceMIFT table = {200,  200,  "hollow", NULL, NULL, NULL,
                                   NULL, NULL, NULL,     NULL, NULL};
  static CMPIInstanceMI mi = {"Hollow", &table};
  noteFactory("Hollow", "instance", mb, ctx, rc);
  return &mi;
}

/* A record without a table. */
EXPORT CMPIInstanceMI* Tableless_Create_InstanceMI(const CMPIBroker* mb, const CMPIContext* ctx,
                                                   CMPIStatus* rc) {
  static CMPIInstanceMI mi = {"Tableless", NULL};
  noteFactory("Tableless", "instance", mb, ctx, rc);
  return &mi;
}
