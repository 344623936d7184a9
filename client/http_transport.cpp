#include "client/http_transport.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <mutex>
#include <string_view>
#include <utility>

namespace orv::client {
namespace {

using std::string_view;

constexpr std::chrono::milliseconds kConnectTime{10'000};

void initialiseOnce() {
  static std::once_flag done;
  std::call_once(done, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

/// What an HTTP status says about the server, as the rest of a sentence that begins with its name.
std::string statusText(long status, const std::string& user) {
  switch (status) {
    case 400:
      return "does not accept the request as CIM-XML";
    case 401:
      return user.empty() ? "asks for a name and a password: put the user into the URL, as in "
                            "https://user@host"
                          : "refuses the name or the password of " + user;
    case 403:
      return "refuses access";
    case 404:
      return "has nothing at that path: is it a CIM server?";
    case 413:
      return "does not accept a request of that size";
    case 421:
      return "does not answer to that host name";
    case 429:
      return "refuses more attempts after wrong passwords; wait half a minute";
    case 503:
      return "is too busy";
    default:
      return "does not answer as a CIM server";
  }
}

/// The text in URL escapes, as the CIMObject header wants it.
std::string escaped(const std::string& text) {
  char* result = curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size()));
  std::string copy = result == nullptr ? "" : result;
  curl_free(result);
  return copy;
}

std::string seconds(std::chrono::milliseconds time) {
  const auto count = time.count();
  if (count % 1000 == 0) return std::to_string(count / 1000) + " s";
  return std::to_string(count) + " ms";
}

}  // namespace

struct HttpTransport::Impl {
  explicit Impl(TransportSettings given) : settings(std::move(given)) {
    initialiseOnce();
    easy = curl_easy_init();
    if (easy == nullptr) throw ConnectionError("no memory for a connection");
    configure();
  }
  ~Impl() { curl_easy_cleanup(easy); }
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  template <typename T>
  void set(CURLoption option, T value) {
    curl_easy_setopt(easy, option, value);
  }

  void configure() {
    set(CURLOPT_URL, settings.url.address().c_str());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_PROXY, "");
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_POST, 1L);
    set(CURLOPT_TIMEOUT_MS, static_cast<long>(settings.timeout.count()));
    set(CURLOPT_CONNECTTIMEOUT_MS,
        static_cast<long>(std::min(settings.timeout, kConnectTime).count()));
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    set(CURLOPT_ERRORBUFFER, error.data());
    set(CURLOPT_WRITEFUNCTION, &Impl::take);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_HEADERFUNCTION, &Impl::countHeader);
    set(CURLOPT_HEADERDATA, this);
    if (settings.login) {
      set(CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC));
      set(CURLOPT_USERNAME, settings.login->user.c_str());
      set(CURLOPT_PASSWORD, settings.login->password.c_str());
    }
    if (!settings.authorities.empty()) {
      set(CURLOPT_CAINFO, settings.authorities.c_str());
      set(CURLOPT_CAPATH, static_cast<char*>(nullptr));
    }
    if (settings.insecure) {
      set(CURLOPT_SSL_VERIFYPEER, 0L);
      set(CURLOPT_SSL_VERIFYHOST, 0L);
    }
    if (settings.cancelled) {
      set(CURLOPT_NOPROGRESS, 0L);
      set(CURLOPT_XFERINFOFUNCTION, &Impl::look);
      set(CURLOPT_XFERINFODATA, this);
    }
  }

  static std::size_t take(char* data, std::size_t size, std::size_t count, void* self) try {
    auto& transport = *static_cast<Impl*>(self);
    if (transport.received + size * count > transport.settings.answerBytes) {
      transport.tooLarge = true;
      return 0;
    }
    transport.received += size * count;
    transport.answer.append(data, size * count);
    return size * count;
  } catch (const std::exception&) {
    return 0;
  }

  static std::size_t countHeader(char*, std::size_t size, std::size_t count, void* self) {
    constexpr std::size_t kHeaderBytes = 64U * 1024;
    auto& transport = *static_cast<Impl*>(self);
    transport.headers += size * count;
    return transport.headers > kHeaderBytes ? 0 : size * count;
  }

  static int look(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) try {
    return static_cast<Impl*>(self)->settings.cancelled() ? 1 : 0;
  } catch (const std::exception&) {
    return 1;
  }

  std::string where() const { return settings.url.name(); }

  /// The time limit that was reached: that of the whole request or that of connecting.
  std::chrono::milliseconds timePassed() const {
    curl_off_t microseconds = 0;
    curl_easy_getinfo(easy, CURLINFO_TOTAL_TIME_T, &microseconds);
    const bool whole = std::chrono::microseconds(microseconds) >= settings.timeout;
    return whole ? settings.timeout : std::min(settings.timeout, kConnectTime);
  }

  [[noreturn]] void fail(CURLcode code) const {
    const std::string& host = settings.url.host;
    const std::string detail = error[0] != '\0' ? error.data() : curl_easy_strerror(code);
    long systemError = 0;
    curl_easy_getinfo(easy, CURLINFO_OS_ERRNO, &systemError);
    const std::string reason =
        systemError != 0 ? std::strerror(static_cast<int>(systemError)) : detail;
    switch (code) {
      case CURLE_COULDNT_RESOLVE_HOST:
        throw ConnectionError("the host name " + host + " is not known");
      case CURLE_COULDNT_CONNECT:
        throw ConnectionError("cannot connect to " + where() + ": " + reason);
      case CURLE_OPERATION_TIMEDOUT:
        throw ConnectionError("no answer from " + where() + " within " + seconds(timePassed()));
      case CURLE_PEER_FAILED_VERIFICATION:
        throw ConnectionError("the certificate of " + where() + " is not trusted: " + detail +
                              "; --ca names the authority that signed it");
      case CURLE_SSL_CACERT_BADFILE:
        throw ConnectionError("--ca " + settings.authorities + " cannot be used: " + detail);
      case CURLE_SSL_CONNECT_ERROR:
        throw ConnectionError("cannot set up TLS with " + where() + ": " + detail);
      case CURLE_ABORTED_BY_CALLBACK:
        throw ConnectionError("interrupted");
      case CURLE_WRITE_ERROR:
        throw ConnectionError(tooLarge ? "the answer of " + where() + " is larger than " +
                                             std::to_string(settings.answerBytes >> 20) + " MiB"
                                       : "the answer of " + where() + " needs too much memory");
      default:
        throw ConnectionError("no answer from " + where() + ": " + detail);
    }
  }

  void requireXml() const {
    long status = 0;
    const char* type = nullptr;
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(easy, CURLINFO_CONTENT_TYPE, &type);
    if (status != 200) {
      const std::string user = settings.login ? settings.login->user : "";
      throw ConnectionError(where() + " " + statusText(status, user) + " (HTTP " +
                            std::to_string(status) + ")");
    }
    const string_view given = type == nullptr ? "" : type;
    if (given.find("xml") == string_view::npos) {
      throw ConnectionError(where() + " answers with " +
                            (given.empty() ? "no type" : std::string(given.substr(0, 80))) +
                            ", not with CIM-XML: is it a CIM server?");
    }
  }

  void perform(const curl_slist* headers_, const std::string& message) {
    received = headers = 0;
    tooLarge = false;
    answer.clear();
    error[0] = '\0';
    set(CURLOPT_HTTPHEADER, headers_);
    set(CURLOPT_POSTFIELDS, message.data());
    set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(message.size()));
    const CURLcode code = curl_easy_perform(easy);
    const char* address = nullptr;
    curl_easy_getinfo(easy, CURLINFO_LOCAL_IP, &address);
    if (address != nullptr && *address != '\0') localAddress = address;
    if (code != CURLE_OK) fail(code);
    requireXml();
  }

  const TransportSettings settings;
  mutable std::mutex mutex;  // guards what follows
  CURL* easy = nullptr;
  std::array<char, CURL_ERROR_SIZE> error{};
  std::string answer;
  std::size_t received = 0;
  std::size_t headers = 0;
  bool tooLarge = false;
  std::string localAddress;
};

HttpTransport::HttpTransport(TransportSettings settings)
    : impl_(std::make_unique<Impl>(std::move(settings))) {}

HttpTransport::~HttpTransport() = default;

std::string HttpTransport::post(const std::string& method, const std::string& nameSpace,
                                const std::string& message) {
  using List = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;
  List headers(nullptr, &curl_slist_free_all);
  for (const std::string& header :
       {std::string("Content-Type: application/xml; charset=\"utf-8\""),
        std::string("Accept: application/xml, text/xml"), std::string("Expect:"),
        std::string("CIMProtocolVersion: 1.0"), std::string("CIMOperation: MethodCall"),
        "CIMMethod: " + method, "CIMObject: " + escaped(nameSpace)}) {
    curl_slist* longer = curl_slist_append(headers.get(), header.c_str());
    if (longer == nullptr) throw ConnectionError("no memory for a request");
    static_cast<void>(headers.release());  // a part of `longer` now
    headers.reset(longer);
  }
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  impl_->perform(headers.get(), message);
  return std::move(impl_->answer);
}

std::string HttpTransport::localAddress() const {
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  return impl_->localAddress;
}

}  // namespace orv::client
