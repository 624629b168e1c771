#include "updates/https_fetch.h"

#include <memory>

#include <curl/curl.h>

namespace tw {
namespace {

// libcurl wants its global set-up done once, before any transfer, and undone at exit.
class CurlLibrary {
 public:
  CurlLibrary() { curl_global_init(CURL_GLOBAL_DEFAULT); }
  ~CurlLibrary() { curl_global_cleanup(); }
  CurlLibrary(const CurlLibrary&) = delete;
  CurlLibrary& operator=(const CurlLibrary&) = delete;
};

void ensureCurlLibrary() { static const CurlLibrary library; }

struct EasyHandleDeleter {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct HeaderListDeleter {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

struct BodySink {
  std::string body;
  std::size_t maxBytes = 0;
  bool overflowed = false;
};

std::size_t appendToBody(char* data, std::size_t size, std::size_t count, void* user) {
  auto* sink = static_cast<BodySink*>(user);
  const std::size_t bytes = size * count;
  if (sink->body.size() + bytes > sink->maxBytes) {
    sink->overflowed = true;
    return 0;  // anything short of `bytes` makes libcurl stop the transfer
  }
  sink->body.append(data, bytes);
  return bytes;
}

HttpsFetchError errorFor(CURLcode code, const BodySink& sink) {
  switch (code) {
    case CURLE_OPERATION_TIMEDOUT:
      return HttpsFetchError::timeout;
    case CURLE_FILESIZE_EXCEEDED:
      return HttpsFetchError::tooLarge;
    case CURLE_WRITE_ERROR:
      return sink.overflowed ? HttpsFetchError::tooLarge : HttpsFetchError::network;
    case CURLE_UNSUPPORTED_PROTOCOL:
      return HttpsFetchError::notHttps;
    default:
      return HttpsFetchError::network;
  }
}

}  // namespace

HttpsFetchResult fetchOverHttps(const std::string& url, const HttpsFetchOptions& options) {
  HttpsFetchResult result;
  if (!url.starts_with("https://")) {
    result.error = HttpsFetchError::notHttps;
    return result;
  }
  ensureCurlLibrary();
  const std::unique_ptr<CURL, EasyHandleDeleter> curl(curl_easy_init());
  const std::unique_ptr<curl_slist, HeaderListDeleter> headers(curl_slist_append(nullptr, "Accept: application/json"));
  if (!curl || !headers) {
    result.error = HttpsFetchError::network;
    return result;
  }
  BodySink sink{.body = {}, .maxBytes = options.maxBytes};
  CURL* handle = curl.get();
  curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
  curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "https");
  curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "https");
  curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(handle, CURLOPT_MAXREDIRS, 3L);
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);  // time-outs without SIGALRM, safe off the main thread
  curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(options.timeout.count()));
  curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(options.maxBytes));
  curl_easy_setopt(handle, CURLOPT_USERAGENT, options.userAgent.c_str());
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers.get());
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, appendToBody);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &sink);
  if (!options.caFile.empty()) {
    curl_easy_setopt(handle, CURLOPT_CAINFO, options.caFile.c_str());
    curl_easy_setopt(handle, CURLOPT_CAPATH, nullptr);
  }

  const CURLcode code = curl_easy_perform(handle);
  curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &result.status);
  if (code != CURLE_OK) {
    result.error = errorFor(code, sink);
  } else if (result.status != 200) {
    result.error = HttpsFetchError::httpStatus;
  } else {
    result.body = std::move(sink.body);
  }
  return result;
}

}  // namespace tw
