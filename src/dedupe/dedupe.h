#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "core/dev_group.h"
#include "dedupe/open_files.h"
#include "fs/file_identity.h"

namespace tw {

struct FileState;

// Finds byte-identical files under a set of roots and turns every copy but one into a
// clone of the kept file, so the copies stop taking space while every path stays put.
struct Dedupe {
  using Digest = std::array<unsigned char, 32>;  // SHA-256

  // One file found by the walk. The folder is an index into the walk's folder table so
  // that tens of thousands of candidates don't each carry their folder's path.
  struct Candidate {
    std::int32_t dir = 0;
    std::string name;
    std::int64_t alloc = 0;
    FileIdentity file;
  };

  // Files can only be identical when they sit on one volume and have one length; the
  // digest narrows the group further once it is known.
  struct Key {
    std::uint64_t dev = 0;
    std::int64_t size = 0;
    std::optional<Digest> digest;

    friend bool operator==(const Key&, const Key&) = default;
  };

  // One set of identical files; sharing frees alloc × (paths − 1).
  struct DupSet {
    std::vector<std::string> paths;  // sorted; the first one is kept
    std::int64_t alloc = 0;
    std::int64_t length = 0;

    [[nodiscard]] std::int64_t freeable() const {
      return alloc * static_cast<std::int64_t>(paths.empty() ? 0 : paths.size() - 1);
    }
  };

  // Extensions of files that change in place (databases, journals, locks): never shared.
  static const std::unordered_set<std::string>& mutableExts();

  // Blocking; sets sorted by the space sharing them frees, largest first. `home` is the
  // home folder (its Library is never searched); a stop request ends the search early.
  [[nodiscard]] static std::vector<DupSet> scan(const std::vector<std::string>& roots, const std::string& home,
                                                std::stop_token stop = {});

  // Shares the data of every copy with `keep`. Nothing when every copy now shares it,
  // otherwise a message saying what was skipped and why.
  [[nodiscard]] static std::optional<std::string> cloneReplace(const std::string& keep,
                                                               const std::vector<std::string>& copies);
  // One copy: nothing on success, otherwise the reason it was left as it was.
  [[nodiscard]] static std::optional<std::string> replace(const std::string& copy, const std::string& keep,
                                                          const FileState& keepState,
                                                          const std::unordered_set<FileIdentity>& openFiles);
  // Several sets at once, each keeping its first path.
  [[nodiscard]] static std::optional<std::string> cloneReplace(const std::vector<DupSet>& sets);

  // The duplicate-files screen: one group per set under the project roots.
  static ProviderResult load(const Context& context);
};

// A candidate's path: its folder's path, a slash and its name.
[[nodiscard]] std::string candidatePath(const std::vector<std::string>& dirs, const Dedupe::Candidate& candidate);

}  // namespace tw

template <>
struct std::hash<tw::Dedupe::Key> {
  std::size_t operator()(const tw::Dedupe::Key& key) const noexcept;
};
