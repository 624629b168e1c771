#include "core/home.h"

#include <pwd.h>
#include <unistd.h>
#include <cstdlib>

namespace tw {

std::string homeDirectory() {
  std::string home;
  if (const char* value = std::getenv("HOME"); value != nullptr && value[0] != '\0') {
    home = value;
  } else if (const passwd* entry = getpwuid(getuid()); entry != nullptr && entry->pw_dir != nullptr) {
    home = entry->pw_dir;
  } else {
    home = "/";
  }
  while (home.size() > 1 && home.back() == '/') home.pop_back();
  return home;
}

}  // namespace tw
