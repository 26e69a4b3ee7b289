#include "qel/fields/layout_digest.h"

#include <openssl/evp.h>

#include <memory>
#include <string>

#include "qel/frame/error.h"

namespace qel {
namespace {

struct ContextDeleter {
  void operator()(EVP_MD_CTX* ctx) const { EVP_MD_CTX_free(ctx); }
};

[[noreturn]] void DigestFailed() {
  RaiseError(E_FAIL, u"LayoutDigest", u"No se pudo calcular la firma del registro");
}

}  // namespace

Text LayoutDigest(TextView layout_name, std::span<const TextView> descriptors, int32_t total) {
  std::unique_ptr<EVP_MD_CTX, ContextDeleter> ctx(EVP_MD_CTX_new());
  if (!ctx || EVP_DigestInit_ex(ctx.get(), EVP_md5(), nullptr) != 1) DigestFailed();
  std::string bytes;
  auto feed = [&](const std::string& piece) {
    if (EVP_DigestUpdate(ctx.get(), piece.data(), piece.size()) != 1) DigestFailed();
  };
  const std::string name = ToAnsi(layout_name);
  feed("SD:1.0:" + name);
  for (const TextView line : descriptors) {
    bytes = ToAnsi(line);
    feed(bytes);
  }
  feed("CS:" + std::to_string(total) + ":" + name);
  unsigned char md[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  if (EVP_DigestFinal_ex(ctx.get(), md, &size) != 1) DigestFailed();
  static constexpr char16_t kHex[] = u"0123456789ABCDEF";
  Text out;
  out.reserve(size * 2);
  for (unsigned int i = 0; i < size; ++i) {
    out.push_back(kHex[md[i] >> 4]);
    out.push_back(kHex[md[i] & 15]);
  }
  return out;
}

}  // namespace qel
