// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/MessageDigest.h>

#include <openssl/evp.h>
#include <openssl/provider.h>

namespace kestova {
namespace {

/// Looked up in a context of its own: the process's own may be limited, by its configuration, to
/// algorithms that protect. Made once and never freed.
const EVP_MD* md5() {
  static const EVP_MD* algorithm = [] {
    OSSL_LIB_CTX* context = OSSL_LIB_CTX_new();
    OSSL_PROVIDER_load(context, "default");
    return EVP_MD_fetch(context, "MD5", "-fips");
  }();
  return algorithm;
}

}  // namespace

struct MD5Digest::State {
  State() : context(EVP_MD_CTX_new()) { begin(); }
  ~State() { EVP_MD_CTX_free(context); }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  void begin() const {
    require(EVP_DigestInit_ex2(context, md5(), nullptr) == 1, "the system's libcrypto has MD5");
  }

  EVP_MD_CTX* context;
};

MD5Digest::MD5Digest() : state_(std::make_unique<State>()) {}
MD5Digest::~MD5Digest() = default;

void MD5Digest::update(std::span<const std::byte> bytes) {
  EVP_DigestUpdate(state_->context, bytes.data(), bytes.size());
}

MD5Digest::Sum MD5Digest::finish() {
  Sum sum;
  EVP_DigestFinal_ex(state_->context, reinterpret_cast<unsigned char*>(sum.data()), nullptr);
  state_->begin();
  return sum;
}

}  // namespace kestova
