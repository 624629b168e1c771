#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "dedupe/block_sharing.h"
#include "fs/unique_fd.h"

namespace tw {
namespace {

// Btrfs shares at most this much per request and quietly does less when asked for more.
constexpr std::int64_t chunkLength = 16 << 20;

struct ChunkResult {
  bool differs = false;
  int error = 0;
  std::int64_t shared = 0;
};

ChunkResult dedupeChunk(int keepFd, int copyFd, std::int64_t offset, std::int64_t length) {
  // The request is a header followed by one target.
  alignas(file_dedupe_range) std::byte storage[sizeof(file_dedupe_range) + sizeof(file_dedupe_range_info)]{};
  auto* request = reinterpret_cast<file_dedupe_range*>(storage);
  request->src_offset = static_cast<std::uint64_t>(offset);
  request->src_length = static_cast<std::uint64_t>(length);
  request->dest_count = 1;
  file_dedupe_range_info& target = request->info[0];
  target.dest_fd = copyFd;
  target.dest_offset = static_cast<std::uint64_t>(offset);
  int result = 0;
  do {
    result = ::ioctl(keepFd, FIDEDUPERANGE, request);
  } while (result != 0 && errno == EINTR);
  if (result != 0) return {false, errno, 0};
  if (target.status == FILE_DEDUPE_RANGE_DIFFERS) return {true, 0, 0};
  if (target.status < 0) return {false, -target.status, 0};
  return {false, 0, static_cast<std::int64_t>(target.bytes_deduped)};
}

bool meansUnsupported(int error) { return error == EOPNOTSUPP || error == EXDEV || error == EINVAL; }

UniqueFd openForReading(const std::string& path) {
  return UniqueFd{::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK)};
}

ShareOutcome failure(ShareOutcome::Status status, int error = 0, bool partly = false) {
  return {status, error != 0 ? std::error_code(error, std::generic_category()) : std::error_code{}, partly};
}

// Shares the copy chunk by chunk over its whole length.
ShareOutcome dedupeWhole(int keepFd, int copyFd, std::int64_t size) {
  std::int64_t offset = 0;
  while (offset < size) {
    const std::int64_t length = std::min(chunkLength, size - offset);
    const ChunkResult chunk = dedupeChunk(keepFd, copyFd, offset, length);
    const bool partly = offset > 0;
    if (chunk.differs) return failure(ShareOutcome::Status::noLongerIdentical, 0, partly);
    if (chunk.error != 0) {
      if (!partly && meansUnsupported(chunk.error)) return failure(ShareOutcome::Status::unsupported);
      return failure(ShareOutcome::Status::failed, chunk.error, partly);
    }
    // A file system may share less than asked; carry on from where it stopped, but a
    // request that makes no progress would never end.
    if (chunk.shared <= 0) return failure(ShareOutcome::Status::failed, EIO, partly);
    offset += std::min(chunk.shared, length);
  }
  return {};
}

}  // namespace

ShareOutcome shareWithKept(const std::string& keep, const FileState& keepState, const std::string& copy,
                           const FileState& copyState) {
  const UniqueFd keepFd = openForReading(keep);
  if (!keepFd) return failure(ShareOutcome::Status::failed, errno);
  const auto keepNow = openFileState(keepFd.get());
  if (!keepNow || !keepNow->sameFile(keepState) || keepNow->size != keepState.size) {
    return failure(ShareOutcome::Status::keepChanged);
  }
  // Read-only is enough: the kernel lets the owner share a file's blocks this way, and
  // the copy's data can never be changed through this descriptor.
  const UniqueFd copyFd = openForReading(copy);
  if (!copyFd) return failure(ShareOutcome::Status::failed, errno);
  const auto copyNow = openFileState(copyFd.get());
  if (!copyNow || !copyState.unchangedIn(*copyNow)) return failure(ShareOutcome::Status::changedWhileSharing);

  // The kernel compares the two files page by page, reading any page that is not in
  // memory on its own; ask for both files in large reads first.
  (void)::posix_fadvise(keepFd.get(), 0, copyState.size, POSIX_FADV_WILLNEED);
  (void)::posix_fadvise(copyFd.get(), 0, copyState.size, POSIX_FADV_WILLNEED);
  ShareOutcome outcome = dedupeWhole(keepFd.get(), copyFd.get(), copyState.size);
  const auto after = linkState(copy);
  if (outcome.status == ShareOutcome::Status::shared && (!after || !copyState.unchangedIn(*after))) {
    return failure(ShareOutcome::Status::changedWhileSharing);
  }
  return outcome;
}

bool volumeCanShare(const std::string& path) {
  const UniqueFd fd = openForReading(path);
  if (!fd) return false;
  const auto state = openFileState(fd.get());
  if (!state || !state->isRegular() || state->size <= 0) return false;
  // Sharing a range with itself is refused as an overlap, but only by a file system that
  // got as far as checking ranges, that is, one that can share blocks at all; the others
  // say it isn't supported. Nothing is changed either way.
  const ChunkResult probe = dedupeChunk(fd.get(), fd.get(), 0, std::min<std::int64_t>(state->size, 4096));
  return probe.error == EINVAL || (probe.error == 0 && !probe.differs);
}

}  // namespace tw
