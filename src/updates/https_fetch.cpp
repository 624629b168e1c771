#include "updates/https_fetch.h"

#include <memory>

#include "core/curl_library.h"

namespace tw {
namespace {

struct HeaderListDeleter {
  const CurlLibrary* curl;
  void operator()(curl_slist* list) const { curl->slistFreeAll(list); }
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
  const CurlLibrary* library = curlLibrary();
  if (!library) {
    result.error = HttpsFetchError::network;
    return result;
  }
  const CurlEasyHandle curl(library->easyInit(), CurlEasyDeleter{library});
  const std::unique_ptr<curl_slist, HeaderListDeleter> headers(
      library->slistAppend(nullptr, "Accept: application/json"), HeaderListDeleter{library});
  if (!curl || !headers) {
    result.error = HttpsFetchError::network;
    return result;
  }
  BodySink sink{.body = {}, .maxBytes = options.maxBytes};
  CURL* handle = curl.get();
  library->easySetopt(handle, CURLOPT_URL, url.c_str());
  library->easySetopt(handle, CURLOPT_PROTOCOLS_STR, "https");
  library->easySetopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "https");
  library->easySetopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
  library->easySetopt(handle, CURLOPT_MAXREDIRS, 3L);
  library->easySetopt(handle, CURLOPT_NOSIGNAL, 1L);  // time-outs without SIGALRM, safe off the main thread
  library->easySetopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(options.timeout.count()));
  library->easySetopt(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(options.maxBytes));
  library->easySetopt(handle, CURLOPT_USERAGENT, options.userAgent.c_str());
  library->easySetopt(handle, CURLOPT_HTTPHEADER, headers.get());
  library->easySetopt(handle, CURLOPT_WRITEFUNCTION, appendToBody);
  library->easySetopt(handle, CURLOPT_WRITEDATA, &sink);
  if (!options.caFile.empty()) {
    library->easySetopt(handle, CURLOPT_CAINFO, options.caFile.c_str());
    library->easySetopt(handle, CURLOPT_CAPATH, nullptr);
  }

  const CURLcode code = library->easyPerform(handle);
  library->easyGetinfo(handle, CURLINFO_RESPONSE_CODE, &result.status);
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
