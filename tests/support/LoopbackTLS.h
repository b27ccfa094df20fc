// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include "LoopbackServer.h"

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

namespace kestova::testing {

/// A key with a certificate that it signed itself, for a server of a test.
class SelfSignedCertificate {
 public:
  /// For an address or host such as "IP:127.0.0.1", valid between two moments in seconds from now.
  SelfSignedCertificate(const std::string& host, long validFrom, long validUntil) {
    X509_set_version(certificate_.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate_.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate_.get()), validFrom);
    X509_gmtime_adj(X509_getm_notAfter(certificate_.get()), validUntil);
    X509_set_pubkey(certificate_.get(), key_.get());
    X509_NAME* const name = X509_get_subject_name(certificate_.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>("test"), -1, -1, 0);
    X509_set_issuer_name(certificate_.get(), name);
    addExtension(NID_subject_alt_name, host.c_str());
    addExtension(NID_basic_constraints, "critical,CA:TRUE");
    if (X509_sign(certificate_.get(), key_.get(), EVP_sha256()) == 0) {
      throw std::runtime_error("no certificate can be made");
    }
  }

  /// Writes the certificate where a client may find it and trust it.
  void writeTo(const std::string& path) const {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "w"),
                                                               std::fclose);
    PEM_write_X509(file.get(), certificate_.get());
  }

  X509* certificate() const { return certificate_.get(); }
  EVP_PKEY* key() const { return key_.get(); }

 private:
  void addExtension(int kind, const char* value) {
    X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, nullptr, kind, value);
    X509_add_ext(certificate_.get(), extension, -1);
    X509_EXTENSION_free(extension);
  }

  std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key_{EVP_EC_gen("P-256"), EVP_PKEY_free};
  std::unique_ptr<X509, decltype(&X509_free)> certificate_{X509_new(), X509_free};
};

/// What serves one request of each connection over TLS with that certificate, which must stay.
inline LoopbackServer::Service servingTLS(const SelfSignedCertificate& own,
                                          const std::string& answer) {
  return [&own, answer](LoopbackClient& client) {
    const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context(
        SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    SSL_CTX_use_certificate(context.get(), own.certificate());
    SSL_CTX_use_PrivateKey(context.get(), own.key());
    const std::unique_ptr<SSL, decltype(&SSL_free)> connection(SSL_new(context.get()), SSL_free);
    SSL_set_fd(connection.get(), client.socket());
    char request[4096];
    if (SSL_accept(connection.get()) == 1 &&
        SSL_read(connection.get(), request, sizeof request) > 0) {
      SSL_write(connection.get(), answer.data(), static_cast<int>(answer.size()));
      SSL_shutdown(connection.get());
    }
  };
}

}  // namespace kestova::testing
