#include "serve/tls_credentials.h"

#include <gnutls/abstract.h>
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include <ctime>
#include <fstream>
#include <iterator>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "serve/log.h"

namespace orv::serve {
namespace {

constexpr std::size_t kMaximumPemBytes = 1U << 20;
constexpr unsigned kMaximumChain = 16;
constexpr std::time_t kSoon = 14 * 24 * 3600;

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error(path + " cannot be read");
  std::string text(kMaximumPemBytes + 1, '\0');
  in.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(in.gcount()));
  if (text.size() > kMaximumPemBytes) throw std::runtime_error(path + " is too large");
  return text;
}

gnutls_datum_t datumOf(const std::string& text) {
  return {reinterpret_cast<unsigned char*>(const_cast<char*>(text.data())),
          static_cast<unsigned>(text.size())};
}

/// The certificates in a PEM text, freed with the object.
class Certificates {
 public:
  explicit Certificates(const std::string& text, const std::string& path) {
    const gnutls_datum_t datum = datumOf(text);
    const int error = gnutls_x509_crt_list_import2(&list_, &count_, &datum, GNUTLS_X509_FMT_PEM, 0);
    if (error < 0) {
      throw std::runtime_error(path + " holds no certificate in PEM: " + gnutls_strerror(error));
    }
  }
  ~Certificates() {
    for (unsigned i = 0; i < count_; ++i) gnutls_x509_crt_deinit(list_[i]);
    gnutls_free(list_);
  }
  Certificates(const Certificates&) = delete;
  Certificates& operator=(const Certificates&) = delete;

  gnutls_x509_crt_t first() const { return list_[0]; }
  gnutls_x509_crt_t* list() const { return list_; }
  unsigned count() const { return count_; }

 private:
  gnutls_x509_crt_t* list_ = nullptr;
  unsigned count_ = 0;
};

/// Fails: std::runtime_error for an error of GnuTLS.
void require(int result) {
  if (result < 0) throw std::runtime_error(std::string("TLS: ") + gnutls_strerror(result));
}

/// An imported key, freed with the object unless it is released.
class PrivateKey {
 public:
  PrivateKey(const std::string& text, const std::string& path) {
    require(gnutls_privkey_init(&key_));
    const gnutls_datum_t datum = datumOf(text);
    const int error = gnutls_privkey_import_x509_raw(key_, &datum, GNUTLS_X509_FMT_PEM, nullptr, 0);
    if (error < 0) {
      gnutls_privkey_deinit(key_);
      throw std::runtime_error(path + " holds no private key in PEM: " + gnutls_strerror(error));
    }
  }
  ~PrivateKey() {
    if (key_ != nullptr) gnutls_privkey_deinit(key_);
  }
  PrivateKey(const PrivateKey&) = delete;
  PrivateKey& operator=(const PrivateKey&) = delete;

  gnutls_privkey_t get() const { return key_; }
  gnutls_privkey_t release() { return std::exchange(key_, nullptr); }

 private:
  gnutls_privkey_t key_ = nullptr;
};

/// An empty public key, freed with the object.
class PublicKey {
 public:
  PublicKey() { require(gnutls_pubkey_init(&key_)); }
  ~PublicKey() { gnutls_pubkey_deinit(key_); }
  PublicKey(const PublicKey&) = delete;
  PublicKey& operator=(const PublicKey&) = delete;

  gnutls_pubkey_t get() const { return key_; }

 private:
  gnutls_pubkey_t key_ = nullptr;
};

using TrustList = std::unique_ptr<std::remove_pointer_t<gnutls_x509_trust_list_t>,
                                  void (*)(gnutls_x509_trust_list_t)>;

/// The certificates of a PEM text; none for an empty one.
TrustList trustListOf(const std::string& authority) {
  gnutls_x509_trust_list_t made = nullptr;
  require(gnutls_x509_trust_list_init(&made, 0));
  TrustList list(made, [](gnutls_x509_trust_list_t old) { gnutls_x509_trust_list_deinit(old, 1); });
  if (authority.empty()) return list;
  const gnutls_datum_t datum = datumOf(authority);
  const int added =
      gnutls_x509_trust_list_add_trust_mem(list.get(), &datum, nullptr, GNUTLS_X509_FMT_PEM, 0, 0);
  require(added);
  if (added == 0) throw std::runtime_error("TLS: no certificate of the authority can be used");
  return list;
}

void checkPair(const TlsCredentials::Files& files, const Certificates& chain,
               const PrivateKey& key) {
  const PublicKey fromCertificate;
  const PublicKey fromKey;
  unsigned char ids[2][64] = {};
  std::size_t sizes[2] = {sizeof ids[0], sizeof ids[1]};
  const bool match =
      gnutls_pubkey_import_x509(fromCertificate.get(), chain.first(), 0) == 0 &&
      gnutls_pubkey_import_privkey(fromKey.get(), key.get(), 0, 0) == 0 &&
      gnutls_pubkey_get_key_id(fromCertificate.get(), GNUTLS_KEYID_USE_SHA256, ids[0], &sizes[0]) ==
          0 &&
      gnutls_pubkey_get_key_id(fromKey.get(), GNUTLS_KEYID_USE_SHA256, ids[1], &sizes[1]) == 0 &&
      std::string(ids[0], ids[0] + sizes[0]) == std::string(ids[1], ids[1] + sizes[1]);
  if (!match) throw std::runtime_error(files.key + " is not the key of " + files.certificate);
}

void warnOfExpiry(const std::string& path, const Certificates& chain) {
  const std::time_t end = gnutls_x509_crt_get_expiration_time(chain.first());
  const std::time_t now = std::time(nullptr);
  if (end < now) {
    log(LogLevel::kWarning, path + " has expired; clients will refuse it");
  } else if (end < now + kSoon) {
    log(LogLevel::kWarning, path + " expires in less than two weeks");
  }
}

struct Texts {
  std::string certificate, key, authority;
};

/// Reads the files and checks that they can be used.
Texts readTexts(const TlsCredentials::Files& files) {
  Texts texts{readFile(files.certificate), readFile(files.key), ""};
  const Certificates chain(texts.certificate, files.certificate);
  checkPair(files, chain, PrivateKey(texts.key, files.key));
  warnOfExpiry(files.certificate, chain);
  if (!files.clientAuthority.empty()) {
    texts.authority = readFile(files.clientAuthority);
    warnOfExpiry(files.clientAuthority, Certificates(texts.authority, files.clientAuthority));
  }
  return texts;
}

std::mutex currentMutex;         // guards `current` and what it points to
const Texts* current = nullptr;  // of the credentials made last

/// Gives the library copies for one handshake, which it frees.
int choose(gnutls_session_t, const gnutls_cert_retr_st*, gnutls_pcert_st** chain, unsigned* count,
           gnutls_ocsp_data_st** ocsp, unsigned* ocspCount, gnutls_privkey_t* key,
           unsigned* flags) try {
  const std::lock_guard<std::mutex> lock(currentMutex);
  if (current == nullptr) return -1;
  PrivateKey imported(current->key, "");
  const gnutls_datum_t datum = datumOf(current->certificate);
  auto* list = static_cast<gnutls_pcert_st*>(gnutls_calloc(kMaximumChain, sizeof(gnutls_pcert_st)));
  if (list == nullptr) return -1;
  *count = kMaximumChain;
  if (gnutls_pcert_list_import_x509_raw(list, count, &datum, GNUTLS_X509_FMT_PEM, 0) < 0) {
    gnutls_free(list);
    return -1;
  }
  *chain = list;
  *key = imported.release();
  *ocsp = nullptr;
  *ocspCount = 0;
  *flags = GNUTLS_CERT_RETR_DEINIT_ALL;
  return 0;
} catch (const std::exception&) {
  return -1;
}

/// The common name of the first certificate that a client showed; empty when the chain is not
/// valid.
std::string nameOf(gnutls_x509_trust_list_t trusted, const gnutls_datum_t* shown, unsigned count) {
  gnutls_x509_crt_t chain[kMaximumChain] = {};
  unsigned made = 0;
  bool whole = count > 0 && count <= kMaximumChain;
  while (whole && made < count && gnutls_x509_crt_init(&chain[made]) == 0) {
    whole = gnutls_x509_crt_import(chain[made], &shown[made], GNUTLS_X509_FMT_DER) == 0;
    ++made;
  }
  unsigned problems = ~0U;
  char purpose[] = GNUTLS_KP_TLS_WWW_CLIENT;
  gnutls_typed_vdata_st wanted{};
  wanted.type = GNUTLS_DT_KEY_PURPOSE_OID;
  wanted.data = reinterpret_cast<unsigned char*>(purpose);
  std::string name;
  if (whole && made == count &&
      gnutls_x509_trust_list_verify_crt2(trusted, chain, count, &wanted, 1, 0, &problems,
                                         nullptr) == 0 &&
      problems == 0) {
    char text[256] = "";
    std::size_t size = sizeof text;
    const int error =
        gnutls_x509_crt_get_dn_by_oid(chain[0], GNUTLS_OID_X520_COMMON_NAME, 0, 0, text, &size);
    name = error == 0 && size > 0 ? std::string(text, size) : "(certificate without a name)";
  }
  for (unsigned i = 0; i < made; ++i) gnutls_x509_crt_deinit(chain[i]);
  return name;
}

}  // namespace

struct TlsCredentials::Impl {
  explicit Impl(Files names)
      : files(std::move(names)), texts(readTexts(files)), trusted(trustListOf(texts.authority)) {
    firstAuthority = texts.authority;
  }

  void trust(const std::string& authority) {
    TrustList fresh = trustListOf(authority);
    const std::lock_guard<std::mutex> lock(mutex);
    trusted = std::move(fresh);
  }

  const Files files;
  Texts texts;  // guarded by currentMutex
  std::string firstAuthority;
  mutable std::mutex mutex;  // guards `trusted`
  TrustList trusted;
};

TlsCredentials::TlsCredentials(Files files) : impl_(std::make_unique<Impl>(std::move(files))) {
  const std::lock_guard<std::mutex> lock(currentMutex);
  current = &impl_->texts;
}

TlsCredentials::~TlsCredentials() {
  const std::lock_guard<std::mutex> lock(currentMutex);
  if (current == &impl_->texts) current = nullptr;
}

void TlsCredentials::reload() try {
  Texts fresh = readTexts(impl_->files);
  impl_->trust(fresh.authority);
  const std::lock_guard<std::mutex> lock(currentMutex);
  impl_->texts = std::move(fresh);
} catch (const std::exception& error) {
  log(LogLevel::kError, std::string(error.what()) + "; the certificates in use are kept");
}

std::string TlsCredentials::verifiedName(gnutls_session_int* session) const {
  unsigned count = 0;
  const gnutls_datum_t* shown = gnutls_certificate_get_peers(session, &count);
  if (shown == nullptr || count == 0) return "";
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  return nameOf(impl_->trusted.get(), shown, count);
}

const std::string& TlsCredentials::authorityText() const { return impl_->firstAuthority; }

void* TlsCredentials::chooser() { return reinterpret_cast<void*>(&choose); }

}  // namespace orv::serve
