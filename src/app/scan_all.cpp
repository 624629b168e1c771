#include "app/scan_all.h"

namespace tw::app {

struct ScanAll::Run : std::enable_shared_from_this<Run> {
  std::vector<std::shared_ptr<DevPane>> panes;
  std::function<void()> finished;
  std::size_t next = 0;
  std::size_t active = 0;

  void startNext() {
    while (active < atOnce && next < panes.size()) {
      ++active;
      // A pane that is loading already is joined, and counts as one of the few.
      panes[next++]->load([weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->ended();
      });
    }
  }

  void ended() {
    --active;
    startNext();
    if (active == 0 && next == panes.size() && finished) finished();
  }
};

ScanAll::ScanAll(std::vector<std::shared_ptr<DevPane>> panes, std::function<void()> finished)
    : run_(std::make_shared<Run>()) {
  run_->panes = std::move(panes);
  run_->finished = std::move(finished);
  run_->next = run_->panes.size();
}

ScanAll::~ScanAll() = default;

void ScanAll::start() {
  if (running()) return;
  run_->next = 0;
  run_->startNext();
}

bool ScanAll::running() const { return run_->active > 0; }

}  // namespace tw::app
