#include "tests/faults/failing_system_call.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "tests/faults/library_code.h"

namespace {

std::atomic<bool> counting{false};
const char* only = nullptr;  // all names when null; set while nothing is counted
std::atomic<std::size_t> made{0};
std::atomic<std::size_t> failing{0};
std::atomic<const char*> failedCall{nullptr};

bool fails(const char* name, const void* caller) {
  if (!counting || (only != nullptr && std::strcmp(only, name) != 0)) return false;
  if (!orv::test::isOfTheLibrary(caller) || made++ != failing) return false;
  failedCall = name;
  return true;
}

/// Whoever would have been called.
template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

template <typename Result>
Result failure(int error, Result result) {
  errno = error;
  return result;
}

mode_t modeOf(int flags, va_list more) {
  return (flags & (O_CREAT | O_TMPFILE)) == 0 ? 0 : va_arg(more, mode_t);
}

}  // namespace

// A call with all its arguments as they are, unless it is the one to fail.
#define ORV_FAILS(name) fails(#name, __builtin_return_address(0))
#define ORV_NEXT(name)                                        \
  ([] {                                                       \
    static const auto function = next<decltype(name)>(#name); \
    return function;                                          \
  }())

extern "C" {
#pragma GCC visibility push(default)

int open(const char* path, int flags, ...) {
  if (ORV_FAILS(open)) return failure(EMFILE, -1);
  va_list more;
  va_start(more, flags);
  const mode_t mode = modeOf(flags, more);
  va_end(more);
  return ORV_NEXT(open)(path, flags, mode);
}
int open64(const char* path, int flags, ...) {
  if (ORV_FAILS(open64)) return failure(EMFILE, -1);
  va_list more;
  va_start(more, flags);
  const mode_t mode = modeOf(flags, more);
  va_end(more);
  return ORV_NEXT(open64)(path, flags, mode);
}
FILE* fopen(const char* path, const char* mode) {
  return ORV_FAILS(fopen) ? failure<FILE*>(EMFILE, nullptr) : ORV_NEXT(fopen)(path, mode);
}
FILE* fopen64(const char* path, const char* mode) {
  return ORV_FAILS(fopen64) ? failure<FILE*>(EMFILE, nullptr) : ORV_NEXT(fopen64)(path, mode);
}
DIR* opendir(const char* path) {
  return ORV_FAILS(opendir) ? failure<DIR*>(EMFILE, nullptr) : ORV_NEXT(opendir)(path);
}
dirent* readdir(DIR* directory) {
  return ORV_FAILS(readdir) ? failure<dirent*>(EIO, nullptr) : ORV_NEXT(readdir)(directory);
}
dirent64* readdir64(DIR* directory) {
  return ORV_FAILS(readdir64) ? failure<dirent64*>(EIO, nullptr) : ORV_NEXT(readdir64)(directory);
}
ssize_t readlink(const char* path, char* target, size_t size) {
  return ORV_FAILS(readlink) ? failure<ssize_t>(EIO, -1) : ORV_NEXT(readlink)(path, target, size);
}
int stat(const char* path, struct stat* status) {
  return ORV_FAILS(stat) ? failure(EIO, -1) : ORV_NEXT(stat)(path, status);
}
ssize_t read(int descriptor, void* buffer, size_t size) {
  return ORV_FAILS(read) ? failure<ssize_t>(EIO, -1) : ORV_NEXT(read)(descriptor, buffer, size);
}
int ioctl(int descriptor, unsigned long request, ...) {
  if (ORV_FAILS(ioctl)) return failure(EIO, -1);
  va_list more;
  va_start(more, request);
  void* argument = va_arg(more, void*);
  va_end(more);
  return ORV_NEXT(ioctl)(descriptor, request, argument);
}
int socket(int domain, int type, int protocol) {
  return ORV_FAILS(socket) ? failure(ENFILE, -1) : ORV_NEXT(socket)(domain, type, protocol);
}
int bind(int socket, const sockaddr* address, socklen_t size) {
  return ORV_FAILS(bind) ? failure(ENOMEM, -1) : ORV_NEXT(bind)(socket, address, size);
}
ssize_t sendto(int socket, const void* bytes, size_t size, int flags, const sockaddr* address,
               socklen_t addressSize) {
  return ORV_FAILS(sendto) ? failure<ssize_t>(ENOBUFS, -1)
                           : ORV_NEXT(sendto)(socket, bytes, size, flags, address, addressSize);
}
ssize_t recvmsg(int socket, msghdr* message, int flags) {
  return ORV_FAILS(recvmsg) ? failure<ssize_t>(ENOBUFS, -1)
                            : ORV_NEXT(recvmsg)(socket, message, flags);
}
ssize_t recvfrom(int socket, void* buffer, size_t size, int flags, sockaddr* address,
                 socklen_t* addressSize) {
  return ORV_FAILS(recvfrom)
             ? failure<ssize_t>(ENOBUFS, -1)
             : ORV_NEXT(recvfrom)(socket, buffer, size, flags, address, addressSize);
}
int getifaddrs(ifaddrs** list) {
  return ORV_FAILS(getifaddrs) ? failure(ENOBUFS, -1) : ORV_NEXT(getifaddrs)(list);
}
int gethostname(char* name, size_t size) {
  return ORV_FAILS(gethostname) ? failure(ENAMETOOLONG, -1) : ORV_NEXT(gethostname)(name, size);
}
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                   void* argument) {
  return ORV_FAILS(pthread_create) ? EAGAIN
                                   : ORV_NEXT(pthread_create)(thread, attributes, start, argument);
}

#pragma GCC visibility pop
}

namespace orv::test {

FailingSystemCall::FailingSystemCall(std::size_t number, const char* name) {
  only = name;
  made = 0;
  failing = number;
  failedCall = nullptr;
  counting = true;
}

FailingSystemCall::~FailingSystemCall() { counting = false; }

std::string FailingSystemCall::failed() const {
  const char* name = failedCall;
  return name == nullptr ? "" : name;
}

}  // namespace orv::test
