#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "core/dev_pane.h"

namespace tw::app {

// Loads every pane of a list, a few at a time: the next load starts when one ends, so a
// machine is never asked to walk every screen at once. Lives on the panes' owner thread.
class ScanAll {
 public:
  static constexpr std::size_t atOnce = 3;

  // `finished` is told when the last load of a run has ended.
  explicit ScanAll(std::vector<std::shared_ptr<DevPane>> panes, std::function<void()> finished = {});
  ~ScanAll();
  ScanAll(const ScanAll&) = delete;
  ScanAll& operator=(const ScanAll&) = delete;

  // Starts a run; while one runs, this does nothing.
  void start();
  [[nodiscard]] bool running() const;

 private:
  struct Run;
  // Loads that end after this object is gone find the run gone too.
  std::shared_ptr<Run> run_;
};

}  // namespace tw::app
