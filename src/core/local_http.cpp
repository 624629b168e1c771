#include "core/local_http.h"

#include <memory>

#include "core/curl_library.h"

namespace tw {
namespace {

// Transport failures keep curl's own code and words.
class CurlCategory : public std::error_category {
 public:
  [[nodiscard]] const char* name() const noexcept override { return "curl"; }
  [[nodiscard]] std::string message(int code) const override {
    const CurlLibrary* curl = curlLibrary();
    if (!curl) return "libcurl is not installed";
    return curl->easyStrerror(static_cast<CURLcode>(code));
  }
};

const CurlCategory& curlCategory() {
  static const CurlCategory category;
  return category;
}

std::error_code curlError(CURLcode code) { return {static_cast<int>(code), curlCategory()}; }

struct Transfer {
  std::string body;
  bool tooBig = false;
  std::stop_token stop;
};

std::size_t collect(char* data, std::size_t size, std::size_t count, void* context) {
  auto* transfer = static_cast<Transfer*>(context);
  const std::size_t bytes = size * count;
  if (transfer->body.size() + bytes > LocalHttp::maxBodyBytes) {
    transfer->tooBig = true;
    return 0;  // curl stops with a write error
  }
  transfer->body.append(data, bytes);
  return bytes;
}

int progress(void* context, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  return static_cast<Transfer*>(context)->stop.stop_requested() ? 1 : 0;
}

}  // namespace

bool HttpResponse::unreachable() const {
  if (error.category() != curlCategory()) return false;
  const auto code = static_cast<CURLcode>(error.value());
  return code == CURLE_COULDNT_CONNECT || code == CURLE_COULDNT_RESOLVE_HOST;
}

bool HttpResponse::timedOut() const {
  return error.category() == curlCategory() && static_cast<CURLcode>(error.value()) == CURLE_OPERATION_TIMEDOUT;
}

HttpResponse LocalHttp::request(const LocalEndpoint& endpoint, std::string_view method, const std::string& pathAndQuery,
                                double timeoutSeconds, std::stop_token stop) {
  HttpResponse response;
  const CurlLibrary* library = curlLibrary();
  if (!library) {
    response.error = curlError(CURLE_FAILED_INIT);
    return response;
  }
  const CurlEasyHandle handle(library->easyInit(), CurlEasyDeleter{library});
  if (!handle) {
    response.error = curlError(CURLE_FAILED_INIT);
    return response;
  }
  CURL* curl = handle.get();
  Transfer transfer{{}, false, std::move(stop)};
  const std::string url = endpoint.base + pathAndQuery;
  const std::string verb(method);
  const long timeoutMs = static_cast<long>(timeoutSeconds * 1000);
  library->easySetopt(curl, CURLOPT_URL, url.c_str());
  if (!endpoint.unixSocket.empty()) library->easySetopt(curl, CURLOPT_UNIX_SOCKET_PATH, endpoint.unixSocket.c_str());
  library->easySetopt(curl, CURLOPT_CUSTOMREQUEST, verb.c_str());
  if (verb == "HEAD") library->easySetopt(curl, CURLOPT_NOBODY, 1L);
  // Only this machine: no proxy from the environment, no redirects elsewhere.
  library->easySetopt(curl, CURLOPT_PROXY, "");
  library->easySetopt(curl, CURLOPT_NOPROXY, "*");
  library->easySetopt(curl, CURLOPT_FOLLOWLOCATION, 0L);
  library->easySetopt(curl, CURLOPT_PROTOCOLS_STR, "http");
  library->easySetopt(curl, CURLOPT_NOSIGNAL, 1L);
  library->easySetopt(curl, CURLOPT_TIMEOUT_MS, timeoutMs);
  library->easySetopt(curl, CURLOPT_CONNECTTIMEOUT_MS, timeoutMs);
  library->easySetopt(curl, CURLOPT_WRITEFUNCTION, &collect);
  library->easySetopt(curl, CURLOPT_WRITEDATA, &transfer);
  library->easySetopt(curl, CURLOPT_XFERINFOFUNCTION, &progress);
  library->easySetopt(curl, CURLOPT_XFERINFODATA, &transfer);
  library->easySetopt(curl, CURLOPT_NOPROGRESS, 0L);

  const CURLcode code = library->easyPerform(curl);
  if (code != CURLE_OK) {
    response.error = curlError(transfer.tooBig ? CURLE_FILESIZE_EXCEEDED : code);
    return response;
  }
  library->easyGetinfo(curl, CURLINFO_RESPONSE_CODE, &response.status);
  response.body = std::move(transfer.body);
  return response;
}

}  // namespace tw
