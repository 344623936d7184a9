// Certificates when GnuTLS has no memory. The program replaces some of its functions.

#include "serve/tls_credentials.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gnutls/abstract.h>
#include <gnutls/x509.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace {

bool keysFail = false;
bool trustListsFail = false;

}  // namespace

extern "C" __attribute__((visibility("default"))) int gnutls_privkey_init(gnutls_privkey_t* key) {
  static const auto next =
      reinterpret_cast<int (*)(gnutls_privkey_t*)>(dlsym(RTLD_NEXT, "gnutls_privkey_init"));
  return keysFail ? GNUTLS_E_MEMORY_ERROR : next(key);
}

extern "C" __attribute__((visibility("default"))) int gnutls_x509_trust_list_init(
    gnutls_x509_trust_list_t* list, unsigned size) {
  using Init = int (*)(gnutls_x509_trust_list_t*, unsigned);
  static const auto next = reinterpret_cast<Init>(dlsym(RTLD_NEXT, "gnutls_x509_trust_list_init"));
  return trustListsFail ? GNUTLS_E_MEMORY_ERROR : next(list, size);
}

namespace orv::serve {
namespace {

using testing::HasSubstr;

class TlsCredentialsTest : public testing::Test {
 protected:
  TlsCredentialsTest() {
    if (mkdtemp(directory_) == nullptr) std::abort();
    const std::string in = std::string(directory_) + "/";
    files_ = {in + "cert.pem", in + "key.pem", in + "cert.pem"};
    const std::string command = "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 " +
                                ("-nodes -keyout " + files_.key) + " -out " + files_.certificate +
                                " -days 60 -subj /CN=host >/dev/null 2>&1";
    made_ = std::system(command.c_str()) == 0;  // NOLINT: a command of this test's own
  }
  ~TlsCredentialsTest() override {
    keysFail = trustListsFail = false;
    std::filesystem::remove_all(directory_);
  }
  void SetUp() override {
    if (!made_) GTEST_SKIP() << "openssl is not installed";
  }

  char directory_[32] = "/tmp/orv-tls-test-XXXXXX";
  TlsCredentials::Files files_;
  bool made_ = false;
};

TEST_F(TlsCredentialsTest, WithoutMemoryThereAreNone) {
  keysFail = true;
  EXPECT_THROW(TlsCredentials{files_}, std::runtime_error);
  keysFail = false;
  trustListsFail = true;
  EXPECT_THROW(TlsCredentials{files_}, std::runtime_error);
  trustListsFail = false;
  EXPECT_NO_THROW(TlsCredentials{files_});
}

TEST_F(TlsCredentialsTest, AReloadWithoutMemoryKeepsThoseInUse) {
  TlsCredentials credentials(files_);
  for (bool* fail : {&keysFail, &trustListsFail}) {
    *fail = true;
    testing::internal::CaptureStderr();
    credentials.reload();
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("the certificates in use are kept"));
    *fail = false;
  }
}

}  // namespace
}  // namespace orv::serve
