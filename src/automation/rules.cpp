#include "automation/rules.h"

namespace tw {

const std::set<std::string>& Rules::safeCategories() {
  static const std::set<std::string> ids{"caches", "appcaches", "logs", "xcode", "dev"};
  return ids;
}

}  // namespace tw
