#include "zforms/platform/http/http_client.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <chrono>
#include <string>
#include <vector>

namespace zforms {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;

constexpr uint64_t kMaxBody = uint64_t{256} << 20;
using Clock = std::chrono::steady_clock;

http::request<http::string_body> RequestFor(const ZInetURL& url, const Chaine& method, const Chaine& content_type,
                                            const Chaine& body) {
  http::request<http::string_body> request;
  request.version(11);
  request.method_string(method.ToString());
  const Chaine target = url.AsChaine(true, true);
  request.target(target.View().starts_with('/') ? target.ToString() : "/" + target.ToString());
  const std::string port = url.Port() == 0 ? "" : ":" + std::to_string(url.Port());
  request.set(http::field::host, url.Server().ToString() + port);
  request.set(http::field::connection, "close");
  if (method == "POST") {
    request.set(http::field::content_type, content_type.ToString());
    request.body() = body.ToString();
    request.prepare_payload();
  }
  return request;
}

// The name or address of the server; an IPv6 address such as "[::1]" loses its brackets.
std::string HostOf(const ZInetURL& url) {
  std::string host = url.Server().ToString();
  if (host.size() > 2 && host.front() == '[') host = host.substr(1, host.size() - 2);
  return host;
}

// "localhost" is always this machine, whatever a resolver answers (RFC 6761 6.3).
std::vector<tcp::endpoint> EndpointsOf(const ZInetURL& url, asio::io_context& context,
                                       boost::system::error_code& code) {
  const uint16_t port = url.Port() == 0 ? uint16_t{80} : url.Port();
  const std::string host = HostOf(url);
  if (host == "localhost") {
    return {{asio::ip::address_v4::loopback(), port}, {asio::ip::address_v6::loopback(), port}};
  }
  tcp::resolver resolver(context);
  std::vector<tcp::endpoint> endpoints;
  for (const auto& found : resolver.resolve(host, std::to_string(port), code)) endpoints.push_back(found.endpoint());
  return endpoints;
}

// A connection; all operations together must end by one deadline.
class TimedSocket {
 public:
  explicit TimedSocket(std::chrono::seconds time) : end_(Clock::now() + time) {}

  asio::io_context& Context() { return context_; }
  tcp::socket& Socket() { return socket_; }
  // True when an operation was cancelled at the deadline.
  bool IsLate() const { return late_; }

  // Calls `start` with the completion handler of the operation that it must begin.
  template <class Start>
  boost::system::error_code Await(Start start) {
    boost::system::error_code result;
    bool done = false;
    start([&](const boost::system::error_code& code, const auto&) {
      result = code;
      done = true;
    });
    context_.restart();
    context_.run_until(end_);
    if (done) return result;
    late_ = true;
    socket_.close(result);
    context_.run();
    return asio::error::timed_out;
  }

 private:
  asio::io_context context_;
  tcp::socket socket_{context_};
  Clock::time_point end_;
  bool late_ = false;
};

}  // namespace

bool AskHTTP(const ZInetURL& url, const Chaine& method, const Chaine& content_type, const Chaine& body,
             ZHTTPAnswer* answer, std::string* error, std::chrono::seconds time) {
  if (url.Protocol() != "http" || url.Server().IsEmpty()) {
    *error = "the address must begin with \"http://\" and name a server";
    return false;
  }
  boost::system::error_code code;
  TimedSocket timed(time);
  const std::vector<tcp::endpoint> endpoints = EndpointsOf(url, timed.Context(), code);
  if (!code) {
    code = timed.Await([&](auto handler) { asio::async_connect(timed.Socket(), endpoints, handler); });
  }
  const auto request = RequestFor(url, method, content_type, body);
  if (!code) code = timed.Await([&](auto handler) { http::async_write(timed.Socket(), request, handler); });
  boost::beast::flat_buffer buffer;
  http::response_parser<http::string_body> parser;
  parser.body_limit(kMaxBody);
  if (!code) code = timed.Await([&](auto handler) { http::async_read(timed.Socket(), buffer, parser, handler); });
  if (code) {
    *error = timed.IsLate() ? "no answer came within " + std::to_string(time.count()) + " s" : code.message();
    return false;
  }
  answer->status = static_cast<int>(parser.get().result_int());
  for (const auto& field : parser.get()) {
    answer->header.Add(std::string_view(field.name_string().data(), field.name_string().size()),
                       std::string_view(field.value().data(), field.value().size()));
  }
  answer->body = parser.get().body();
  return true;
}

}  // namespace zforms
