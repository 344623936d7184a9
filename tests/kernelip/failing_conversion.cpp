#include "tests/kernelip/failing_conversion.h"

#include <arpa/inet.h>

namespace {

bool refused = false;

}  // namespace

orv::test::RefusedConversions::RefusedConversions() { refused = true; }

orv::test::RefusedConversions::~RefusedConversions() { refused = false; }

extern "C" {

const char* __real_inet_ntop(int family, const void* address, char* text, socklen_t size);

const char* __wrap_inet_ntop(int family, const void* address, char* text, socklen_t size) {
  return refused ? nullptr : __real_inet_ntop(family, address, text, size);
}

}  // extern "C"
