#pragma once

#include <memory>
#include <string>

struct gnutls_session_int;

namespace orv::serve {

/// Certificate and key of the server, and the authority whose certificates clients may show.
class TlsCredentials {
 public:
  struct Files {
    std::string certificate;      ///< PEM, the server's first, then what leads to its authority
    std::string key;              ///< PEM, without a password
    std::string clientAuthority;  ///< PEM; empty: clients are not asked for certificates
  };

  /// Reads the files. Fails: std::runtime_error with a message that names the file.
  explicit TlsCredentials(Files files);
  ~TlsCredentials();
  TlsCredentials(const TlsCredentials&) = delete;
  TlsCredentials& operator=(const TlsCredentials&) = delete;

  /// Reads the files again. What cannot be read is logged and changes nothing; handshakes
  /// that begin later use what was read. Thread-safe.
  void reload();

  /// Name of the client's certificate (its common name) when the authority vouches for it now;
  /// empty otherwise. Thread-safe.
  std::string verifiedName(gnutls_session_int* session) const;

  /// PEM of the authority as it was at construction; empty: none.
  const std::string& authorityText() const;

  /// What chooses the certificate of a handshake, a gnutls_certificate_retrieve_function3. It has
  /// no argument of its own, so that the credentials made last serve the whole process.
  static void* chooser();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orv::serve
