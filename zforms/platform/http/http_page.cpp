#include "zforms/platform/http/http_page.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/http/http_request.h"
#include "zforms/platform/http/http_response.h"

namespace zforms {

namespace {

// The decoded segments of a path after its first "/", without an empty last one. False for an ambiguous path: with "."
// or "..", or with an escaped separator or zero byte.
bool CutPath(std::string_view path, PTableau<Chaine>* segments) {
  for (size_t at = path.starts_with('/') ? 1 : 0; at < path.size();) {
    const size_t end = std::min(path.find('/', at), path.size());
    const Chaine segment = ZInetURL::Decode(path.substr(at, end - at));
    constexpr std::string_view kSeparators("/\\\0", 3);
    if (segment == "." || segment == ".." || segment.View().find_first_of(kSeparators) != std::string_view::npos) {
      return false;
    }
    segments->push_back(segment);
    at = end + 1;
  }
  return true;
}

PTableau<Chaine> CutMethods(std::string_view list) {
  PTableau<Chaine> methods;
  for (size_t at = 0; at < list.size();) {
    const size_t end = std::min(list.find(',', at), list.size());
    const std::string_view method = TrimBlanks(list.substr(at, end - at));
    if (!method.empty()) methods.emplace_back(method);
    at = end + 1;
  }
  if (methods.empty()) return {"GET", "HEAD", "POST"};
  const bool gets = std::find(methods.begin(), methods.end(), "GET") != methods.end();
  if (gets && std::find(methods.begin(), methods.end(), "HEAD") == methods.end()) methods.emplace_back("HEAD");
  return methods;
}

}  // namespace

ZHTTPServerPageSession::~ZHTTPServerPageSession() = default;

bool ZHTTPServerPageSession::SetURL(const ZInetURL& url, const Chaine& method) {
  url_ = url;
  method_ = method;
  if (page_ != nullptr && !page_->AcceptsMethod(method)) SetStatus(405);
  return !IsInError();
}

bool ZHTTPServerPageSession::SetRequestHeader(const ZHTTPHeader&) { return !IsInError(); }

bool ZHTTPServerPageSession::SetFullRequest(ZHTTPReadRequest&) { return !IsInError(); }

void ZHTTPServerPageSession::Refuse(int status, const Chaine& reason) {
  SetStatus(status);
  SetReason(reason);
}

bool ZHTTPServerPageSession::IsInError() const { return status_ >= 400; }

void ZHTTPServerPageSession::SendError(ZHTTPSendResponse& response) {
  if (status_ == 405 && page_ != nullptr) response.SetHeader("Allow", page_->AllowedMethods());
  response.MakeErrorPage(status_);
}

bool ZHTTPServerPageSession::SendRawData(ZHTTPSendResponse& response, const Chaine& bytes, const Chaine& content_type,
                                         const Chaine& file_name) {
  response.SetContentType(content_type);
  if (!file_name.IsEmpty()) {
    response.SetHeader("Content-Disposition", "attachment; filename*=UTF-8''" + ZInetURL::Encode(file_name));
  }
  ZInetOStream* const stream = response.BeginSend(bytes.size());
  return stream != nullptr && stream->WriteAll(bytes) && response.EndSend();
}

IHTTPServerPage::~IHTTPServerPage() = default;

ZHTTPServerPageBase::ZHTTPServerPageBase(const Chaine& methods) : methods_(CutMethods(methods)) {}

ZHTTPServerPageBase::~ZHTTPServerPageBase() = default;

std::unique_ptr<ZHTTPServerPageSession> ZHTTPServerPageBase::StartRequest(const ZInetURL&, const Chaine&) {
  return AllocSession();
}

void ZHTTPServerPageBase::EndRequest(std::unique_ptr<CSessionBase>) {}

bool ZHTTPServerPageBase::AcceptsMethod(std::string_view method) const {
  return std::any_of(methods_.begin(), methods_.end(), [&](const Chaine& one) { return one == method; });
}

Chaine ZHTTPServerPageBase::AllowedMethods() const {
  Chaine list;
  for (const Chaine& method : methods_) list += list.IsEmpty() ? method : ", " + method;
  return list;
}

ZHTTPServerPageNode::ZHTTPServerPageNode() = default;

ZHTTPServerPageNode::~ZHTTPServerPageNode() = default;

void ZHTTPServerPageNode::SetPageHandler(const ZInetURL& root, IHTTPServerPage* page, bool own) {
  Root added;
  if (own) {
    added.page.reset(page);
  } else {
    added.page = std::shared_ptr<IHTTPServerPage>(page, [](IHTTPServerPage*) {});
  }
  if (!CutPath(root.Path(), &added.segments)) return;
  // Destroyed outside the lock, because this may be the last reference to the page.
  std::shared_ptr<IHTTPServerPage> replaced;
  const std::unique_lock lock(mutex_);
  const auto same =
      std::find_if(roots_.begin(), roots_.end(), [&](const Root& other) { return other.segments == added.segments; });
  if (same != roots_.end()) {
    replaced = std::move(same->page);
    roots_.erase(same);
  }
  if (page != nullptr) roots_.push_back(std::move(added));
}

std::shared_ptr<IHTTPServerPage> ZHTTPServerPageNode::FindPage(const ZInetURL& url) const {
  PTableau<Chaine> segments;
  if (!CutPath(url.Path(), &segments)) return nullptr;
  const std::shared_lock lock(mutex_);
  const Root* best = nullptr;
  for (const Root& root : roots_) {
    const bool fits = root.segments.size() <= segments.size() &&
                      std::equal(root.segments.begin(), root.segments.end(), segments.begin());
    if (fits && (best == nullptr || root.segments.size() > best->segments.size())) best = &root;
  }
  return best == nullptr ? nullptr : best->page;
}

std::unique_ptr<ZHTTPServerPageSession> ZHTTPServerPageNode::StartRequest(const ZInetURL& url, const Chaine& method) {
  std::shared_ptr<IHTTPServerPage> page = FindPage(url);
  if (page == nullptr) return nullptr;
  std::unique_ptr<CSessionBase> session = page->StartRequest(url, method);
  if (session != nullptr) session->way_.push_back(std::move(page));
  return session;
}

void ZHTTPServerPageNode::EndRequest(std::unique_ptr<CSessionBase> session) {
  if (session == nullptr || session->way_.empty()) return;
  const std::shared_ptr<IHTTPServerPage> page = std::move(session->way_.back());
  session->way_.pop_back();
  page->EndRequest(std::move(session));
}

}  // namespace zforms
