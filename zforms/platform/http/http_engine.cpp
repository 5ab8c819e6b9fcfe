#include "zforms/platform/http/http_engine.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <unordered_set>
#include <utility>
#include <vector>

#include "zforms/platform/base/os_memory.h"
#include "zforms/platform/base/worker_pool.h"
#include "zforms/platform/http/http_date.h"
#include "zforms/platform/http/http_request_reader.h"
#include "zforms/platform/http/os_socket.h"

namespace zforms {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;
using Clock = std::chrono::steady_clock;

// The interval between checks of the deadlines.
constexpr auto kTick = std::chrono::milliseconds(50);
// How long a client may continue to send after the last answer, so that it can read that answer.
constexpr auto kLingerTime = std::chrono::seconds(2);
// A connection that was silent for this long may be closed to make room for a new one.
constexpr auto kEvictionAge = std::chrono::seconds(1);
// How many bytes of an answer are sent at a time.
constexpr size_t kSendSize = 64 * 1024;
// How many connections beyond the limit get an error page; further ones are closed without an answer.
constexpr size_t kRefusedConnections = 32;
constexpr size_t kReadSize = 16 * 1024;
// A request with a longer body may take long to process.
constexpr uint64_t kHeavyBody = uint64_t{256} << 10;
// A body is short when it is at most the limit of all bodies divided by this.
constexpr uint64_t kShortBody = 1024;
constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";

const char* TextOf(eHTTPIntrusion intrusion) {
  switch (intrusion) {
    case eHTTPIntrusion::eHost: return "it is addressed to another server";
    case eHTTPIntrusion::eOrigin: return "a page of another origin sent it";
    case eHTTPIntrusion::eFetchSite: return "another site sent it";
    case eHTTPIntrusion::eNone:
    case eHTTPIntrusion::eNoPage: break;
  }
  return "";
}

std::unique_ptr<ZHTTPSendResponse> MakeErrorResponse(int status) {
  auto response = std::make_unique<ZHTTPSendResponse>();
  if (status == 503) response->SetHeader("Retry-After", "1");
  response->MakeErrorPage(status);
  return response;
}

}  // namespace

// The members belong to the engine's thread unless noted otherwise.
struct HTTPEngine::State {
  State(const sHTTPServerLimits& wanted, IHTTPEngineHost* owner)
      : limits(wanted), host(owner), ticker(io), pool(wanted.threads, wanted.queue, wanted.body_bytes) {}

  int Listen(const asio::ip::address& address, uint16_t at);
  void Accept(size_t index);
  void Admit(tcp::socket socket);
  bool MakeRoom();
  void Tick();
  void CloseDoor();
  void CloseAll();
  void AddBusy(int change);

  const sHTTPServerLimits limits;
  IHTTPEngineHost* const host;
  uint16_t port = 0;
  asio::io_context io;
  std::vector<tcp::acceptor> acceptors;
  asio::steady_timer ticker;
  std::unordered_set<std::shared_ptr<Connection>> connections;
  uint64_t pending_body_bytes = 0;
  std::atomic<bool> draining{false};
  WorkerPool pool;
  std::thread thread;

  // Protects the members shared with the thread that waits for the end.
  std::mutex mutex;
  std::condition_variable quiet;
  int busy = 0;
  bool door_closed = false;
};

// One client. Kept alive by a pending read, write or worker.
class HTTPEngine::Connection : public std::enable_shared_from_this<Connection> {
 public:
  enum class Phase { eIdle, eReading, eWorking, eSending, eLingering, eClosed };

  Connection(State& engine, tcp::socket socket)
      : engine_(engine), socket_(std::move(socket)), buffer_(engine.limits.header_bytes + kReadSize) {}

  void Start();
  // Sends an error and ends the connection; the reason goes to the log.
  void Refuse(int status, const char* reason);
  void Close();
  void CheckDeadline(Clock::time_point now);
  Phase GetPhase() const { return phase_; }
  // When the phase began, or when the client last accepted bytes of the answer.
  Clock::time_point Since() const { return since_; }

 private:
  // A request that waits for a thread. If it is dropped from the queue, the client gets an error.
  struct Waiting {
    ~Waiting() {
      if (queued) asio::post(connection->engine_.io, [self = connection] { self->Refuse(503, "the server stops"); });
    }
    std::shared_ptr<Connection> connection;
    ZHTTPReadRequest request;
    bool keep;
    bool queued = false;
  };

  void Enter(Phase phase, Clock::duration time);
  bool IsBusy() const { return phase_ == Phase::eWorking || phase_ == Phase::eSending; }
  void NextRequest();
  void Read();
  void OnRead(const error_code& error, size_t count);
  void TakeBytes();
  void OnBody();
  void SendContinue();
  void Dispatch();
  // Runs on a worker thread.
  void Work(ZHTTPReadRequest& request, bool keep);
  void Send(std::unique_ptr<ZHTTPSendResponse> response, const Chaine& head, bool with_body, bool keep);
  void OnSent(const error_code& error);
  void Linger();
  void CountBody(uint64_t bytes);
  void LogBroken();

  State& engine_;
  tcp::socket socket_;
  std::vector<char> buffer_;
  size_t filled_ = 0;
  std::unique_ptr<HTTPRequestReader> reader_;
  Phase phase_ = Phase::eIdle;
  Clock::time_point since_;
  Clock::time_point deadline_ = Clock::time_point::max();
  Chaine remote_;
  bool in_read_ = false;
  bool in_body_ = false;
  uint64_t body_bytes_ = 0;  // as counted in the engine's pending_body_bytes
  bool is_heavy_ = false;    // of the request that is being answered

  // The answer that is being sent, and facts about its request.
  std::unique_ptr<ZHTTPSendResponse> response_;
  Chaine head_;
  bool with_body_ = true;
  bool keep_ = false;
  sHTTPRequestInfos infos_;
  Clock::time_point received_;
};

void HTTPEngine::Connection::Start() {
  error_code ignored;
  socket_.set_option(tcp::no_delay(true), ignored);
  const tcp::endpoint remote = socket_.remote_endpoint(ignored);
  remote_ = Chaine(remote.address().to_string(ignored));
  NextRequest();
}

void HTTPEngine::Connection::Enter(Phase phase, Clock::duration time) {
  const bool was_busy = IsBusy();
  phase_ = phase;
  since_ = Clock::now();
  deadline_ = time == Clock::duration::max() ? Clock::time_point::max() : since_ + time;
  if (IsBusy() != was_busy) engine_.AddBusy(was_busy ? -1 : 1);
}

void HTTPEngine::Connection::NextRequest() {
  reader_ = std::make_unique<HTTPRequestReader>(engine_.limits, engine_.port);
  infos_ = {};
  infos_.remote_address = remote_;
  in_body_ = false;
  Enter(Phase::eIdle, engine_.limits.idle_time);
  if (filled_ == 0) {
    Read();
  } else {
    TakeBytes();
  }
}

void HTTPEngine::Connection::Read() {
  in_read_ = true;
  socket_.async_read_some(asio::buffer(buffer_.data() + filled_, buffer_.size() - filled_),
                          [self = shared_from_this()](const error_code& error, size_t count) {
                            self->in_read_ = false;
                            self->OnRead(error, count);
                          });
}

void HTTPEngine::Connection::OnRead(const error_code& error, size_t count) {
  if (phase_ == Phase::eLingering) return error ? Close() : Read();
  // While a refusal is being sent, further input is ignored.
  if (phase_ != Phase::eIdle && phase_ != Phase::eReading) return;
  if (error) return Close();
  filled_ += count;
  TakeBytes();
}

void HTTPEngine::Connection::TakeBytes() {
  const size_t taken = reader_->Take({buffer_.data(), filled_});
  filled_ -= taken;
  if (filled_ != 0 && taken != 0) std::copy_n(buffer_.data() + taken, filled_, buffer_.data());
  CountBody(reader_->BodySize());
  switch (reader_->GetState()) {
    case HTTPRequestReader::State::eStart: return Read();
    case HTTPRequestReader::State::eHead:
      if (phase_ == Phase::eIdle) Enter(Phase::eReading, engine_.limits.header_time);
      return Read();
    case HTTPRequestReader::State::eBody: return OnBody();
    case HTTPRequestReader::State::eComplete: return Dispatch();
    case HTTPRequestReader::State::eRefused:
      engine_.host->Refused(reader_->Verdict(), reader_->Request());
      return Refuse(reader_->Verdict().status, TextOf(reader_->Verdict().intrusion));
  }
}

void HTTPEngine::Connection::CountBody(uint64_t bytes) {
  engine_.pending_body_bytes += bytes - body_bytes_;
  body_bytes_ = bytes;
}

void HTTPEngine::Connection::OnBody() {
  // Short bodies are always accepted: all of them together take little memory.
  const uint64_t limit = engine_.limits.pending_body_bytes;
  if (engine_.pending_body_bytes > limit && body_bytes_ > limit / kShortBody) {
    return Refuse(503, "too many long bodies come at the same time");
  }
  const bool begins = !in_body_;
  in_body_ = true;
  if (begins) Enter(Phase::eReading, engine_.limits.body_time);
  if (begins && reader_->ExpectsContinue() && reader_->BodySize() == 0 && filled_ == 0) return SendContinue();
  Read();
}

void HTTPEngine::Connection::SendContinue() {
  asio::async_write(socket_, asio::buffer(kContinue.data(), kContinue.size()),
                    [self = shared_from_this()](const error_code& error, size_t) {
                      if (self->phase_ != Phase::eReading) return;
                      return error ? self->Close() : self->Read();
                    });
}

void HTTPEngine::Connection::Dispatch() {
  received_ = Clock::now();
  const bool keep = reader_->KeepsAlive();
  const std::shared_ptr<Waiting> waiting(new Waiting{shared_from_this(), reader_->TakeRequest(), keep});
  ZHTTPReadRequest& request = waiting->request;
  request.SetRemoteAddress(remote_);
  infos_.method = request.Method();
  infos_.url = request.URL();
  infos_.bytes_received = request.ContentLength();
  if (engine_.host->IsOverloaded()) return Refuse(503, "too much waits for the host");
  Enter(Phase::eWorking, Clock::duration::max());
  is_heavy_ = request.ContentLength() > kHeavyBody;
  waiting->queued = true;
  const auto work = [waiting] {
    waiting->queued = false;
    waiting->connection->Work(waiting->request, waiting->keep);
  };
  if (engine_.pool.Post(work, is_heavy_ ? request.ContentLength() : 0)) return;
  waiting->queued = false;
  Refuse(503, "too many requests wait");
}

void HTTPEngine::Connection::Work(ZHTTPReadRequest& request, bool keep) {
  auto response = engine_.host->Answer(request);
  const bool kept = keep && !engine_.draining.load(std::memory_order_relaxed);
  const bool with_body = request.Method() != "HEAD";
  // Frees the request now: it may be large, and the bytes counted after the answer assume that it is gone.
  request = ZHTTPReadRequest();
  Chaine head = response->Head(kept, HTTPDateNow());
  asio::post(engine_.io, [self = shared_from_this(), response = std::move(response), head = std::move(head), with_body,
                          kept]() mutable { self->Send(std::move(response), head, with_body, kept); });
}

void HTTPEngine::Connection::Refuse(int status, const char* reason) {
  if (phase_ == Phase::eClosed) return;
  infos_.reason = reason;
  CountBody(0);
  // The error page is sent at once, whatever the client may still send.
  filled_ = 0;
  if (infos_.method.IsEmpty()) {
    infos_.method = reader_->Request().Method();
    infos_.url = reader_->Request().URL();
    received_ = Clock::now();
  }
  auto response = MakeErrorResponse(status);
  const Chaine head = response->Head(false, HTTPDateNow());
  Send(std::move(response), head, infos_.method != "HEAD", false);
}

void HTTPEngine::Connection::Send(std::unique_ptr<ZHTTPSendResponse> response, const Chaine& head, bool with_body,
                                  bool keep) {
  response_ = std::move(response);
  head_ = head;
  with_body_ = with_body;
  keep_ = keep;
  // The request is freed already. The answer to a large request is likely to be large.
  CountBody(is_heavy_ ? response_->Body().size() : 0);
  // The connection was closed while a worker made the answer.
  if (phase_ == Phase::eClosed) return OnSent(asio::error::operation_aborted);
  Enter(Phase::eSending, engine_.limits.send_time);
  const std::string_view body = with_body ? response_->Body().View() : std::string_view();
  const std::array<asio::const_buffer, 2> pieces = {asio::buffer(head_.data(), head_.size()),
                                                    asio::buffer(body.data(), body.size())};
  // Called before each piece, that is, each time the client has accepted bytes.
  const auto next_size = [this](const error_code& error, size_t) {
    since_ = Clock::now();
    return error ? size_t{0} : kSendSize;
  };
  asio::async_write(socket_, pieces, next_size,
                    [self = shared_from_this()](const error_code& error, size_t) { self->OnSent(error); });
}

void HTTPEngine::Connection::OnSent(const error_code& error) {
  infos_.status = response_->Status();
  if (!response_->Reason().IsEmpty()) infos_.reason = response_->Reason();
  if (infos_.reason.IsEmpty() && infos_.status >= 400) infos_.reason = ZHTTPSendResponse::ReasonPhrase(infos_.status);
  infos_.delivered = !error;
  infos_.bytes_sent = with_body_ && !error ? response_->Body().size() : 0;
  infos_.duration = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - received_);
  response_.reset();
  head_.Clear();
  CountBody(0);
  if (is_heavy_) engine_.pool.Post(GiveBackMemory, 1);
  is_heavy_ = false;
  engine_.host->Done(infos_);
  if (error) return Close();
  if (keep_ && !engine_.draining.load(std::memory_order_relaxed)) return NextRequest();
  Linger();
}

// Waits for the client to close. Closing while the client still sends would reset the connection before the client has
// read the answer.
void HTTPEngine::Connection::Linger() {
  error_code ignored;
  socket_.shutdown(tcp::socket::shutdown_send, ignored);
  Enter(Phase::eLingering, kLingerTime);
  filled_ = 0;
  if (!in_read_) Read();
}

void HTTPEngine::Connection::Close() {
  if (phase_ == Phase::eClosed) return;
  if (phase_ == Phase::eReading && in_body_) LogBroken();
  // While a worker answers, the request is still in memory.
  if (phase_ != Phase::eWorking) CountBody(0);
  Enter(Phase::eClosed, Clock::duration::max());
  error_code ignored;
  socket_.close(ignored);
  engine_.connections.erase(shared_from_this());
}

void HTTPEngine::Connection::LogBroken() {
  infos_.method = reader_->Request().Method();
  infos_.url = reader_->Request().URL();
  infos_.bytes_received = body_bytes_;
  infos_.reason = "the connection ended within the body";
  engine_.host->Done(infos_);
}

void HTTPEngine::Connection::CheckDeadline(Clock::time_point now) {
  const bool stalls = phase_ == Phase::eSending && now - since_ >= engine_.limits.stall_time;
  if (now < deadline_ && !stalls) return;
  if (phase_ == Phase::eReading) return Refuse(408, "");
  Close();
}

// --- functions of the engine's state ---------------------------------------------------------------

int HTTPEngine::State::Listen(const asio::ip::address& address, uint16_t at) {
  error_code error;
  tcp::acceptor acceptor(io);
  const tcp::endpoint endpoint(address, at);
  acceptor.open(endpoint.protocol(), error);
  if (error) return error.value();
  const auto handle = static_cast<uintptr_t>(acceptor.native_handle());
  KeepFromChildren(handle);
  MakeAddressExclusive(handle);
  if (address.is_v6()) acceptor.set_option(asio::ip::v6_only(true), error);
  acceptor.bind(endpoint, error);
  if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
  if (error) return error.value();
  port = acceptor.local_endpoint(error).port();
  acceptors.push_back(std::move(acceptor));
  return error.value();
}

void HTTPEngine::State::Accept(size_t index) {
  acceptors[index].async_accept([this, index](const error_code& error, tcp::socket socket) {
    if (!acceptors[index].is_open()) return;
    if (!error) {
      KeepFromChildren(static_cast<uintptr_t>(socket.native_handle()));
      Admit(std::move(socket));
      return Accept(index);
    }
    // Probably the process has no free file handles. Retries later, when some have been closed.
    auto pause = std::make_shared<asio::steady_timer>(io, kTick);
    pause->async_wait([this, index, pause](const error_code&) {
      if (acceptors[index].is_open()) Accept(index);
    });
  });
}

void HTTPEngine::State::Admit(tcp::socket socket) {
  const bool room = connections.size() < limits.connections || MakeRoom();
  if (!room && connections.size() >= limits.connections + kRefusedConnections) return;
  const auto connection = std::make_shared<Connection>(*this, std::move(socket));
  connections.insert(connection);
  connection->Start();
  if (!room) connection->Refuse(503, "too many connections are open");
}

// Closes the connection that has been silent longest. Prefers connections between two requests, then those in the
// middle of a request, then those whose client accepts no bytes of the answer.
bool HTTPEngine::State::MakeRoom() {
  const auto latest = Clock::now() - kEvictionAge;
  std::shared_ptr<Connection> victim;
  for (const auto& connection : connections) {
    const auto phase = connection->GetPhase();
    const bool waits = phase == Connection::Phase::eIdle || phase == Connection::Phase::eReading ||
                       phase == Connection::Phase::eSending;
    if (!waits || connection->Since() > latest) continue;
    if (victim == nullptr || std::pair(phase, connection->Since()) < std::pair(victim->GetPhase(), victim->Since())) {
      victim = connection;
    }
  }
  if (victim != nullptr) victim->Close();
  return victim != nullptr;
}

void HTTPEngine::State::Tick() {
  ticker.expires_after(kTick);
  ticker.async_wait([this](const error_code& error) {
    if (error) return;
    const auto now = Clock::now();
    // Closing a connection removes it from the set, so this iterates over a copy.
    const std::vector<std::shared_ptr<Connection>> all(connections.begin(), connections.end());
    for (const auto& connection : all) connection->CheckDeadline(now);
    Tick();
  });
}

void HTTPEngine::State::CloseDoor() {
  draining = true;
  error_code ignored;
  for (tcp::acceptor& acceptor : acceptors) acceptor.close(ignored);
  const std::vector<std::shared_ptr<Connection>> all(connections.begin(), connections.end());
  for (const auto& connection : all) {
    const auto phase = connection->GetPhase();
    if (phase == Connection::Phase::eIdle || phase == Connection::Phase::eReading) connection->Close();
  }
  {
    const std::lock_guard lock(mutex);
    door_closed = true;
  }
  quiet.notify_all();
}

void HTTPEngine::State::CloseAll() {
  const std::vector<std::shared_ptr<Connection>> all(connections.begin(), connections.end());
  for (const auto& connection : all) connection->Close();
}

void HTTPEngine::State::AddBusy(int change) {
  const std::lock_guard lock(mutex);
  busy += change;
  if (busy == 0 && door_closed) quiet.notify_all();
}

// --- functions for the server ----------------------------------------------------------------------

HTTPEngine::HTTPEngine(const sHTTPServerLimits& limits, IHTTPEngineHost* host)
    : state_(std::make_unique<State>(limits, host)) {}

HTTPEngine::~HTTPEngine() {
  Cut();
  Join();
}

int HTTPEngine::Open(uint16_t port) {
  constexpr int kAttempts = 16;
  int error = 0;
  for (int attempt = 0; attempt < kAttempts; attempt++) {
    state_->acceptors.clear();
    error = state_->Listen(asio::ip::address_v4::loopback(), port);
    if (error != 0) return error;
    error = state_->Listen(asio::ip::address_v6::loopback(), state_->port);
    if (error == 0) return 0;
    const error_code code(error, boost::system::system_category());
    // On a machine without IPv6, only IPv4 is served.
    if (code == asio::error::address_family_not_supported || code == boost::system::errc::address_not_available) {
      return 0;
    }
    if (port != 0 || code != asio::error::address_in_use) break;
  }
  state_->acceptors.clear();
  return error;
}

uint16_t HTTPEngine::Port() const { return state_->port; }

void HTTPEngine::Run() {
  state_->pool.Start();
  for (size_t i = 0; i < state_->acceptors.size(); i++) state_->Accept(i);
  state_->Tick();
  state_->thread = std::thread([state = state_.get()] { state->io.run(); });
}

void HTTPEngine::CloseDoor() {
  asio::post(state_->io, [state = state_.get()] { state->CloseDoor(); });
}

bool HTTPEngine::WaitQuiet(std::chrono::milliseconds time) {
  std::unique_lock lock(state_->mutex);
  return state_->quiet.wait_for(lock, time, [this] { return state_->door_closed && state_->busy == 0; });
}

void HTTPEngine::Cut() {
  state_->pool.Finish(true);
  asio::post(state_->io, [state = state_.get()] { state->CloseAll(); });
}

bool HTTPEngine::WaitWorkers(std::chrono::milliseconds time) { return state_->pool.WaitFinished(time); }

void HTTPEngine::Join() {
  state_->pool.Join();
  if (!state_->thread.joinable()) return;
  // Queued after the workers' last answers, so that these are logged before the end.
  asio::post(state_->io, [state = state_.get()] { state->io.stop(); });
  state_->thread.join();
}

bool HTTPEngine::IsOwnThread() const {
  return state_->thread.get_id() == std::this_thread::get_id() || state_->pool.IsWorker();
}

}  // namespace zforms
