#include "core/dev_item.h"

namespace tw {

// Placeholder until the removal actions land.
std::optional<std::string> DevAction::perform() const { return "Removal isn't available in this build yet"; }

}  // namespace tw
