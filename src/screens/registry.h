#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/dev_group.h"
#include "core/dev_pane.h"
#include "core/dispatcher.h"

namespace tw {

// Every navigation destination. The raw value is the screen's command-line name and its
// scan-cache key.
enum class Pane {
  overview,
  clean,
  lens,
  trash,
  large,
  apps,
  system,
  projects,
  worktrees,
  git,
  simulators,
  toolchains,
  ide,
  docker,
  ai,
  dedupe,
  history,
};

[[nodiscard]] const std::vector<Pane>& allPanes();
[[nodiscard]] std::string_view rawValue(Pane pane);
[[nodiscard]] std::optional<Pane> paneNamed(std::string_view rawValue);

struct DevScreen {
  enum class Bar { none, roots, rootsNoFilter, rootsAdvisor };

  Pane pane;
  std::string title;
  std::string icon;
  std::string blurb;
  std::string action;
  Bar bar = Bar::none;
  bool junk = false;
  Provider provider;
};

struct Screens {
  [[nodiscard]] static const std::vector<DevScreen>& cleanup();
  [[nodiscard]] static const std::vector<DevScreen>& developer();
  // cleanup() followed by developer(): the 13 list screens.
  [[nodiscard]] static std::vector<DevScreen> all();
  [[nodiscard]] static const DevScreen* screen(Pane pane);

  // The screen's provider, which gives the demonstration data instead when the context
  // it is called with is in sample-data mode.
  [[nodiscard]] static Provider effectiveProvider(const DevScreen& screen);

  // One pane per screen; two screens with one pane stop the program.
  [[nodiscard]] static std::map<Pane, std::shared_ptr<DevPane>> makePanes(const Dispatcher& dispatcher,
                                                                          const Context& context);
};

}  // namespace tw
