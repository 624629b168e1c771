#include "core/curl_library.h"

#include <dlfcn.h>

#include <optional>

namespace tw {
namespace {

// The library's soname, as the development package it is built against links it.
constexpr const char* curlSoname = "libcurl.so.4";

template <typename Function>
bool resolve(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(::dlsym(library, name));
  return function != nullptr;
}

std::optional<CurlLibrary> load() {
  void* library = ::dlopen(curlSoname, RTLD_NOW | RTLD_LOCAL);
  if (!library) return std::nullopt;
  CurlLibrary curl{};
  CURLcode (*globalInit)(long) = nullptr;
  const bool complete = resolve(library, "curl_global_init", globalInit) &&
                        resolve(library, "curl_easy_init", curl.easyInit) &&
                        resolve(library, "curl_easy_setopt", curl.easySetopt) &&
                        resolve(library, "curl_easy_perform", curl.easyPerform) &&
                        resolve(library, "curl_easy_getinfo", curl.easyGetinfo) &&
                        resolve(library, "curl_easy_cleanup", curl.easyCleanup) &&
                        resolve(library, "curl_easy_strerror", curl.easyStrerror) &&
                        resolve(library, "curl_slist_append", curl.slistAppend) &&
                        resolve(library, "curl_slist_free_all", curl.slistFreeAll);
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
