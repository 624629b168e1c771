#pragma once

#include <optional>
#include <string>

namespace tw {

// What a macOS app bundle's Info.plist says about it.
struct BundleInfo {
  std::string identifier;  // CFBundleIdentifier; empty when unknown
  std::string name;        // CFBundleName, else the bundle's file name without ".app"
};

// Reads <bundle>/Contents/Info.plist. Only the XML form is read; a binary property list
// leaves the identifier empty, so nothing in the Library is matched to the app.
[[nodiscard]] BundleInfo readBundleInfo(const std::string& bundle);

// The string value of `key` in an XML property list's top dictionary, if any.
[[nodiscard]] std::optional<std::string> plistString(const std::string& xml, const std::string& key);

}  // namespace tw
