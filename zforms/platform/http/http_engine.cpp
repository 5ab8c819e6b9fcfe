#include "zforms/platform/http/http_engine.h"

#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <thread>
#include <utility>

#include "zforms/platform/http/http_connection.h"
#include "zforms/platform/http/os_socket.h"

namespace zforms {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;
using Clock = std::chrono::steady_clock;

// The interval between checks of the deadlines.
constexpr auto kTick = std::chrono::milliseconds(50);
// A connection that was silent for this long may be closed to make room for a new one.
constexpr auto kEvictionAge = std::chrono::seconds(1);
// How many connections beyond the limit get an error page; further ones are closed without an answer.
constexpr size_t kRefusedConnections = 32;

}  // namespace

// The members belong to the engine's thread.
struct HTTPEngine::State : HTTPConnectionShare {
  State(const sHTTPServerLimits& wanted, IHTTPEngineHost* owner) : HTTPConnectionShare(wanted, owner), ticker(io) {}

  int Listen(const asio::ip::address& address, uint16_t at);
  int Adopt(uintptr_t socket);
  void Accept(size_t index);
  void Admit(tcp::socket socket);
  bool MakeRoom();
  void Tick();
  void CloseDoor();
  void CloseAll();

  std::vector<tcp::acceptor> acceptors;
  asio::steady_timer ticker;
  std::thread thread;
};

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

int HTTPEngine::State::Adopt(uintptr_t socket) {
  const int version = IPVersionOf(socket);
  if (version == 0 || !IsListening(socket)) return error_code(asio::error::invalid_argument).value();
  error_code error;
  tcp::acceptor acceptor(io);
  acceptor.assign(version == 6 ? tcp::v6() : tcp::v4(), static_cast<tcp::acceptor::native_handle_type>(socket), error);
  if (error) return error.value();
  KeepFromChildren(socket);
  const tcp::endpoint endpoint = acceptor.local_endpoint(error);
  if (error) return error.value();
  const bool fits = acceptors.empty() || endpoint.port() == port;
  if (!endpoint.address().is_loopback() || !fits) return error_code(asio::error::invalid_argument).value();
  port = endpoint.port();
  acceptors.push_back(std::move(acceptor));
  return 0;
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
  const auto connection = std::make_shared<HTTPConnection>(*this, std::move(socket));
  connections.insert(connection);
  connection->Start();
  if (!room) connection->Refuse(503, "too many connections are open");
}

// Closes the connection that has been silent longest. Prefers connections between two requests, then those in the
// middle of a request, then those whose client accepts no bytes of the answer.
bool HTTPEngine::State::MakeRoom() {
  const auto latest = Clock::now() - kEvictionAge;
  std::shared_ptr<HTTPConnection> victim;
  for (const auto& connection : connections) {
    const auto phase = connection->GetPhase();
    const bool waits = phase == HTTPConnection::Phase::eIdle || phase == HTTPConnection::Phase::eReading ||
                       phase == HTTPConnection::Phase::eSending;
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
    const std::vector<std::shared_ptr<HTTPConnection>> all(connections.begin(), connections.end());
    for (const auto& connection : all) connection->CheckDeadline(now);
    Tick();
  });
}

void HTTPEngine::State::CloseDoor() {
  draining = true;
  error_code ignored;
  for (tcp::acceptor& acceptor : acceptors) acceptor.close(ignored);
  const std::vector<std::shared_ptr<HTTPConnection>> all(connections.begin(), connections.end());
  for (const auto& connection : all) {
    const auto phase = connection->GetPhase();
    if (phase == HTTPConnection::Phase::eIdle || phase == HTTPConnection::Phase::eReading) connection->Close();
  }
  {
    const std::lock_guard lock(mutex);
    door_closed = true;
  }
  quiet.notify_all();
}

void HTTPEngine::State::CloseAll() {
  const std::vector<std::shared_ptr<HTTPConnection>> all(connections.begin(), connections.end());
  for (const auto& connection : all) connection->Close();
}

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

int HTTPEngine::Adopt(uintptr_t socket) { return state_->Adopt(socket); }

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
  // Stops the loop after the workers' last answers, which are queued before this, so that these are logged.
  asio::post(state_->io, [state = state_.get()] { state->io.stop(); });
  state_->thread.join();
}

bool HTTPEngine::IsOwnThread() const {
  return state_->thread.get_id() == std::this_thread::get_id() || state_->pool.IsWorker();
}

}  // namespace zforms
