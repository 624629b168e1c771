#pragma once

#include <curl/curl.h>

#include <memory>

namespace tw {

// libcurl's calls that Tidewarden makes. The library is loaded on first use instead of at
// start: it brings some thirty libraries (TLS, Kerberos, LDAP) whose loading and set-up
// would otherwise cost every command, most of which never speak HTTP.
struct CurlLibrary {
  CURL* (*easyInit)();
  CURLcode (*easySetopt)(CURL*, CURLoption, ...);
  CURLcode (*easyPerform)(CURL*);
  CURLcode (*easyGetinfo)(CURL*, CURLINFO, ...);
  void (*easyCleanup)(CURL*);
  const char* (*easyStrerror)(CURLcode);
  curl_slist* (*slistAppend)(curl_slist*, const char*);
  void (*slistFreeAll)(curl_slist*);
};

// An easy handle that gives itself back to the library it came from.
struct CurlEasyDeleter {
  const CurlLibrary* curl;
  void operator()(CURL* handle) const { curl->easyCleanup(handle); }
};
using CurlEasyHandle = std::unique_ptr<CURL, CurlEasyDeleter>;

// The library, loaded and set up once (safe from any thread); nothing when it is not
// installed.
[[nodiscard]] const CurlLibrary* curlLibrary();

}  // namespace tw
