#include <CoreServices/CoreServices.h>

#include <algorithm>

#include "core/measure.h"

namespace tw {

std::optional<Date> lastUsed(const std::string& path) {
  // Spotlight's last-used date: set when the user opens the item, not by every read.
  CFStringRef text = CFStringCreateWithCString(nullptr, path.c_str(), kCFStringEncodingUTF8);
  if (text == nullptr) return std::nullopt;
  MDItemRef item = MDItemCreate(nullptr, text);
  CFRelease(text);
  if (item == nullptr) return std::nullopt;
  auto date = static_cast<CFDateRef>(MDItemCopyAttribute(item, kMDItemLastUsedDate));
  CFRelease(item);
  if (date == nullptr) return std::nullopt;
  const double seconds = CFDateGetAbsoluteTime(date) + kCFAbsoluteTimeIntervalSince1970;
  CFRelease(date);
  const Date used{std::chrono::duration_cast<Date::duration>(std::chrono::duration<double>(seconds))};
  return std::min(used, std::chrono::system_clock::now());
}

}  // namespace tw
