#include "desktop/Digest.h"

#include <array>
#include <openssl/evp.h>

#include "desktop/Failure.h"
#include "desktop/Text.h"

namespace brelix {
namespace {

void Check(int result) {
  if (result != 1) throw Failure(Exit::kUnexpected, "this system's library has no SHA-256");
}

}  // namespace

struct Digest::State {
  EVP_MD_CTX* context = EVP_MD_CTX_new();
  ~State() { EVP_MD_CTX_free(context); }
};

Digest::Digest() : state_(std::make_unique<State>()) {
  Check(EVP_DigestInit_ex(state_->context, EVP_sha256(), nullptr));
}

Digest::~Digest() = default;

void Digest::Add(ByteView bytes) { Check(EVP_DigestUpdate(state_->context, bytes.data(), bytes.size())); }

std::string Digest::Text() {
  std::array<uint8_t, EVP_MAX_MD_SIZE> digest{};
  unsigned size = 0;
  Check(EVP_DigestFinal_ex(state_->context, digest.data(), &size));
  return Hex({reinterpret_cast<const char*>(digest.data()), size});
}

std::string DigestOf(ByteView bytes) {
  Digest digest;
  digest.Add(bytes);
  return digest.Text();
}

}  // namespace brelix
