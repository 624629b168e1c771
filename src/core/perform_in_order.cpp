#include "core/perform_in_order.h"

#include "core/admin_batch.h"

namespace tw {
namespace {

const DevAction::Admin* adminOf(const DevAction& action) { return std::get_if<DevAction::Admin>(&action.value); }

}  // namespace

std::vector<std::optional<std::string>> performInOrder(const std::vector<DevAction>& actions,
                                                       const std::function<void(std::size_t)>& finished) {
  std::vector<std::optional<std::string>> errors(actions.size());
  std::vector<bool> done(actions.size(), false);
  std::size_t count = 0;
  const auto report = [&](std::size_t index) {
    done[index] = true;
    if (finished) finished(++count);
  };
  for (std::size_t index = 0; index < actions.size(); ++index) {
    if (done[index]) continue;
    if (adminOf(actions[index]) == nullptr) {
      errors[index] = actions[index].perform();
      report(index);
      continue;
    }
    // This and every later administrator command, together.
    std::vector<std::size_t> batch;
    std::vector<std::string> commands;
    for (std::size_t later = index; later < actions.size(); ++later) {
      if (const auto* admin = adminOf(actions[later])) {
        batch.push_back(later);
        commands.push_back(admin->command);
      }
    }
    auto outcomes = runAllAsAdministrator(commands);
    for (std::size_t slot = 0; slot < batch.size(); ++slot) {
      errors[batch[slot]] = std::move(outcomes[slot]);
      report(batch[slot]);
    }
  }
  return errors;
}

}  // namespace tw
