#include <algorithm>
#include <cstring>
#include <unordered_map>

#include "dedupe/content_hash.h"
#include "dedupe/dedupe.h"
#include "dedupe/dedupe_walk.h"
#include "dedupe/file_state.h"
#include "dedupe/parallel.h"

namespace tw {
namespace {

constexpr std::int64_t partialLength = 65'536;

struct Member {
  std::uint32_t file = 0;  // index into the walk's files
  std::int64_t size = 0;
  std::shared_ptr<const dedupe::PrefixHash> prefix;  // the first 64 KiB, hashed
};
using Group = std::vector<Member>;

// Puts members with equal keys together, keeping groups of two or more in the order in
// which their first member appears.
template <class KeyOf>
std::vector<Group> groupsOfTwoOrMore(const std::vector<Member>& members, const KeyOf& keyOf) {
  std::unordered_map<Dedupe::Key, std::size_t> slots;
  std::vector<Group> groups;
  for (std::size_t i = 0; i < members.size(); ++i) {
    const auto [slot, added] = slots.try_emplace(keyOf(i), groups.size());
    if (added) groups.emplace_back();
    groups[slot->second].push_back(members[i]);
  }
  std::erase_if(groups, [](const Group& group) { return group.size() < 2; });
  return groups;
}

class Finder {
 public:
  Finder(dedupe::WalkResult walked, std::stop_token stop) : walked_(std::move(walked)), stop_(std::move(stop)) {}

  std::vector<Dedupe::DupSet> run() {
    std::vector<Group> groups = narrowed(bySize(survivors()), /*whole=*/false);
    std::vector<Group> final;
    std::vector<Group> large;
    for (auto& group : groups) (group.front().size <= partialLength ? final : large).push_back(std::move(group));
    for (auto& group : narrowed(std::move(large), /*whole=*/true)) final.push_back(std::move(group));
    return sets(final);
  }

 private:
  const Dedupe::Candidate& file(const Member& member) const { return walked_.files[member.file]; }
  std::string path(const Member& member) const { return candidatePath(walked_.dirs, file(member)); }

  // Candidates that are still the single-link regular file the listing showed.
  std::vector<Member> survivors() const {
    const auto sizes = dedupe::parallel<std::int64_t>(
        walked_.files.size(),
        [&](std::size_t i, auto) {
          const Dedupe::Candidate& candidate = walked_.files[i];
          const auto state = linkState(candidatePath(walked_.dirs, candidate));
          const bool ok = state && state->isRegular() && state->links == 1 && state->size >= 1 &&
                          state->ino == candidate.file.inode;
          return ok ? std::optional<std::int64_t>(state->size) : std::nullopt;
        },
        stop_);
    std::vector<Member> members;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
      if (sizes[i]) members.push_back({static_cast<std::uint32_t>(i), *sizes[i], nullptr});
    }
    return members;
  }

  std::vector<Group> bySize(const std::vector<Member>& members) const {
    return groupsOfTwoOrMore(members, [&](std::size_t i) {
      return Dedupe::Key{file(members[i]).file.device, members[i].size, std::nullopt};
    });
  }

  // Splits every group by a digest of its files: the first 64 KiB, or the whole file.
  // A file that can no longer be read the way the walk saw it drops out.
  std::vector<Group> narrowed(std::vector<Group> groups, bool whole) const {
    struct Job {
      std::size_t group;
      Member member;
    };
    std::vector<Job> jobs;
    for (std::size_t g = 0; g < groups.size(); ++g) {
      for (const Member& member : groups[g]) jobs.push_back({g, member});
    }
    const auto digests = dedupe::parallel<dedupe::HashResult>(
        jobs.size(),
        [&](std::size_t i, std::span<std::byte> buffer) {
          const Member& member = jobs[i].member;
          const Dedupe::Candidate& candidate = file(member);
          dedupe::HashRequest request{path(member), candidate.file, member.size};
          request.length = whole ? member.size : std::min(member.size, partialLength);
          request.uncached = whole;
          // The whole-file pass carries on after the first 64 KiB rather than reading them again.
          request.keepPrefix = !whole && member.size > partialLength;
          request.resume = whole ? member.prefix.get() : nullptr;
          return dedupe::hashFile(request, buffer);
        },
        stop_);
    std::vector<Group> result;
    std::size_t start = 0;
    while (start < jobs.size()) {
      std::size_t end = start;
      std::vector<Member> members;
      std::vector<Dedupe::Key> keys;
      for (; end < jobs.size() && jobs[end].group == jobs[start].group; ++end) {
        if (!digests[end]) continue;
        Member member = jobs[end].member;
        if (digests[end]->prefix) member.prefix = std::make_shared<const dedupe::PrefixHash>(*digests[end]->prefix);
        keys.push_back({file(member).file.device, member.size, digests[end]->digest});
        members.push_back(std::move(member));
      }
      for (auto& group : groupsOfTwoOrMore(members, [&](std::size_t i) { return keys[i]; })) {
        result.push_back(std::move(group));
      }
      start = end;
    }
    return result;
  }

  std::vector<Dedupe::DupSet> sets(const std::vector<Group>& groups) const {
    std::vector<Dedupe::DupSet> sets;
    for (const Group& group : groups) {
      Dedupe::DupSet set;
      set.length = group.front().size;
      set.alloc = file(group.front()).alloc;
      for (const Member& member : group) {
        set.paths.push_back(path(member));
        // Never promise more than the smallest copy gives back.
        set.alloc = std::min(set.alloc, file(member).alloc);
      }
      std::sort(set.paths.begin(), set.paths.end());
      sets.push_back(std::move(set));
    }
    // The walk runs concurrently; a fixed order first makes equal savings list the same
    // way every time.
    std::sort(sets.begin(), sets.end(), [](const auto& a, const auto& b) { return a.paths < b.paths; });
    std::stable_sort(sets.begin(), sets.end(),
                     [](const auto& a, const auto& b) { return a.freeable() > b.freeable(); });
    return sets;
  }

  dedupe::WalkResult walked_;
  std::stop_token stop_;
};

}  // namespace

const std::unordered_set<std::string>& Dedupe::mutableExts() {
  static const std::unordered_set<std::string> extensions{
      "db",         "sqlite",         "sqlite3",     "db-wal",      "db-shm", "db-journal", "sqlite-wal",
      "sqlite-shm", "sqlite-journal", "sqlite3-wal", "sqlite3-shm", "wal",    "shm",        "journal",
      "ldb",        "realm",          "lock",        "log",         "pid",    "sock"};
  return extensions;
}

std::string candidatePath(const std::vector<std::string>& dirs, const Dedupe::Candidate& candidate) {
  const std::string& dir = dirs[static_cast<std::size_t>(candidate.dir)];
  return dir == "/" ? "/" + candidate.name : dir + "/" + candidate.name;
}

std::vector<Dedupe::DupSet> Dedupe::scan(const std::vector<std::string>& roots, const std::string& home,
                                         std::stop_token stop) {
  return Finder(dedupe::walk(roots, home, stop), stop).run();
}

}  // namespace tw

std::size_t std::hash<tw::Dedupe::Key>::operator()(const tw::Dedupe::Key& key) const noexcept {
  std::size_t seed = std::hash<std::int64_t>{}(key.size) ^ (static_cast<std::size_t>(key.dev) << 1);
  if (key.digest) {
    std::size_t prefix = 0;
    std::memcpy(&prefix, key.digest->data(), sizeof prefix);
    seed ^= prefix + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
  }
  return seed;
}
