#include "automation/notify.h"

#include <cstdio>

namespace tw {

Notify::Result Notify::send(const Context& context, const std::string& title, const std::string& body) {
  Result result = postNotification(context, title, body);
  if (const auto* notShown = std::get_if<NotShown>(&result)) {
    std::fprintf(stderr, "tidewarden: notification \"%s\" not shown: %s\n", title.c_str(), notShown->reason.c_str());
  }
  return result;
}

}  // namespace tw
