#pragma once

#include <cstdint>
#include <stop_token>
#include <string>
#include <vector>

#include "dedupe/dedupe.h"

namespace tw::dedupe {

struct WalkRoot {
  std::string path;
  std::uint64_t dev = 0;
};

// The roots as folders that really exist, with links and "." or ".." pieces resolved,
// and without any root that another root already contains or that repeats one.
[[nodiscard]] std::vector<WalkRoot> walkRoots(const std::vector<std::string>& roots);

struct WalkResult {
  std::vector<std::string> dirs;         // indexed by Candidate::dir
  std::vector<Dedupe::Candidate> files;  // each file object at most once
};

// Every file under the roots that is worth hashing, judged on listing attributes alone.
// The home folder's Library is left out; a stop request ends the walk between levels.
[[nodiscard]] WalkResult walk(const std::vector<std::string>& roots, const std::string& home,
                              std::stop_token stop = {});

}  // namespace tw::dedupe
