#include "core/dev_item.h"

namespace tw {

// Placeholder until the removal actions land: only custom actions can run.
std::optional<std::string> DevAction::perform() const {
  if (const auto* custom = std::get_if<Custom>(&value)) return custom->run();
  return "Removal isn't available in this build yet";
}

}  // namespace tw
