#include "platform/http_client.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>

namespace zforms {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;

constexpr uint64_t kMaxBody = uint64_t{256} << 20;

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

// The address of "[::1]" stands without its brackets.
std::string HostOf(const ZInetURL& url) {
  std::string host = url.Server().ToString();
  if (host.size() > 2 && host.front() == '[') host = host.substr(1, host.size() - 2);
  return host;
}

bool Fail(const boost::system::error_code& code, std::string* error) {
  *error = code.message();
  return false;
}

}  // namespace

bool AskHTTP(const ZInetURL& url, const Chaine& method, const Chaine& content_type, const Chaine& body,
             ZHTTPAnswer* answer, std::string* error) {
  if (url.Protocol() != "http" || url.Server().IsEmpty()) {
    *error = "is no http URL";
    return false;
  }
  boost::system::error_code code;
  asio::io_context context;
  asio::ip::tcp::resolver resolver(context);
  asio::ip::tcp::socket socket(context);
  const std::string port = std::to_string(url.Port() == 0 ? 80 : url.Port());
  const auto addresses = resolver.resolve(HostOf(url), port, code);
  if (!code) asio::connect(socket, addresses, code);
  if (code) return Fail(code, error);
  const auto request = RequestFor(url, method, content_type, body);
  http::write(socket, request, code);
  if (code) return Fail(code, error);
  boost::beast::flat_buffer buffer;
  http::response_parser<http::string_body> parser;
  parser.body_limit(kMaxBody);
  http::read(socket, buffer, parser, code);
  if (code) return Fail(code, error);
  answer->status = static_cast<int>(parser.get().result_int());
  for (const auto& field : parser.get()) {
    answer->header.Add(std::string_view(field.name_string().data(), field.name_string().size()),
                       std::string_view(field.value().data(), field.value().size()));
  }
  answer->body = parser.get().body();
  return true;
}

}  // namespace zforms
