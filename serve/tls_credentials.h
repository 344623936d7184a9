#pragma once

#include <memory>
#include <string>

struct gnutls_session_int;

namespace orv::serve {

/// Certificate and key of the server, and the authority that issues client certificates.
class TlsCredentials {
 public:
  struct Files {
    std::string certificate;      ///< PEM, the server's first, then the rest of its chain
    std::string key;              ///< PEM, not encrypted
    std::string clientAuthority;  ///< PEM; empty: clients are not asked for certificates
  };

  /// Reads the files and logs certificates that expire soon. Fails: std::runtime_error with a
  /// message that names the file.
  explicit TlsCredentials(Files files);
  ~TlsCredentials();
  TlsCredentials(const TlsCredentials&) = delete;
  TlsCredentials& operator=(const TlsCredentials&) = delete;

  /// Reads the files again, for handshakes that begin later. If one cannot be read, logs this and
  /// keeps all that was read before. Thread-safe.
  void reload();

  /// Common name of the client's certificate if the authority issued it and it is valid now; empty
  /// otherwise. A valid certificate without a name gives a text that says so. Thread-safe.
  std::string verifiedName(gnutls_session_int* session) const;

  /// PEM of the client authority as it was at construction; empty: none.
  const std::string& authorityText() const;

  /// The function that chooses the certificate of a handshake, a
  /// gnutls_certificate_retrieve_function3. It cannot be given an argument, so it serves the
  /// credentials constructed last in the process.
  static void* chooser();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orv::serve
