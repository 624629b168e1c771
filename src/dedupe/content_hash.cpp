#include "dedupe/content_hash.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "core/file_flags.h"
#include "core/unique_fd.h"
#include "dedupe/file_state.h"
#include "dedupe/read_cache.h"

namespace tw::dedupe {
namespace {

// Fetched once: an implicit fetch on every digest initialisation costs more than hashing
// a small file.
const EVP_MD* sha256() {
  static EVP_MD* const md = EVP_MD_fetch(nullptr, "SHA256", nullptr);
  return md;
}

struct ContextFree {
  void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

bool stillTheFile(int fd, const HashRequest& request) {
  const auto state = openFileState(fd);
  if (!state || !state->isRegular() || state->size != request.size) return false;
  if (state->ino != request.file.id || static_cast<std::int32_t>(state->dev) != request.file.dev) return false;
  const auto flags = readFileFlags(fd);
  return !flags || !flags->protectedFromChanges();
}

// Fills the buffer from `offset` unless the file ends first; retries interrupted reads.
bool readFully(int fd, std::int64_t offset, std::span<std::byte> into) {
  std::size_t done = 0;
  while (done < into.size()) {
    const ssize_t got = ::pread(fd, into.data() + done, into.size() - done, static_cast<off_t>(offset) + done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;  // error, or the file is shorter than it said
    done += static_cast<std::size_t>(got);
  }
  return true;
}

}  // namespace

std::optional<Dedupe::Digest> hashRange(const HashRequest& request, std::span<std::byte> buffer) {
  UniqueFd fd{::open(request.path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK)};
  if (!fd || !stillTheFile(fd.get(), request)) return std::nullopt;
  std::optional<UncachedRead> uncached;
  if (request.uncached) uncached.emplace(fd.get(), request.size);

  std::unique_ptr<EVP_MD_CTX, ContextFree> context(EVP_MD_CTX_new());
  if (!context || EVP_DigestInit_ex(context.get(), sha256(), nullptr) != 1) return std::nullopt;
  std::int64_t offset = request.offset;
  const std::int64_t end = request.offset + request.length;
  while (offset < end) {
    const auto chunk = static_cast<std::size_t>(std::min<std::int64_t>(end - offset, std::ssize(buffer)));
    if (!readFully(fd.get(), offset, buffer.first(chunk))) return std::nullopt;
    if (EVP_DigestUpdate(context.get(), buffer.data(), chunk) != 1) return std::nullopt;
    offset += static_cast<std::int64_t>(chunk);
  }
  Dedupe::Digest digest{};
  unsigned int written = 0;
  if (EVP_DigestFinal_ex(context.get(), digest.data(), &written) != 1 || written != digest.size()) return std::nullopt;
  return digest;
}

}  // namespace tw::dedupe
