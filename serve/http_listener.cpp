#include "serve/http_listener.h"

#include <curl/curl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "serve/addresses.h"

namespace orv::serve {
namespace {

constexpr int kPollMilliseconds = 1000;

void initialiseOnce() {
  static std::once_flag done;
  std::call_once(done, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

class HttpListener : public Listener {
 public:
  HttpListener(Destination destination, HttpListenerSettings settings)
      : destination_(std::move(destination)), settings_(std::move(settings)) {
    initialiseOnce();
    easy_ = curl_easy_init();
    multi_ = curl_multi_init();
    bool complete = true;
    for (const char* header :
         {"Content-Type: application/xml; charset=\"utf-8\"", "CIMProtocolVersion: 1.0",
          "CIMExport: MethodRequest", "CIMExportMethod: ExportIndication", "Expect:"}) {
      complete = addHeader(header) && complete;
    }
    if (easy_ == nullptr || multi_ == nullptr || !complete) {
      release();
      throw std::runtime_error("no memory for a listener");
    }
    configure();
  }

  ~HttpListener() override { release(); }
  HttpListener(const HttpListener&) = delete;
  HttpListener& operator=(const HttpListener&) = delete;

  bool post(const std::string& message) override {
    received_ = 0;
    set(CURLOPT_POSTFIELDS, message.c_str());
    set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(message.size()));
    if (curl_multi_add_handle(multi_, easy_) != CURLM_OK) return false;
    const bool delivered = finish();
    curl_multi_remove_handle(multi_, easy_);
    return delivered;
  }

  void cancel() override {
    cancelled_ = true;
    curl_multi_wakeup(multi_);
  }

 private:
  /// False when there is no memory; the list is then unchanged.
  bool addHeader(const char* header) {
    curl_slist* longer = curl_slist_append(headers_, header);
    if (longer == nullptr) return false;
    headers_ = longer;
    return true;
  }

  template <typename T>
  void set(CURLoption option, T value) {
    curl_easy_setopt(easy_, option, value);
  }

  void configure() {
    set(CURLOPT_URL, destination_.url.c_str());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_FOLLOWLOCATION, 0L);
    set(CURLOPT_PROXY, "");
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_QUICK_EXIT, 1L);  // the end does not wait for a name that is being resolved
    set(CURLOPT_TIMEOUT_MS, static_cast<long>(settings_.timeout.count()));
    set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(settings_.timeout.count()));
    set(CURLOPT_HTTPHEADER, headers_);
    set(CURLOPT_POST, 1L);
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    if (!settings_.authorities.empty()) set(CURLOPT_CAINFO, settings_.authorities.c_str());
    set(CURLOPT_WRITEFUNCTION, &HttpListener::take);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_HEADERFUNCTION, &HttpListener::take);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_OPENSOCKETFUNCTION, &HttpListener::open);
    set(CURLOPT_OPENSOCKETDATA, this);
  }

  bool finish() {
    int running = 1;
    while (running > 0 && !cancelled_) {
      if (curl_multi_perform(multi_, &running) != CURLM_OK) return false;
      if (running > 0) curl_multi_poll(multi_, nullptr, 0, kPollMilliseconds, nullptr);
    }
    int left = 0;
    const CURLMsg* message = curl_multi_info_read(multi_, &left);
    if (message == nullptr || message->msg != CURLMSG_DONE || message->data.result != CURLE_OK) {
      return false;
    }
    long status = 0;
    curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
    return status >= 200 && status < 300;
  }

  /// The content of the answer does not matter, but its length must be limited.
  static std::size_t take(char*, std::size_t size, std::size_t count, void* self) {
    auto& listener = *static_cast<HttpListener*>(self);
    listener.received_ += size * count;
    return listener.received_ > listener.settings_.answerBytes ? 0 : size * count;
  }

  static curl_socket_t open(void* self, curlsocktype, curl_sockaddr* to) try {
    const auto& listener = *static_cast<HttpListener*>(self);
    const bool allowed =
        listener.settings_.rules.allow(addressText(&to->addr), listener.destination_.subscriber);
    return allowed ? ::socket(to->family, to->socktype | SOCK_CLOEXEC, to->protocol)
                   : CURL_SOCKET_BAD;
  } catch (const std::exception&) {
    return CURL_SOCKET_BAD;
  }

  void release() {
    curl_easy_cleanup(easy_);
    curl_multi_cleanup(multi_);
    curl_slist_free_all(headers_);
  }

  const Destination destination_;
  const HttpListenerSettings settings_;
  CURL* easy_ = nullptr;
  CURLM* multi_ = nullptr;
  curl_slist* headers_ = nullptr;
  std::size_t received_ = 0;
  std::atomic<bool> cancelled_{false};
};

}  // namespace

std::unique_ptr<Listener> makeHttpListener(const Destination& destination,
                                           const HttpListenerSettings& settings) {
  return std::make_unique<HttpListener>(destination, settings);
}

}  // namespace orv::serve
