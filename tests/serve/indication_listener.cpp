#include "tests/serve/indication_listener.h"

#include <gtest/gtest.h>
#include <microhttpd.h>

#include <memory>

namespace orv::test {
namespace {

constexpr std::chrono::seconds kPatience{30};

constexpr const char* kAnswer =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE "
    "ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEEXPRSP><EXPMETHODRESPONSE NAME=\"ExportIndication\">"
    "<IRETURNVALUE/></EXPMETHODRESPONSE></SIMPLEEXPRSP></MESSAGE></CIM>";

MHD_Result keepHeader(void* request, MHD_ValueKind, const char* name, const char* value) {
  static_cast<Exported*>(request)->headers[name] = value;
  return MHD_YES;
}

MHD_Result onRequest(void* listener, MHD_Connection* connection, const char* url, const char*,
                     const char*, const char* data, std::size_t* size, void** context) {
  auto* request = static_cast<Exported*>(*context);
  if (request == nullptr) {
    *context = request = new Exported;  // deleted when the request is completed
    request->path = url;
    MHD_get_connection_values(connection, MHD_HEADER_KIND, &keepHeader, request);
    return MHD_YES;
  }
  if (*size > 0) {
    request->body.append(data, *size);
    *size = 0;
    return MHD_YES;
  }
  const unsigned status = static_cast<IndicationListener*>(listener)->answer(*request);
  MHD_Response* response =
      MHD_create_response_from_buffer(status == 200 ? std::char_traits<char>::length(kAnswer) : 0,
                                      const_cast<char*>(kAnswer), MHD_RESPMEM_PERSISTENT);
  MHD_add_response_header(response, "CIMExport", "MethodResponse");
  const MHD_Result queued = MHD_queue_response(connection, status, response);
  MHD_destroy_response(response);
  return queued;
}

void onCompleted(void*, MHD_Connection*, void** context, MHD_RequestTerminationCode) {
  delete static_cast<Exported*>(*context);
  *context = nullptr;
}

}  // namespace

IndicationListener::IndicationListener(const std::string& certificate, const std::string& key)
    : scheme_(certificate.empty() ? "http" : "https") {
  unsigned flags = MHD_USE_THREAD_PER_CONNECTION | MHD_USE_INTERNAL_POLLING_THREAD;
  std::vector<MHD_OptionItem> options = {
      {MHD_OPTION_NOTIFY_COMPLETED, reinterpret_cast<intptr_t>(&onCompleted), nullptr}};
  if (!certificate.empty()) {
    flags |= MHD_USE_TLS;
    options.push_back({MHD_OPTION_HTTPS_MEM_CERT, 0, const_cast<char*>(certificate.c_str())});
    options.push_back({MHD_OPTION_HTTPS_MEM_KEY, 0, const_cast<char*>(key.c_str())});
  }
  options.push_back({MHD_OPTION_END, 0, nullptr});
  daemon_ = MHD_start_daemon(flags, 0, nullptr, nullptr, &onRequest, this, MHD_OPTION_ARRAY,
                             options.data(), MHD_OPTION_END);
  if (daemon_ == nullptr) {
    ADD_FAILURE() << "the listener cannot be started";
    return;
  }
  port_ = MHD_get_daemon_info(daemon_, MHD_DAEMON_INFO_BIND_PORT)->port;
}

IndicationListener::~IndicationListener() {
  hold(false);
  if (daemon_ != nullptr) MHD_stop_daemon(daemon_);
}

void IndicationListener::failNext(int count) {
  const std::lock_guard<std::mutex> lock(mutex_);
  failures_ = count;
}

void IndicationListener::hold(bool on) {
  const std::lock_guard<std::mutex> lock(mutex_);
  hold_ = on;
  changed_.notify_all();
}

bool IndicationListener::waitFor(std::size_t count) {
  std::unique_lock<std::mutex> lock(mutex_);
  return changed_.wait_for(lock, kPatience, [&] { return taken_.size() >= count; });
}

bool IndicationListener::waitForArrivals(std::size_t count) {
  std::unique_lock<std::mutex> lock(mutex_);
  return changed_.wait_for(lock, kPatience, [&] { return arrivals_ >= count; });
}

std::vector<Exported> IndicationListener::taken() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return taken_;
}

void IndicationListener::forget() {
  const std::lock_guard<std::mutex> lock(mutex_);
  taken_.clear();
}

std::size_t IndicationListener::arrivals() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return arrivals_;
}

unsigned IndicationListener::answer(const Exported& request) {
  std::unique_lock<std::mutex> lock(mutex_);
  ++arrivals_;
  changed_.notify_all();
  changed_.wait(lock, [this] { return !hold_; });
  if (failures_ > 0) {
    --failures_;
    return 503;
  }
  taken_.push_back(request);
  changed_.notify_all();
  return 200;
}

}  // namespace orv::test
