#include "core/task_runner.h"

#include <atomic>

namespace tw {

TaskRunner::TaskRunner(Dispatcher owner) : owner_(std::move(owner)) {}

TaskRunner::~TaskRunner() {
  cancelAll();
  joinAll();
}

TaskRunner::Poster TaskRunner::poster() const {
  return [owner = owner_, alive = std::weak_ptr<const bool>(alive_)](Result result) {
    owner([alive, result = std::move(result)] {
      if (alive.lock() && result) result();
    });
  };
}

void TaskRunner::start(Job job) {
  reapFinished();
  auto finished = std::make_shared<std::atomic<bool>>(false);
  Running& entry = running_.emplace_back();
  entry.finished = finished;
  entry.thread = std::jthread([job = std::move(job), post = poster(), finished](std::stop_token stop) {
    Result result = job(stop);
    // Done before the result is handed over, so an owner acting on the result sees it idle.
    finished->store(true, std::memory_order_release);
    if (result) post(std::move(result));
  });
}

void TaskRunner::cancelAll() {
  for (auto& entry : running_) entry.thread.request_stop();
}

void TaskRunner::joinAll() {
  for (auto& entry : running_) {
    if (entry.thread.joinable()) entry.thread.join();
  }
  running_.clear();
}

bool TaskRunner::idle() const {
  for (const auto& entry : running_) {
    if (!entry.finished->load(std::memory_order_acquire)) return false;
  }
  return true;
}

void TaskRunner::reapFinished() {
  std::erase_if(running_, [](Running& entry) {
    if (!entry.finished->load(std::memory_order_acquire)) return false;
    entry.thread.join();
    return true;
  });
}

}  // namespace tw
