#include "tests/serve/indication_listener.h"

namespace orv::test {
namespace {

constexpr std::chrono::seconds kPatience{30};

constexpr const char* kAnswer =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE "
    "ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEEXPRSP><EXPMETHODRESPONSE NAME=\"ExportIndication\">"
    "<IRETURNVALUE/></EXPMETHODRESPONSE></SIMPLEEXPRSP></MESSAGE></CIM>";

}  // namespace

IndicationListener::IndicationListener() {
  server_.Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
    answer(request, response);
  });
  port_ = server_.bind_to_any_port("127.0.0.1");
  thread_ = std::thread([this] { server_.listen_after_bind(); });
  while (!server_.is_running()) std::this_thread::yield();
}

IndicationListener::~IndicationListener() {
  hold(false);
  server_.stop();
  thread_.join();
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

std::vector<httplib::Request> IndicationListener::taken() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return taken_;
}

std::size_t IndicationListener::arrivals() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return arrivals_;
}

void IndicationListener::answer(const httplib::Request& request, httplib::Response& response) {
  std::unique_lock<std::mutex> lock(mutex_);
  ++arrivals_;
  changed_.notify_all();
  changed_.wait(lock, [this] { return !hold_; });
  if (failures_ > 0) {
    --failures_;
    response.status = 503;
    return;
  }
  taken_.push_back(request);
  changed_.notify_all();
  response.set_header("CIMExport", "MethodResponse");
  response.set_content(kAnswer, "application/xml; charset=\"utf-8\"");
}

}  // namespace orv::test
