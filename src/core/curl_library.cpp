#include "core/curl_library.h"

#include <optional>

#include "core/loaded_library.h"

namespace tw {
namespace {

// The library's soname, as the development package it is built against links it.
constexpr const char* curlSoname = "libcurl.so.4";

std::optional<CurlLibrary> load() {
  void* library = ::dlopen(curlSoname, RTLD_NOW | RTLD_LOCAL);
  if (!library) return std::nullopt;
  CurlLibrary curl{};
  CURLcode (*globalInit)(long) = nullptr;
  const bool complete = resolveSymbol(library, "curl_global_init", globalInit) &&
                        resolveSymbol(library, "curl_easy_init", curl.easyInit) &&
                        resolveSymbol(library, "curl_easy_setopt", curl.easySetopt) &&
                        resolveSymbol(library, "curl_easy_perform", curl.easyPerform) &&
                        resolveSymbol(library, "curl_easy_getinfo", curl.easyGetinfo) &&
                        resolveSymbol(library, "curl_easy_cleanup", curl.easyCleanup) &&
                        resolveSymbol(library, "curl_easy_strerror", curl.easyStrerror) &&
                        resolveSymbol(library, "curl_slist_append", curl.slistAppend) &&
                        resolveSymbol(library, "curl_slist_free_all", curl.slistFreeAll);
  // Kept loaded for the life of the process, as libcurl's global state wants.
  if (!complete || globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK) return std::nullopt;
  return curl;
}

}  // namespace

const CurlLibrary* curlLibrary() {
  static const std::optional<CurlLibrary> loaded = load();
  return loaded ? &*loaded : nullptr;
}

}  // namespace tw
