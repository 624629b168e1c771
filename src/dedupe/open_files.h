#pragma once

#include <cstdint>
#include <functional>
#include <unordered_set>

namespace tw {

// The files that running processes (other than this one) hold open right now.
struct OpenFiles {
  struct Key {
    std::int32_t dev = 0;
    std::uint64_t ino = 0;

    friend bool operator==(const Key&, const Key&) = default;
  };

  // A fresh look at every process we may inspect.
  [[nodiscard]] static std::unordered_set<Key> snapshot();
  // The last snapshot when it is younger than `maxAge` seconds, otherwise a new one.
  // Safe from any thread.
  [[nodiscard]] static std::unordered_set<Key> recent(double maxAge);
};

}  // namespace tw

template <>
struct std::hash<tw::OpenFiles::Key> {
  std::size_t operator()(const tw::OpenFiles::Key& key) const noexcept {
    return std::hash<std::uint64_t>{}(key.ino * 31u + static_cast<std::uint32_t>(key.dev));
  }
};
