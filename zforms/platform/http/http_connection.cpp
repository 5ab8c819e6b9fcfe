#include "zforms/platform/http/http_connection.h"

#include <algorithm>
#include <array>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <utility>

#include "zforms/platform/base/os_memory.h"
#include "zforms/platform/http/http_date.h"

namespace zforms {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

// How long the server waits for the client to close after the last answer; see Linger.
constexpr auto kLingerTime = std::chrono::seconds(2);
// How many bytes of an answer are sent at a time.
constexpr size_t kSendSize = 64 * 1024;
constexpr size_t kReadSize = 16 * 1024;
// A request with a longer body may take long to process.
constexpr uint64_t kHeavyBody = uint64_t{256} << 10;
// A body is short when it is at most the limit of all bodies divided by this.
constexpr uint64_t kShortBody = 1024;
constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";

const char* TextOf(eHTTPIntrusion intrusion) {
  switch (intrusion) {
    case eHTTPIntrusion::eHost: return "the request is addressed to another server";
    case eHTTPIntrusion::eOrigin: return "a page of another origin sent the request";
    case eHTTPIntrusion::eFetchSite: return "another site sent the request";
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

void HTTPConnectionShare::AddBusy(int change) {
  const std::lock_guard lock(mutex);
  busy += change;
  if (busy == 0 && door_closed) quiet.notify_all();
}

// A request that waits for a thread. If it is dropped from the queue, the client gets an error.
struct HTTPConnection::Waiting {
  ~Waiting() {
    if (queued) asio::post(connection->share_.io, [self = connection] { self->Refuse(503, "the server is stopping"); });
  }
  std::shared_ptr<HTTPConnection> connection;
  ZHTTPReadRequest request;
  bool keep;
  bool queued = false;
};

HTTPConnection::HTTPConnection(HTTPConnectionShare& share, tcp::socket socket)
    : share_(share), socket_(std::move(socket)), buffer_(share.limits.header_bytes + kReadSize) {}

void HTTPConnection::Start() {
  error_code ignored;
  socket_.set_option(tcp::no_delay(true), ignored);
  const tcp::endpoint remote = socket_.remote_endpoint(ignored);
  remote_ = Chaine(remote.address().to_string(ignored));
  NextRequest();
}

void HTTPConnection::Enter(Phase phase, Clock::duration time) {
  const bool was_busy = IsBusy();
  phase_ = phase;
  since_ = Clock::now();
  deadline_ = time == Clock::duration::max() ? Clock::time_point::max() : since_ + time;
  if (IsBusy() != was_busy) share_.AddBusy(was_busy ? -1 : 1);
}

void HTTPConnection::NextRequest() {
  reader_ = std::make_unique<HTTPRequestReader>(share_.limits, share_.port);
  infos_ = {};
  infos_.remote_address = remote_;
  in_body_ = false;
  Enter(Phase::eIdle, share_.limits.idle_time);
  if (filled_ == 0) {
    Read();
  } else {
    TakeBytes();
  }
}

void HTTPConnection::Read() {
  in_read_ = true;
  socket_.async_read_some(asio::buffer(buffer_.data() + filled_, buffer_.size() - filled_),
                          [self = shared_from_this()](const error_code& error, size_t count) {
                            self->in_read_ = false;
                            self->OnRead(error, count);
                          });
}

void HTTPConnection::OnRead(const error_code& error, size_t count) {
  if (phase_ == Phase::eLingering) return error ? Close() : Read();
  // While a refusal is being sent, further input is ignored.
  if (phase_ != Phase::eIdle && phase_ != Phase::eReading) return;
  if (error) return Close();
  filled_ += count;
  TakeBytes();
}

void HTTPConnection::TakeBytes() {
  const size_t taken = reader_->Take({buffer_.data(), filled_});
  filled_ -= taken;
  if (filled_ != 0 && taken != 0) std::copy_n(buffer_.data() + taken, filled_, buffer_.data());
  CountBody(reader_->BodySize());
  switch (reader_->GetState()) {
    case HTTPRequestReader::State::eStart: return Read();
    case HTTPRequestReader::State::eHead:
      if (phase_ == Phase::eIdle) Enter(Phase::eReading, share_.limits.header_time);
      return Read();
    case HTTPRequestReader::State::eBody: return OnBody();
    case HTTPRequestReader::State::eComplete: return Dispatch();
    case HTTPRequestReader::State::eRefused:
      share_.host->Refused(reader_->Verdict(), reader_->Request());
      return Refuse(reader_->Verdict().status, TextOf(reader_->Verdict().intrusion));
  }
}

void HTTPConnection::CountBody(uint64_t bytes) {
  share_.pending_body_bytes += bytes - body_bytes_;
  body_bytes_ = bytes;
}

void HTTPConnection::OnBody() {
  // Short bodies are always accepted: all of them together take little memory.
  const uint64_t limit = share_.limits.pending_body_bytes;
  if (share_.pending_body_bytes > limit && body_bytes_ > limit / kShortBody) {
    return Refuse(503, "too many requests with long bodies at the same time");
  }
  const bool begins = !in_body_;
  in_body_ = true;
  if (begins) Enter(Phase::eReading, share_.limits.body_time);
  if (begins && reader_->ExpectsContinue() && reader_->BodySize() == 0 && filled_ == 0) return SendContinue();
  Read();
}

void HTTPConnection::SendContinue() {
  asio::async_write(socket_, asio::buffer(kContinue.data(), kContinue.size()),
                    [self = shared_from_this()](const error_code& error, size_t) {
                      if (self->phase_ != Phase::eReading) return;
                      return error ? self->Close() : self->Read();
                    });
}

void HTTPConnection::Dispatch() {
  received_ = Clock::now();
  const bool keep = reader_->KeepsAlive();
  const std::shared_ptr<Waiting> waiting(new Waiting{shared_from_this(), reader_->TakeRequest(), keep});
  ZHTTPReadRequest& request = waiting->request;
  request.SetRemoteAddress(remote_);
  infos_.method = request.Method();
  infos_.url = request.URL();
  infos_.bytes_received = request.ContentLength();
  if (share_.host->IsOverloaded()) return Refuse(503, "too many messages are waiting for the host");
  Enter(Phase::eWorking, Clock::duration::max());
  is_heavy_ = request.ContentLength() > kHeavyBody;
  waiting->queued = true;
  const auto work = [waiting] {
    waiting->queued = false;
    waiting->connection->Work(waiting->request, waiting->keep);
  };
  if (share_.pool.Post(work, is_heavy_ ? request.ContentLength() : 0)) return;
  waiting->queued = false;
  Refuse(503, "too many requests are waiting");
}

void HTTPConnection::Work(ZHTTPReadRequest& request, bool keep) {
  auto response = share_.host->Answer(request);
  const bool kept = keep && !share_.draining.load(std::memory_order_relaxed);
  const bool with_body = request.Method() != "HEAD";
  // Frees the request now: it may be large, and the count of bytes in use after the answer does not include it.
  request = ZHTTPReadRequest();
  Chaine head = response->Head(kept, HTTPDateNow());
  asio::post(share_.io, [self = shared_from_this(), response = std::move(response), head = std::move(head), with_body,
                         kept]() mutable { self->Send(std::move(response), head, with_body, kept); });
}

void HTTPConnection::Refuse(int status, const char* reason) {
  if (phase_ == Phase::eClosed) return;
  infos_.reason = reason;
  CountBody(0);
  // Drops the received bytes: the error page is sent at once, whatever the client may still send.
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

void HTTPConnection::Send(std::unique_ptr<ZHTTPSendResponse> response, const Chaine& head, bool with_body, bool keep) {
  response_ = std::move(response);
  head_ = head;
  with_body_ = with_body;
  keep_ = keep;
  // Counts only the answer, because the request is freed already. The answer to a short request is not counted: it is
  // unlikely to be large.
  CountBody(is_heavy_ ? response_->Body().size() : 0);
  // The connection may have been closed while a worker made the answer.
  if (phase_ == Phase::eClosed) return OnSent(asio::error::operation_aborted);
  Enter(Phase::eSending, share_.limits.send_time);
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

void HTTPConnection::OnSent(const error_code& error) {
  infos_.status = response_->Status();
  if (!response_->Reason().IsEmpty()) infos_.reason = response_->Reason();
  if (infos_.reason.IsEmpty() && infos_.status >= 400) infos_.reason = ZHTTPSendResponse::ReasonPhrase(infos_.status);
  infos_.delivered = !error;
  infos_.bytes_sent = with_body_ && !error ? response_->Body().size() : 0;
  infos_.duration = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - received_);
  response_.reset();
  head_.Clear();
  CountBody(0);
  if (is_heavy_) share_.pool.Post(GiveBackMemory, 1);
  is_heavy_ = false;
  share_.host->Done(infos_);
  if (error) return Close();
  if (keep_ && !share_.draining.load(std::memory_order_relaxed)) return NextRequest();
  Linger();
}

// Waits for the client to close. Closing while the client still sends would reset the connection before the client has
// read the answer.
void HTTPConnection::Linger() {
  error_code ignored;
  socket_.shutdown(tcp::socket::shutdown_send, ignored);
  Enter(Phase::eLingering, kLingerTime);
  filled_ = 0;
  if (!in_read_) Read();
}

void HTTPConnection::Close() {
  if (phase_ == Phase::eClosed) return;
  if (phase_ == Phase::eReading && in_body_) LogBroken();
  // While a worker answers, the request is still in memory and stays counted.
  if (phase_ != Phase::eWorking) CountBody(0);
  Enter(Phase::eClosed, Clock::duration::max());
  error_code ignored;
  // Cancels pending operations: not every implementation of Windows' sockets ends them when the socket is closed.
  socket_.cancel(ignored);
  socket_.close(ignored);
  share_.connections.erase(shared_from_this());
}

void HTTPConnection::LogBroken() {
  infos_.method = reader_->Request().Method();
  infos_.url = reader_->Request().URL();
  infos_.bytes_received = body_bytes_;
  infos_.reason = "the connection ended before the body was complete";
  share_.host->Done(infos_);
}

void HTTPConnection::CheckDeadline(Clock::time_point now) {
  const bool stalls = phase_ == Phase::eSending && now - since_ >= share_.limits.stall_time;
  if (now < deadline_ && !stalls) return;
  if (phase_ == Phase::eReading) return Refuse(408, "");
  Close();
}

}  // namespace zforms
