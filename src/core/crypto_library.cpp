#include "core/crypto_library.h"

#include <memory>
#include <optional>

#include "core/loaded_library.h"

namespace tw {
namespace {

// The library's soname, as the development package it is built against links it.
constexpr const char* cryptoSoname = "libcrypto.so.3";

std::optional<CryptoLibrary> load() {
  void* library = ::dlopen(cryptoSoname, RTLD_NOW | RTLD_LOCAL);
  if (!library) return std::nullopt;
  CryptoLibrary crypto{};
  EVP_MD* (*fetch)(OSSL_LIB_CTX*, const char*, const char*) = nullptr;
  const bool complete = resolveSymbol(library, "EVP_MD_fetch", fetch) &&
                        resolveSymbol(library, "EVP_MD_CTX_new", crypto.contextNew) &&
                        resolveSymbol(library, "EVP_MD_CTX_free", crypto.contextFree) &&
                        resolveSymbol(library, "EVP_MD_CTX_copy_ex", crypto.contextCopy) &&
                        resolveSymbol(library, "EVP_DigestInit_ex", crypto.digestInit) &&
                        resolveSymbol(library, "EVP_DigestUpdate", crypto.digestUpdate) &&
                        resolveSymbol(library, "EVP_DigestFinal_ex", crypto.digestFinal) &&
                        resolveSymbol(library, "EVP_EncodeBlock", crypto.encodeBlock);
  if (!complete) return std::nullopt;
  // Kept loaded for the life of the process: digests and contexts point into it.
  crypto.sha256 = fetch(nullptr, "SHA256", nullptr);
  if (crypto.sha256 == nullptr) return std::nullopt;
  return crypto;
}

}  // namespace

const CryptoLibrary* cryptoLibrary() {
  static const std::optional<CryptoLibrary> loaded = load();
  return loaded ? &*loaded : nullptr;
}

std::optional<std::array<unsigned char, 32>> sha256Of(std::string_view bytes) {
  const CryptoLibrary* crypto = cryptoLibrary();
  if (crypto == nullptr) return std::nullopt;
  const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context(crypto->contextNew(), crypto->contextFree);
  std::array<unsigned char, 32> digest{};
  unsigned int written = 0;
  if (!context || crypto->digestInit(context.get(), crypto->sha256, nullptr) != 1 ||
      crypto->digestUpdate(context.get(), bytes.data(), bytes.size()) != 1 ||
      crypto->digestFinal(context.get(), digest.data(), &written) != 1 || written != digest.size()) {
    return std::nullopt;
  }
  return digest;
}

}  // namespace tw
