#include "serve/http_server.h"

#include <microhttpd.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "serve/addresses.h"
#include "serve/connection_table.h"
#include "serve/log.h"
#include "serve/request_head.h"
#include "serve/worker_pool.h"

namespace orv::serve {
namespace {

using std::chrono::milliseconds;
using Clock = ConnectionTable::Clock;

constexpr const char* kPriorities = "NORMAL:-VERS-ALL:+VERS-TLS1.3:+VERS-TLS1.2";

/// The longest body of a refused request that is still read: if the connection were closed while
/// the client sends, the client would lose the answer.
constexpr std::size_t kPatienceBytes = 8U << 20;

/// Headers of every answer to a GET request: a browser must not guess its type, and no page of
/// another origin may embed it, frame it or keep a handle on its window.
constexpr std::pair<const char*, const char*> kShieldHeaders[] = {
    {"X-Content-Type-Options", "nosniff"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"X-Frame-Options", "DENY"},
    {"Referrer-Policy", "no-referrer"},
};

/// What a stop adds to `stopTime` for the last answers, and again for the end of connections.
constexpr milliseconds kLastMoment{500};

/// How long a connection above the limits may last: enough to tell the client so.
constexpr milliseconds kOverLimitTime{2000};

/// A limit on the bytes that all requests hold together. Thread-safe.
class Budget {
 public:
  explicit Budget(std::size_t limit) : limit_(limit) {}
  bool take(std::size_t bytes) {
    if (held_.fetch_add(bytes) + bytes <= limit_) return true;
    held_ -= bytes;
    return false;
  }
  void give(std::size_t bytes) { held_ -= bytes; }

 private:
  const std::size_t limit_;
  std::atomic<std::size_t> held_{0};
};

int statusOf(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const std::bad_alloc&) {
    return 503;
  } catch (const std::system_error&) {
    return 503;  // no thread could be started
  } catch (const std::length_error&) {
    return 503;
  } catch (const std::exception& e) {
    log(LogLevel::kError, std::string("a request failed: ") + e.what());
    return 500;
  }
}

/// As many connections as the descriptor limit allows, with some descriptors left for files and
/// providers.
std::size_t connectionsPossible(std::size_t wanted) {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return wanted;
  constexpr std::size_t kKept = 64;
  const std::size_t all = static_cast<std::size_t>(limit.rlim_cur);
  const std::size_t possible = all > 2 * kKept ? all - kKept : all / 4;
  return std::max<std::size_t>(1, std::min(wanted, possible));
}

ConnectionTable::Limits tableLimits(const HttpLimits& limits) {
  ConnectionTable::Limits result;
  result.connections = connectionsPossible(limits.connections);
  result.connectionsPerAddress = limits.connectionsPerAddress;
  result.toBeRefused = std::min<std::size_t>(32, result.connections);
  return result;
}

}  // namespace

struct HttpServer::Impl {
  /// One request, from its first line to the end of its answer. Belongs to the library's thread,
  /// except while a worker has it.
  struct Exchange {
    explicit Exchange(Impl& owner) : server(owner) {}
    ~Exchange() {
      server.bodies.give(bodyHeld);
      server.answers.give(answerHeld);
    }
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    Impl& server;
    ConnectionTable::Connection* place = nullptr;
    bool headRead = false;
    int refusal = 0;  // the status of a refused request, whose body is discarded
    bool answered = false;
    bool reads = false;  // GET or HEAD
    Client client;
    BasicCredentials credentials;
    GetRequest get;  // its client is set in the worker
    std::string body;
    std::size_t bodyHeld = 0;
    std::size_t answerHeld = 0;
    HttpAnswer answer;
    milliseconds delay{0};
    bool counted = false;  // in underWay
  };

  Impl(HttpSettings given, HttpServer::Handler httpHandler, std::vector<GetRoute> getRoutes)
      : settings(std::move(given)),
        handler(std::move(httpHandler)),
        routes(std::move(getRoutes)),
        rules{settings.limits.bodyBytes, settings.hostNames},
        bodies(settings.limits.bodyBytesInAll),
        answers(settings.limits.answerBytesInAll),
        table(tableLimits(settings.limits)),
        workers(std::make_unique<WorkerPool>(settings.limits.workers)) {}

  // ---- Callbacks of the library. They return into C, so no exception may leave them. ----

  static Impl& of(void* self) { return *static_cast<Impl*>(self); }

  static MHD_Result onAccept(void* self, const sockaddr* address, socklen_t) try {
    return of(self).stopping || !of(self).table.hasRoomFor(addressText(address)) ? MHD_NO : MHD_YES;
  } catch (const std::exception&) {
    return MHD_NO;
  }

  static void onConnection(void* self, MHD_Connection* connection, void** place,
                           MHD_ConnectionNotificationCode code) try {
    Impl& server = of(self);
    if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
      if (*place != nullptr) {
        server.table.remove(static_cast<ConnectionTable::Connection*>(*place));
      }
      *place = nullptr;
      return;
    }
    const MHD_ConnectionInfo* fd =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    const MHD_ConnectionInfo* from =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
    ConnectionTable::Connection* added =
        server.table.add(fd->connect_fd, addressText(from->client_addr));
    *place = added;
    server.table.endAt(added, Clock::now() + (added->overLimit ? kOverLimitTime
                                                               : server.settings.limits.idleTime));
  } catch (const std::exception&) {
    *place = nullptr;  // its first request is refused
  }

  /// The first line of a request has arrived.
  static void* onFirstLine(void* self, const char*, MHD_Connection* connection) try {
    Impl& server = of(self);
    auto exchange = std::make_unique<Exchange>(server);
    exchange->place = placeOf(connection);
    if (exchange->place != nullptr && !exchange->place->overLimit) {
      server.table.endAt(exchange->place, Clock::now() + server.settings.limits.requestTime);
    }
    return exchange.release();
  } catch (const std::exception&) {
    return nullptr;
  }

  static void onCompleted(void* self, MHD_Connection*, void** context, MHD_RequestTerminationCode) {
    auto* exchange = static_cast<Exchange*>(*context);
    *context = nullptr;
    if (exchange == nullptr) return;
    Impl& server = of(self);
    if (exchange->place != nullptr) {
      server.table.endAt(exchange->place, Clock::now() + server.settings.limits.idleTime);
    }
    const bool counted = exchange->counted;
    delete exchange;
    const std::lock_guard<std::mutex> lock(server.mutex);
    if (counted) --server.underWay;
    server.changed.notify_all();
  }

  static MHD_Result onRequest(void* self, MHD_Connection* connection, const char* path,
                              const char* method, const char*, const char* data, std::size_t* size,
                              void** context) try {
    auto* exchange = static_cast<Exchange*>(*context);
    if (exchange == nullptr) return MHD_NO;
    if (exchange->answered) return of(self).send(connection, *exchange);
    if (!exchange->headRead) {
      exchange->headRead = true;
      return of(self).readHead(connection, method, path, *exchange);
    }
    if (*size > 0) {
      of(self).readBody(*exchange, data, *size);
      *size = 0;
      return MHD_YES;
    }
    return of(self).bodyIsComplete(connection, *exchange);
  } catch (const std::exception&) {
    return MHD_NO;
  }

  // ---- One request. ----

  static ConnectionTable::Connection* placeOf(MHD_Connection* connection) {
    const MHD_ConnectionInfo* info =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
    return info == nullptr ? nullptr
                           : static_cast<ConnectionTable::Connection*>(info->socket_context);
  }

  /// Appends a header or a parameter to a list of them.
  static MHD_Result append(void* list, MHD_ValueKind, const char* name, const char* value) try {
    static_cast<std::vector<std::pair<std::string, std::string>>*>(list)->emplace_back(
        name, value == nullptr ? "" : value);
    return MHD_YES;
  } catch (const std::exception&) {
    return MHD_NO;
  }

  MHD_Result readHead(MHD_Connection* connection, const char* method, const char* path,
                      Exchange& exchange) {
    RequestHead head;
    head.method = method;
    exchange.reads = head.reads();
    MHD_get_connection_values(connection, MHD_HEADER_KIND, &append, &head.headers);
    exchange.refusal =
        exchange.place == nullptr || exchange.place->overLimit ? 503 : refusalOf(head, rules);
    if (exchange.refusal == 0) exchange.client.address = exchange.place->address;
    if (exchange.refusal == 0 && !identify(connection, head, exchange)) {
      exchange.refusal = settings.authenticator != nullptr ? 401 : 403;
    }
    if (exchange.refusal == 0 && exchange.reads) {
      exchange.get.path = path;
      MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, &append,
                                &exchange.get.parameters);
    }
    if (exchange.refusal == 0) return MHD_YES;
    // A body whose length is unclear is not read.
    return exchange.refusal != 400 && mayFinish(head) ? MHD_YES : send(connection, exchange);
  }

  /// Whether the body of a refused request is read and discarded before the answer is sent, so that
  /// the client gets to read it.
  static bool mayFinish(const RequestHead& head) {
    const bool asksFirst = head.header("Expect") != nullptr;
    return !asksFirst && head.method == "POST" && head.header("Transfer-Encoding") == nullptr &&
           contentLength(head) > 0 && contentLength(head) <= kPatienceBytes;
  }

  /// False when the request has neither a valid certificate nor credentials where one is needed. A
  /// password is checked later, by a worker.
  bool identify(MHD_Connection* connection, const RequestHead& head, Exchange& exchange) {
    if (settings.tls != nullptr && !settings.tls->authorityText().empty()) {
      const MHD_ConnectionInfo* info =
          MHD_get_connection_info(connection, MHD_CONNECTION_INFO_GNUTLS_SESSION);
      exchange.client.user = settings.tls->verifiedName(
          static_cast<gnutls_session_int*>(info == nullptr ? nullptr : info->tls_session));
      if (!exchange.client.user.empty()) return true;
      if (settings.authenticator == nullptr) return false;
    }
    return settings.authenticator == nullptr || readCredentials(head, exchange.credentials);
  }

  void readBody(Exchange& exchange, const char* data, std::size_t size) {
    if (exchange.refusal != 0) return;
    if (!bodies.take(size)) {
      exchange.refusal = 503;
      return;
    }
    exchange.bodyHeld += size;
    exchange.body.append(data, size);
  }

  MHD_Result bodyIsComplete(MHD_Connection* connection, Exchange& exchange) {
    if (exchange.refusal != 0) return send(connection, exchange);
    table.letGoOn(exchange.place);
    const std::lock_guard<std::mutex> lock(mutex);
    if (stopping) return MHD_NO;
    const auto [entry, isNew] = suspended.emplace(connection, &exchange);
    try {
      workers->add([this, connection, &exchange] { work(connection, exchange); });
    } catch (const std::bad_alloc&) {
      suspended.erase(entry);
      exchange.refusal = 503;
      return send(connection, exchange);
    }
    exchange.counted = true;
    ++underWay;
    MHD_suspend_connection(connection);  // the worker gives it back under the same lock
    return MHD_YES;
  }

  // ---- In a worker. ----

  void work(MHD_Connection* connection, Exchange& exchange) noexcept {
    try {
      if (isAllowed(exchange)) exchange.answer = answerTo(exchange);
    } catch (...) {
      exchange.refusal = statusOf(std::current_exception());
    }
    exchange.body = std::string();
    bodies.give(std::exchange(exchange.bodyHeld, 0));
    if (exchange.delay.count() == 0) return handBack(connection, exchange);
    try {
      table.runAt(exchange.place, Clock::now() + exchange.delay, [this, connection, &exchange] {
        handBack(connection, exchange);
        return true;
      });
    } catch (const std::bad_alloc&) {
      handBack(connection, exchange);
    }
  }

  HttpAnswer answerTo(Exchange& exchange) const {
    if (!exchange.reads) return handler(exchange.client, exchange.body);
    const GetRoute* route = routeOf(routes, exchange.get.path);
    if (route == nullptr) return errorAnswer(404);
    exchange.get.client = exchange.client;
    return route->handler(exchange.get);
  }

  bool isAllowed(Exchange& exchange) {
    if (settings.authenticator == nullptr || !exchange.client.user.empty()) return true;
    const Authenticator::Answer answer = settings.authenticator->authenticate(
        exchange.client.address, exchange.credentials.user, exchange.credentials.password);
    exchange.delay = answer.delay;
    if (answer.verdict == Authenticator::Verdict::kTooMany) exchange.refusal = 429;
    if (answer.verdict == Authenticator::Verdict::kWrong) exchange.refusal = 401;
    if (exchange.refusal != 0) return false;
    exchange.client.user = exchange.credentials.user;
    return true;
  }

  /// Gives the exchange back to the library's thread. Does nothing after handBackAll.
  void handBack(MHD_Connection* connection, Exchange& exchange) noexcept {
    const std::lock_guard<std::mutex> lock(mutex);
    if (suspended.erase(connection) == 0) return;
    exchange.answered = true;
    MHD_resume_connection(connection);
  }

  // ---- The answer. ----

  static void release(void* text) { delete static_cast<std::string*>(text); }

  /// Reads a stream for the library, whenever the client can take more. Lives as long as the
  /// response.
  struct StreamReader : BodyStream::Reader {
    StreamReader(Impl& owner, MHD_Connection* of, ConnectionTable::Connection* at,
                 std::shared_ptr<BodyStream> body)
        : server(owner), connection(of), place(at), stream(std::move(body)) {}
    void pause() override { MHD_suspend_connection(connection); }
    void goOn() override { MHD_resume_connection(connection); }

    Impl& server;
    MHD_Connection* const connection;
    ConnectionTable::Connection* const place;
    const std::shared_ptr<BodyStream> stream;
  };

  static ssize_t readStream(void* given, std::uint64_t, char* to, std::size_t size) try {
    auto& reader = *static_cast<StreamReader*>(given);
    Impl& server = reader.server;
    // The client has until the next beat to take what it gets now.
    server.table.runAt(reader.place, Clock::now() + server.settings.limits.beatTime,
                       [stream = reader.stream] { return stream->beat(); });
    std::size_t taken = 0;
    const BodyStream::State state = reader.stream->read(reader, to, size, taken);
    if (state == BodyStream::State::kEnded) return MHD_CONTENT_READER_END_OF_STREAM;
    return static_cast<ssize_t>(taken);
  } catch (const std::exception&) {
    return MHD_CONTENT_READER_END_WITH_ERROR;
  }

  static void endStream(void* given) {
    const std::unique_ptr<StreamReader> reader(static_cast<StreamReader*>(given));
    reader->stream->abandon();
    const std::lock_guard<std::mutex> lock(reader->server.mutex);
    reader->server.streams.erase(reader->stream);
  }

  MHD_Response* streamOf(MHD_Connection* connection, const Exchange& exchange) {
    auto reader =
        std::make_unique<StreamReader>(*this, connection, exchange.place, exchange.answer.stream);
    const std::lock_guard<std::mutex> lock(mutex);
    if (stopping) return nullptr;
    constexpr std::size_t kPieceBytes = 4096;
    streams.insert(reader->stream);
    MHD_Response* response = MHD_create_response_from_callback(
        MHD_SIZE_UNKNOWN, kPieceBytes, &readStream, reader.get(), &endStream);
    if (response == nullptr) {
      streams.erase(reader->stream);
      return nullptr;
    }
    static_cast<void>(reader.release());  // endStream deletes it
    // No request follows a stream: a client that is too slow for it loses the connection.
    MHD_add_response_header(response, "Connection", "close");
    noticeDeath(exchange.place->socket);
    return response;
  }

  /// Has the kernel give up on a client that acknowledges nothing for a minute.
  static void noticeDeath(int socket) {
    constexpr unsigned kMilliseconds = 60'000;
    ::setsockopt(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, &kMilliseconds, sizeof kMilliseconds);
  }

  MHD_Response* bodyOf(Exchange& exchange) {
    auto body = std::make_unique<std::string>(std::move(exchange.answer.body));
    std::string* text = body.get();
    const auto inTime = milliseconds(1000 * text->size() / settings.limits.writeBytesPerSecond);
    MHD_Response* response = MHD_create_response_from_buffer_with_free_callback_cls(
        text->size(), text->data(), &release, text);
    if (response == nullptr) return nullptr;
    static_cast<void>(body.release());  // the response deletes it
    if (exchange.place != nullptr) {
      table.abortAt(exchange.place, Clock::now() + settings.limits.writeTime + inTime);
    }
    return response;
  }

  MHD_Result send(MHD_Connection* connection, Exchange& exchange) {
    if (exchange.refusal == 0 && !answers.take(exchange.answer.body.size())) exchange.refusal = 503;
    if (exchange.refusal == 0) exchange.answerHeld = exchange.answer.body.size();
    if (exchange.refusal != 0) exchange.answer = refusalAnswer(exchange);
    MHD_Response* response =
        exchange.answer.stream != nullptr ? streamOf(connection, exchange) : bodyOf(exchange);
    if (response == nullptr) return MHD_NO;
    addHeaders(response, exchange);
    const MHD_Result queued =
        MHD_queue_response(connection, static_cast<unsigned>(exchange.answer.status), response);
    MHD_destroy_response(response);
    return queued;
  }

  HttpAnswer refusalAnswer(const Exchange& exchange) const {
    HttpAnswer answer;
    if (exchange.reads) {
      answer = errorAnswer(exchange.refusal);
    } else {
      answer.status = exchange.refusal;
      answer.mediaType = "";
    }
    answer.headers.emplace_back("Connection", "close");
    if (answer.status == 405) answer.headers.emplace_back("Allow", "GET, HEAD, POST");
    if (answer.status == 401 && settings.authenticator != nullptr) {
      answer.headers.emplace_back("WWW-Authenticate", "Basic realm=\"orvcim\"");
    }
    if (answer.status == 429) answer.headers.emplace_back("Retry-After", "30");
    return answer;
  }

  static void addHeaders(MHD_Response* response, const Exchange& exchange) {
    const auto add = [&](const char* name, const std::string& value) {
      if (!value.empty()) MHD_add_response_header(response, name, value.c_str());
    };
    add("Content-Type", exchange.answer.mediaType);
    for (const auto& [name, value] : exchange.answer.headers) add(name.c_str(), value);
    if (!exchange.reads) return;
    for (const auto& [name, value] : kShieldHeaders) add(name, value);
  }

  // ---- Start and stop. ----

  std::vector<MHD_OptionItem> options() {
    const auto seconds = std::max<long>(
        1, std::chrono::duration_cast<std::chrono::seconds>(settings.limits.writeTime).count());
    const std::size_t room =
        settings.limits.headerBytes + 4096;  // the library keeps data of its own there
    std::vector<MHD_OptionItem> items = {
        {MHD_OPTION_LISTEN_SOCKET, socket->descriptor(), nullptr},
        {MHD_OPTION_CONNECTION_MEMORY_LIMIT, static_cast<intptr_t>(room), nullptr},
        {MHD_OPTION_CONNECTION_TIMEOUT, seconds, nullptr},
        // Above the table's limits, which are those that count.
        {MHD_OPTION_CONNECTION_LIMIT,
         static_cast<intptr_t>(tableLimits(settings.limits).connections + 64), nullptr},
        {MHD_OPTION_NOTIFY_COMPLETED, reinterpret_cast<intptr_t>(&onCompleted), this},
        {MHD_OPTION_NOTIFY_CONNECTION, reinterpret_cast<intptr_t>(&onConnection), this},
        {MHD_OPTION_URI_LOG_CALLBACK, reinterpret_cast<intptr_t>(&onFirstLine), this},
        {MHD_OPTION_EXTERNAL_LOGGER, reinterpret_cast<intptr_t>(&passOver), nullptr},
    };
    if (settings.tls != nullptr) {
      items.push_back({MHD_OPTION_HTTPS_CERT_CALLBACK2, 0, TlsCredentials::chooser()});
      items.push_back({MHD_OPTION_HTTPS_PRIORITIES, 0, const_cast<char*>(kPriorities)});
      if (!settings.tls->authorityText().empty()) {
        items.push_back({MHD_OPTION_HTTPS_MEM_TRUST, 0,
                         const_cast<char*>(settings.tls->authorityText().c_str())});
      }
    }
    items.push_back({MHD_OPTION_END, 0, nullptr});
    return items;
  }

  /// The library's messages are about single clients: broken connections and bad requests.
  static void passOver(void*, const char*, va_list) {}

  void start(ListenSocket listening) {
    socket = std::make_unique<ListenSocket>(std::move(listening));
    std::vector<MHD_OptionItem> items = options();
    unsigned flags = MHD_USE_AUTO_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ERROR_LOG;
    if (settings.tls != nullptr) flags |= MHD_USE_TLS;
    daemon = MHD_start_daemon(flags, 0, &onAccept, this, &onRequest, this, MHD_OPTION_ARRAY,
                              items.data(), MHD_OPTION_END);
    if (daemon == nullptr) throw std::runtime_error("the HTTP server cannot be started");
  }

  void stop() {
    if (daemon == nullptr) return;
    MHD_quiesce_daemon(daemon);  // accepts no more; the socket is closed with `socket`
    endStreams();
    waitForAnswers(settings.limits.stopTime);
    workers.reset();
    handBackAll();
    waitForAnswers(kLastMoment);
    // libmicrohttpd 0.9.75 crashes on a request that it refuses itself while it stops: it composes
    // the refusal, which it could not queue. Clients whose connections have ended send none.
    table.endAll(kLastMoment);
    MHD_stop_daemon(daemon);
    daemon = nullptr;
    socket.reset();
  }

  /// Waits until clients have taken the answers that are under way.
  void waitForAnswers(milliseconds patience) {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait_for(lock, patience, [this] { return underWay == 0; });
  }

  /// Ends the streams; from here on none begins.
  void endStreams() {
    std::set<std::shared_ptr<BodyStream>> all;
    {
      const std::lock_guard<std::mutex> lock(mutex);
      stopping = true;
      all = streams;
    }
    for (const auto& stream : all) stream->end();
  }

  /// Answers 503 to requests that no worker has begun, or whose refusal is still delayed.
  void handBackAll() {
    const std::lock_guard<std::mutex> lock(mutex);
    for (const auto& [connection, exchange] : suspended) {
      exchange->refusal = 503;
      exchange->answered = true;
      MHD_resume_connection(connection);
    }
    suspended.clear();
  }

  const HttpSettings settings;
  const HttpServer::Handler handler;
  const std::vector<GetRoute> routes;
  const HeadRules rules;
  Budget bodies;
  Budget answers;
  ConnectionTable table;
  std::mutex mutex;  // guards suspended, streams, underWay and the change of stopping
  std::condition_variable changed;
  std::map<MHD_Connection*, Exchange*> suspended;  // with a worker, or waiting for one
  std::set<std::shared_ptr<BodyStream>> streams;   // of clients that are listening
  std::size_t underWay = 0;                        // exchanges from suspension to the answer's end
  std::atomic<bool> stopping{false};
  std::unique_ptr<WorkerPool> workers;
  std::unique_ptr<ListenSocket> socket;
  MHD_Daemon* daemon = nullptr;
};

HttpServer::HttpServer(HttpSettings settings, Handler handler, std::vector<GetRoute> routes)
    : impl_(std::make_unique<Impl>(std::move(settings), std::move(handler), std::move(routes))) {}

HttpServer::~HttpServer() { stop(); }

void HttpServer::start(ListenSocket socket) { impl_->start(std::move(socket)); }

void HttpServer::stop() { impl_->stop(); }

std::chrono::milliseconds HttpServer::longestWait() const { return impl_->workers->longestWait(); }

}  // namespace orv::serve
