#include "zforms/platform/http/http_request_reader.h"

#include <algorithm>
#include <boost/beast/http/basic_parser.hpp>
#include <utility>

#include "zforms/platform/base/ascii.h"
#include "zforms/platform/base/hex.h"

namespace zforms {

namespace {

namespace http = boost::beast::http;
using boost::beast::error_code;
using boost::beast::string_view;

std::string_view ViewOf(string_view text) { return {text.data(), text.size()}; }

// The error that ends parsing when a check of this class refuses the request; verdict_ has the details.
error_code Refusal() { return http::make_error_code(http::error::bad_value); }

// True when the first line ends with an HTTP version. Called when the parser has refused the version, which is then not
// supported.
bool NamesVersion(std::string_view data) {
  const std::string_view line = data.substr(0, data.find('\n'));
  const size_t at = line.rfind(" HTTP/");
  if (at == std::string_view::npos || std::count(line.begin(), line.end(), ' ') != 2) return false;
  const std::string_view version = line.substr(at + 6);
  return version.size() == 4 && IsDigitASCII(version[0]) && version[1] == '.' && IsDigitASCII(version[2]) &&
         version[3] == '\r';
}

// "0" and two line ends: the shortest end of a chunked body. The parser expects at least this many bytes.
constexpr size_t kLastChunk = 5;

// The end of a token or a quoted string at the front of the text (RFC 9110 5.6.2 and 5.6.4); 0 when there is neither.
size_t EndOfExtensionValue(std::string_view text) {
  if (!text.starts_with('"')) {
    const auto ends = [](const char& c) { return !ZHTTPHeader::IsToken({&c, 1}); };
    return static_cast<size_t>(std::find_if(text.begin(), text.end(), ends) - text.begin());
  }
  for (size_t i = 1; i < text.size(); i++) {
    if (text[i] == '"') return i + 1;
    const bool escaped = text[i] == '\\' && i + 1 < text.size();
    if (!ZHTTPHeader::IsFieldValue(text.substr(i, escaped ? 2 : 1))) return 0;
    i += escaped ? 1 : 0;
  }
  return 0;
}

// *( BWS ";" BWS token [ BWS "=" BWS ( token / quoted-string ) ] ), the extensions allowed after the size of a chunk
// (RFC 9112 7.1.1).
bool IsChunkExtension(std::string_view text) {
  const auto take = [&text](char c) {
    const size_t at = std::min(text.find_first_not_of(" \t"), text.size());
    if (at == text.size() || text[at] != c) return false;
    text.remove_prefix(at + 1);
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    return true;
  };
  while (!text.empty()) {
    if (!take(';') || text.starts_with('"')) return false;
    size_t end = EndOfExtensionValue(text);
    if (end == 0) return false;
    text.remove_prefix(end);
    if (!take('=')) continue;
    end = EndOfExtensionValue(text);
    if (end == 0) return false;
    text.remove_prefix(end);
  }
  return true;
}

bool IsChunkLine(std::string_view line) {
  const auto* const digits_end = std::find_if(line.begin(), line.end(), [](char c) { return HexDigit(c) < 0; });
  return digits_end != line.begin() && IsChunkExtension({digits_end, line.end()});
}

int StatusOf(const error_code& error, std::string_view data) {
  if (error == http::error::header_limit) return 431;
  if (error == http::error::body_limit) return 413;
  return error == http::error::bad_version && NamesVersion(data) ? 505 : 400;
}

}  // namespace

// Collects the parts of a request from the parser's callbacks.
class HTTPRequestReader::Parser : public http::basic_parser<true> {
 public:
  Parser(const sHTTPServerLimits& limits, uint16_t port) : limits_(limits), port_(port) {
    header_limit(limits.header_bytes);
    body_limit(limits.body_bytes);
    eager(true);
  }

  const sHTTPServerLimits& Limits() const { return limits_; }
  const HTTPVerdict& Verdict() const { return verdict_; }
  size_t BodySize() const { return body_.size(); }
  bool IsInChunks() const { return is_header_done() && chunked(); }
  bool ExpectsContinue() const { return header_.Has("Expect") && http11_; }
  // The request without body, for use while the body is received.
  ZHTTPReadRequest MakeHead() const { return {method_, url_, header_, Chaine()}; }
  ZHTTPReadRequest MakeRequest() const {
    // A request may be refused before its target was judged. The log then gets the target as it was sent.
    const bool is_path = target_.View().starts_with('/') && !target_.View().starts_with("//");
    return ZHTTPReadRequest(method_, url_.IsEmpty() && is_path ? ZInetURL(target_) : url_, header_, body_);
  }

 private:
  void on_request_impl(http::verb, string_view method, string_view target, int version, error_code&) override {
    method_ = Chaine(ViewOf(method));
    target_ = Chaine(ViewOf(target));
    http11_ = version == 11;
    header_size_ = method.size() + target.size();
  }
  void on_field_impl(http::field, string_view name, string_view value, error_code& error) override {
    // Ignores trailer fields after a chunked body: a header that was judged must not change.
    if (is_header_done()) return;
    header_size_ += name.size() + value.size() + 4;
    if (header_size_ > limits_.header_bytes || header_.Count() >= limits_.header_fields) {
      return Refuse({431, eHTTPIntrusion::eNone}, &error);
    }
    if (!header_.Add(Chaine(ViewOf(name)), Chaine(ViewOf(value)))) Refuse({400, eHTTPIntrusion::eNone}, &error);
  }
  void on_header_impl(error_code& error) override {
    const HTTPVerdict verdict = JudgeHead(method_, target_, header_, http11_, port_, &url_);
    if (verdict.status != 0) Refuse(verdict, &error);
  }
  void on_body_init_impl(const boost::optional<std::uint64_t>& length, error_code&) override {
    constexpr std::uint64_t kMaxReserved = 64 * 1024;
    if (length) body_.Reserve(static_cast<size_t>(std::min(*length, kMaxReserved)));
  }
  std::size_t on_body_impl(string_view bytes, error_code&) override {
    body_.Append(ViewOf(bytes));
    return bytes.size();
  }
  // Checks the extensions, because the parser accepts control characters between quotes.
  void on_chunk_header_impl(std::uint64_t, string_view extension, error_code& error) override {
    if (!IsChunkExtension(ViewOf(extension))) Refuse({400, eHTTPIntrusion::eNone}, &error);
  }
  std::size_t on_chunk_body_impl(std::uint64_t, string_view bytes, error_code&) override {
    body_.Append(ViewOf(bytes));
    return bytes.size();
  }
  void on_finish_impl(error_code&) override {}
  void on_response_impl(int, string_view, int, error_code&) override {}

  void Refuse(const HTTPVerdict& verdict, error_code* error) {
    verdict_ = verdict;
    *error = Refusal();
  }

  const sHTTPServerLimits& limits_;
  uint16_t port_;
  HTTPVerdict verdict_;
  Chaine method_;
  Chaine target_;
  ZInetURL url_;
  ZHTTPHeader header_;
  Chaine body_;
  size_t header_size_ = 0;
  bool http11_ = false;
};

HTTPRequestReader::HTTPRequestReader(const sHTTPServerLimits& limits, uint16_t port)
    : parser_(std::make_unique<Parser>(limits, port)) {}

HTTPRequestReader::~HTTPRequestReader() = default;

bool HTTPRequestReader::ExpectsContinue() const { return parser_->ExpectsContinue(); }

size_t HTTPRequestReader::BodySize() const { return parser_->BodySize(); }

bool HTTPRequestReader::KeepsAlive() const { return parser_->keep_alive(); }

ZHTTPReadRequest HTTPRequestReader::TakeRequest() {
  parser_.reset();
  return std::move(request_);
}

size_t HTTPRequestReader::Take(std::string_view data) {
  if (data.empty() || state_ == State::eComplete || state_ == State::eRefused) return 0;
  size_t skipped = 0;
  // Some clients send an extra line end after a body (RFC 9112 2.2).
  if (state_ == State::eStart && !skipped_line_ && data[0] == '\r') {
    if (data.size() == 1) return 0;
    skipped_line_ = true;
    skipped = data[1] == '\n' ? 2 : 0;
    data.remove_prefix(skipped);
    if (data.empty()) return skipped;
  }
  state_ = std::max(state_, State::eHead);
  return skipped + Parse(data);
}

size_t HTTPRequestReader::Parse(std::string_view data) {
  size_t taken = 0;
  error_code error;
  // Calls the parser repeatedly, because it stops at the end of each part of the message.
  for (size_t step = 1; step != 0 && !error && !parser_->is_done(); taken += step) {
    const size_t left = data.size() - taken;
    if (left < (parser_->IsInChunks() ? kLastChunk : 1)) break;
    step = parser_->put({data.data() + taken, left}, error);
  }
  if (parser_->is_header_done()) state_ = State::eBody;
  if (taken != 0) {
    scanned_ = 0;
    chunk_line_judged_ = false;
  }
  if (error == http::error::need_more) {
    error = {};
    verdict_.status = JudgeOpenLine(data.substr(taken));
  }
  if (error) verdict_ = parser_->Verdict().status != 0 ? parser_->Verdict() : HTTPVerdict{StatusOf(error, data), {}};
  if (verdict_.status != 0) {
    state_ = State::eRefused;
    request_ = parser_->MakeRequest();
  } else if (parser_->is_done()) {
    state_ = State::eComplete;
    request_ = parser_->MakeRequest();
  } else if (state_ == State::eBody && request_.Method().IsEmpty()) {
    request_ = parser_->MakeHead();
  }
  return taken;
}

// Checks bytes that the parser cannot take yet. The lines of a chunked body and its trailer have the same limit as a
// header. A line feed without carriage return is an error. A complete chunk line is checked here, because the parser
// would search the following data for the end of an open quoted string.
int HTTPRequestReader::JudgeOpenLine(std::string_view bytes) {
  if (bytes.size() >= parser_->Limits().header_bytes) return 431;
  for (; scanned_ < bytes.size(); scanned_++) {
    if (bytes[scanned_] != '\n') continue;
    if (scanned_ == 0 || bytes[scanned_ - 1] != '\r') return 400;
    // The line end of the previous chunk may come first.
    if (scanned_ == 1 || chunk_line_judged_ || !parser_->IsInChunks()) continue;
    chunk_line_judged_ = true;
    const size_t start = bytes.starts_with("\r\n") ? 2 : 0;
    if (!IsChunkLine(bytes.substr(start, scanned_ - 1 - start))) return 400;
  }
  return 0;
}

}  // namespace zforms
