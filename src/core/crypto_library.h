#pragma once

#include <openssl/evp.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace tw {

// The few libcrypto calls Tidewarden makes: SHA-256 and base64. Like libcurl, the library
// is loaded on first use instead of at start; mapping and relocating it cost every command
// about as long as the rest of the program's start, and most commands never hash anything.
struct CryptoLibrary {
  EVP_MD_CTX* (*contextNew)();
  void (*contextFree)(EVP_MD_CTX*);
  int (*contextCopy)(EVP_MD_CTX*, const EVP_MD_CTX*);
  int (*digestInit)(EVP_MD_CTX*, const EVP_MD*, ENGINE*);
  int (*digestUpdate)(EVP_MD_CTX*, const void*, std::size_t);
  int (*digestFinal)(EVP_MD_CTX*, unsigned char*, unsigned int*);
  int (*encodeBlock)(unsigned char*, const unsigned char*, int);
  // Fetched once: an implicit fetch on every digest initialisation costs more than hashing
  // a small file.
  const EVP_MD* sha256;
};

// The library, loaded and set up once (safe from any thread); nothing when it is not
// installed.
[[nodiscard]] const CryptoLibrary* cryptoLibrary();

// SHA-256 of some bytes in memory; nothing when the library is missing or fails.
[[nodiscard]] std::optional<std::array<unsigned char, 32>> sha256Of(std::string_view bytes);

}  // namespace tw
