/* A library with a generic factory: it is asked before the provider's own one and told the name. */
#include <string.h>

#include "cmpi/abi/cmpi_tables.h"

#define EXPORT __attribute__((visibility("default")))

static char names[256];

EXPORT const char* genericNames(void) { return names; }

static CMPIStatus cleanup(CMPIInstanceMI* mi, const CMPIContext* context, CMPIBoolean terminating) {
  CMPIStatus status = {CMPI_RC_OK, NULL};
  (void)mi;
  (void)context;
  (void)terminating;
  return status;
}

EXPORT CMPIInstanceMI* _Generic_Create_InstanceMI(const CMPIBroker* broker,
                                                  const CMPIContext* context, const char* name,
                                                  CMPIStatus* rc) {
  static CMPIInstanceMIFT table = {200,  200,  "generic", cleanup, NULL, NULL,
                                   NULL, NULL, NULL,      NULL,    NULL};
  static CMPIInstanceMI mi = {NULL, &table};
  (void)broker;
  (void)context;
  (void)rc;
  strncat(names, name, sizeof names - strlen(names) - 1);
  return &mi;
}
