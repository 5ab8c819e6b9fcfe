#include "zforms/platform/http/http_response.h"

#include <algorithm>
#include <iterator>

#include "zforms/platform/base/ascii.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/files/inet_stream.h"

namespace zforms {

namespace {

struct Phrase {
  int status;
  std::string_view text;
};

constexpr Phrase kPhrases[] = {
    {200, "OK"},
    {201, "Created"},
    {204, "No Content"},
    {303, "See Other"},
    {304, "Not Modified"},
    {400, "Bad Request"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {408, "Request Timeout"},
    {409, "Conflict"},
    {411, "Length Required"},
    {413, "Content Too Large"},
    {417, "Expectation Failed"},
    {431, "Request Header Fields Too Large"},
    {500, "Internal Server Error"},
    {503, "Service Unavailable"},
    {505, "HTTP Version Not Supported"},
};

// Fields that frame or protect a message; sessions cannot set them.
constexpr std::string_view kOwnFields[] = {
    "Cache-Control", "Connection", "Content-Length",    "Cross-Origin-Resource-Policy", "Date",    "ETag",
    "Keep-Alive",    "Trailer",    "Transfer-Encoding", "X-Content-Type-Options",       "Upgrade",
};

// Browsers must not guess another type, frame the answer, load it into a page of another origin or tell another origin
// its address. ("no-referrer" is not used: with it browsers send the forms of our own pages with "Origin: null".)
constexpr std::string_view kProtection =
    "X-Content-Type-Options: nosniff\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "Referrer-Policy: same-origin\r\n";
constexpr std::string_view kFraming = "Content-Security-Policy: frame-ancestors 'none'\r\n";

bool HasNoBody(int status) { return status < 200 || status == 204 || status == 304; }

}  // namespace

// Collects the body, whose size is known.
class ZHTTPSendResponse::BodyStream : public ZInetOStream {
 public:
  BodyStream(Chaine* body, uint64_t size) : body_(body), left_(size) {}

  bool Write(const char* from, size_t size) override {
    if (size > left_) return failed_ = true, false;
    body_->Append({from, size});
    left_ -= size;
    return true;
  }
  bool WriteAll(const Chaine& bytes) override {
    if (!body_->IsEmpty() || bytes.size() > left_) return Write(bytes.data(), bytes.size());
    *body_ = bytes;
    left_ -= bytes.size();
    return true;
  }
  bool IsFull() const { return left_ == 0 && !failed_; }
  void Close() {
    left_ = 0;
    failed_ = true;
  }

 private:
  Chaine* body_;
  uint64_t left_;
  bool failed_ = false;
};

ZHTTPSendResponse::ZHTTPSendResponse() = default;

ZHTTPSendResponse::~ZHTTPSendResponse() = default;

bool ZHTTPSendResponse::SetHeader(const Chaine& name, const Chaine& value) {
  const bool own = std::any_of(std::begin(kOwnFields), std::end(kOwnFields),
                               [&](std::string_view field) { return SameIgnoringASCIICase(field, name); });
  return !own && !StartsIgnoringASCIICase(name, "Access-Control-") && header_.Set(name, value);
}

bool ZHTTPSendResponse::SetEntityTag(const Chaine& tag) {
  if (!ZHTTPHeader::IsFieldValue(tag)) return false;
  entity_tag_ = tag;
  return true;
}

ZInetOStream* ZHTTPSendResponse::BeginSend(uint64_t size) {
  constexpr uint64_t kMaxReserved = uint64_t{1} << 20;
  if (HasBegun()) return nullptr;
  stream_ = std::make_unique<BodyStream>(&body_, size);
  // Limits the memory that a wrong size from a session could reserve.
  body_.Reserve(static_cast<size_t>(std::min(size, kMaxReserved)));
  return stream_.get();
}

bool ZHTTPSendResponse::EndSend() {
  if (!HasBegun() || complete_) return false;
  complete_ = stream_->IsFull();
  // Closes the stream, so that a session that kept the pointer cannot write any more.
  stream_->Close();
  return complete_;
}

void ZHTTPSendResponse::MakeErrorPage(int status) {
  status_ = status;
  entity_tag_ = Chaine();
  // These fields described the previous answer.
  for (const char* name : {"Location", "Content-Location", "Content-Disposition"}) header_.Remove(name);
  const Chaine line = FormatInt(status) + " " + ReasonPhrase(status);
  body_ = "<!DOCTYPE html>\n<html lang=\"en\"><title>" + line + "</title><h1>" + line + "</h1></html>\n";
  header_.Set("Content-Type", "text/html; charset=utf-8");
  header_.Set("Content-Security-Policy", "default-src 'none'; frame-ancestors 'none'");
  stream_ = std::make_unique<BodyStream>(&body_, 0);
  stream_->Close();
  complete_ = true;
}

std::string_view ZHTTPSendResponse::ReasonPhrase(int status) {
  const auto found = std::find_if(std::begin(kPhrases), std::end(kPhrases),
                                  [status](const Phrase& phrase) { return phrase.status == status; });
  return found == std::end(kPhrases) ? "Error" : found->text;
}

Chaine ZHTTPSendResponse::Head(bool keep_alive, std::string_view date) const {
  Chaine head;
  head.Reserve(512);
  head += "HTTP/1.1 ";
  head += FormatInt(status_);
  head += " ";
  head += ReasonPhrase(status_);
  head += "\r\n";
  const auto field = [&head](std::string_view name, std::string_view value) {
    head += name;
    head += ": ";
    head += value;
    head += "\r\n";
  };
  if (!date.empty()) field("Date", date);
  for (size_t i = 0; i < header_.Count(); i++) field(header_[i].name, header_[i].value);
  field("Cache-Control", entity_tag_.IsEmpty() ? "no-store" : "no-cache");
  if (!entity_tag_.IsEmpty()) field("ETag", entity_tag_);
  head += kProtection;
  if (!header_.Has("Content-Security-Policy")) head += kFraming;
  if (!HasNoBody(status_)) field("Content-Length", FormatUInt(body_.size()));
  field("Connection", keep_alive ? "keep-alive" : "close");
  head += "\r\n";
  return head;
}

}  // namespace zforms
