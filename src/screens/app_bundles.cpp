#include "screens/app_bundles.h"

#include "core/text.h"
#include "fs/path.h"
#include "fs/regular_file.h"

namespace tw {
namespace {

constexpr std::size_t plistLimit = 1024 * 1024;

std::string unescapedXml(std::string text) {
  static const std::pair<const char*, const char*> entities[] = {
      {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&apos;", "'"}, {"&amp;", "&"}};
  for (const auto& [entity, character] : entities) {
    for (std::size_t at = text.find(entity); at != std::string::npos; at = text.find(entity, at + 1)) {
      text.replace(at, std::char_traits<char>::length(entity), character);
    }
  }
  return text;
}

}  // namespace

std::optional<std::string> plistString(const std::string& xml, const std::string& key) {
  const std::string keyTag = "<key>" + key + "</key>";
  const std::size_t found = xml.find(keyTag);
  if (found == std::string::npos) return std::nullopt;
  const std::size_t open = xml.find_first_not_of(" \t\r\n", found + keyTag.size());
  if (open == std::string::npos || xml.compare(open, 8, "<string>") != 0) return std::nullopt;
  const std::size_t start = open + 8;
  const std::size_t close = xml.find("</string>", start);
  if (close == std::string::npos) return std::nullopt;
  return unescapedXml(trimmed(xml.substr(start, close - start)));
}

BundleInfo readBundleInfo(const std::string& bundle) {
  std::string fileName = lastPathComponent(bundle);
  if (fileName.ends_with(".app")) fileName.resize(fileName.size() - 4);
  BundleInfo info{"", fileName};
  const auto xml = readRegularFile(bundle + "/Contents/Info.plist", plistLimit);
  if (!xml || !xml->starts_with("<?xml")) return info;
  info.identifier = plistString(*xml, "CFBundleIdentifier").value_or("");
  if (auto name = plistString(*xml, "CFBundleName"); name && !name->empty()) info.name = *name;
  return info;
}

}  // namespace tw
