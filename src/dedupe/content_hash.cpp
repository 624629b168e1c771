#include "dedupe/content_hash.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "core/crypto_library.h"
#include "dedupe/read_cache.h"
#include "fs/file_flags.h"
#include "fs/unique_fd.h"

namespace tw::dedupe {
namespace {

using Context = std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)>;

Context newContext(const CryptoLibrary& crypto) { return {crypto.contextNew(), crypto.contextFree}; }

// The file still is the one the walk listed, unprotected and of the same length.
std::optional<FileState> stillTheFile(int fd, const HashRequest& request) {
  const auto state = openFileState(fd);
  if (!state || !state->isRegular() || state->size != request.size) return std::nullopt;
  if (state->ino != request.file.inode || state->dev != request.file.device) return std::nullopt;
  if (request.resume != nullptr && !request.resume->seen.unchangedIn(*state)) return std::nullopt;
  const auto flags = readFileFlags(fd);
  if (flags && flags->protectedFromChanges()) return std::nullopt;
  return state;
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

bool startContext(const CryptoLibrary& crypto, EVP_MD_CTX* context, const PrefixHash* resume) {
  if (resume == nullptr) return crypto.digestInit(context, crypto.sha256, nullptr) == 1;
  return crypto.contextCopy(context, resume->context.get()) == 1;
}

}  // namespace

std::optional<HashResult> hashFile(const HashRequest& request, std::span<std::byte> buffer) {
  const CryptoLibrary* crypto = cryptoLibrary();
  if (crypto == nullptr) return std::nullopt;
  UniqueFd fd{::open(request.path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK)};
  if (!fd) return std::nullopt;
  const auto seen = stillTheFile(fd.get(), request);
  if (!seen) return std::nullopt;
  Context context = newContext(*crypto);
  if (!context || !startContext(*crypto, context.get(), request.resume)) return std::nullopt;
  std::int64_t offset = request.resume != nullptr ? request.resume->hashed : 0;
  // Whether the user had the file in memory is known only before our first read of it.
  const bool mayDropLater = request.keepPrefix || request.uncached;
  const bool wasInMemory =
      request.resume != nullptr ? request.resume->wasInMemory : mayDropLater && partlyInMemory(fd.get());
  std::optional<UncachedRead> uncached;
  if (request.uncached) {
    uncached.emplace(fd.get(), request.size, wasInMemory);
  } else if (request.length < request.size) {
    readOnlyWhatIsAsked(fd.get());
  }
  while (offset < request.length) {
    const auto chunk = static_cast<std::size_t>(std::min<std::int64_t>(request.length - offset, std::ssize(buffer)));
    if (!readFully(fd.get(), offset, buffer.first(chunk))) return std::nullopt;
    if (crypto->digestUpdate(context.get(), buffer.data(), chunk) != 1) return std::nullopt;
    offset += static_cast<std::int64_t>(chunk);
  }
  HashResult result;
  if (request.keepPrefix) {
    Context kept = newContext(*crypto);
    if (!kept || crypto->contextCopy(kept.get(), context.get()) != 1) return std::nullopt;
    result.prefix =
        PrefixHash{std::shared_ptr<const EVP_MD_CTX>(kept.release(), crypto->contextFree), offset, *seen, wasInMemory};
  }
  unsigned int written = 0;
  if (crypto->digestFinal(context.get(), result.digest.data(), &written) != 1 || written != result.digest.size()) {
    return std::nullopt;
  }
  return result;
}

}  // namespace tw::dedupe
