#include "tool/pages/submissions_page.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "tool/office/office.h"
#include "tool/office/submission_export.h"
#include "tool/store/store_opening.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/host/template_storage.h"
#include "zforms/platform/http/http_response.h"

namespace zforms::tool {
namespace {

// The object type of nlohmann-json that keeps the order of the fields.
using Json = nlohmann::ordered_json;

constexpr std::string_view kRoot = "/submissions/";
constexpr size_t kListed = 50;
// The number of values of a submission that the list shows.
constexpr size_t kShownValues = 4;

std::string Dump(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

Json Brief(const Submission& one, Office& office) {
  Json values = Json::array();
  for (const auto& [name, value] : one.fields) {
    if (!value.empty() && value != "Off" && values.size() < kShownValues) values.push_back(value);
  }
  const auto card = office.CardOf(Chaine(one.code));
  const std::string title = card == nullptr || card->title.empty() ? one.code : card->title;
  // Writes a 64-bit number as a string, because numbers in JavaScript would lose digits.
  return {{"id", one.id},
          {"received", one.received},
          {"code", one.code},
          {"title", title},
          {"transaction", std::to_string(one.transaction)},
          {"count", one.count},
          {"values", values}};
}

class Session : public ZHTTPServerPageSession {
 public:
  explicit Session(const SubmissionsPage* page) : ZHTTPServerPageSession(page), page_(page) {}

  bool SetRequestHeader(const ZHTTPHeader& header) override {
    if (!page_->HasKey(header.Get("X-Zforms-Key").View()))
      Refuse(403, "the request does not have the key of the submissions page");
    return ZHTTPServerPageSession::SetRequestHeader(header);
  }

  void SendPage(ZHTTPSendResponse& response) override {
    std::string error;
    // Opens a second connection to the store, so that the server's own connection does not wait.
    const std::unique_ptr<Store> store = OpenStore(page_->Data(), Store::Mode::kRead, &error);
    if (store == nullptr) return Refuse(503, error);
    const Chaine path = URL().Path();
    const std::string_view name = path.View().substr(std::min(path.size(), kRoot.size()));
    if (name == "list.json") return SendList(*store, response);
    if (name == "one.json") return SendOne(*store, response);
    if (name == "export.csv") return SendFile(*store, "text/csv; charset=utf-8", "csv", response);
    if (name == "export.json") return SendFile(*store, "application/json", "json", response);
    if (name == "export.xfdf") return SendFile(*store, "application/vnd.adobe.xfdf", "xfdf", response);
    SetStatus(404);
  }

 private:
  SubmissionFilter Filter() const {
    const auto number = [this](const char* name) {
      return static_cast<int64_t>(std::min(ParseUInt64(URL().Param(name)), uint64_t{INT64_MAX}));
    };
    SubmissionFilter filter{URL().Param("code").ToString(),   number("id"),
                            URL().HasParam("rejected"),       URL().HasParam("latest"),
                            URL().Param("search").ToString(), number("before")};
    filter.newest_first = true;
    return filter;
  }

  bool Visit(Store& store, const SubmissionFilter& filter, const std::function<bool(const Submission&)>& visit) {
    if (store.VisitSubmissions(filter, visit)) return true;
    Refuse(503, store.LastError());
    return false;
  }

  void SendList(Store& store, ZHTTPSendResponse& response) {
    SubmissionFilter filter = Filter();
    // The fields of a refused submission are read from its document, because the store does not have them. So a list of
    // refused submissions needs the documents.
    filter.brief = !filter.rejected;
    Json list = Json::array();
    bool has_more = false;
    const bool read = Visit(store, filter, [&](const Submission& found) {
      has_more = list.size() == kListed;
      if (has_more) return false;
      Submission one = found;
      if (filter.rejected) ReadSubmittedFields(&one);
      list.push_back(Brief(one, page_->GetOffice()));
      return true;
    });
    if (!read) return;
    Json codes = Json::array();
    for (const Chaine& code : page_->GetOffice().Server().Storage().Codes()) codes.push_back(code.ToString());
    SendRawData(response, Dump({{"submissions", list}, {"more", has_more}, {"codes", codes}}), "application/json",
                Chaine());
  }

  void SendOne(Store& store, ZHTTPSendResponse& response) {
    Json json;
    const bool read = Visit(store, Filter(), [&](const Submission& found) {
      Submission one = found;
      if (one.fields.empty()) ReadSubmittedFields(&one);
      json = Brief(one, page_->GetOffice());
      json["fields"] = Json::array();
      for (const auto& [name, value] : one.fields) json["fields"].push_back({name, value});
      return false;
    });
    if (!read) return;
    if (json.is_null()) return SetStatus(404);
    SendRawData(response, Dump(json), "application/json", Chaine());
  }

  void SendFile(Store& store, const char* type, const std::string& format, ZHTTPSendResponse& response) {
    SubmissionFilter filter = Filter();
    const bool is_document = format == "xfdf";
    filter.newest_first = is_document;
    std::vector<Submission> submissions;
    const bool read = Visit(store, filter, [&](const Submission& one) {
      submissions.push_back(one);
      if (!is_document && filter.rejected) ReadSubmittedFields(&submissions.back());
      if (!is_document) submissions.back().xfdf.clear();
      return !is_document;
    });
    if (!read) return;
    if (is_document && submissions.empty()) return SetStatus(404);
    const std::string text = is_document        ? submissions.front().xfdf
                             : format == "json" ? SubmissionsAsJSON(submissions)
                                                : SubmissionsAsCSV(submissions, false);
    SendRawData(response, text, type, "submissions." + format);
  }

  const SubmissionsPage* page_;
};

}  // namespace

SubmissionsPage::SubmissionsPage(Office* office, std::string data, std::string key)
    : ZHTTPServerPageBase("GET"), office_(office), data_(std::move(data)), key_(std::move(key)) {}

SubmissionsPage::~SubmissionsPage() = default;

std::unique_ptr<ZHTTPServerPageSession> SubmissionsPage::AllocSession() { return std::make_unique<Session>(this); }

bool SubmissionsPage::HasKey(std::string_view key) const {
  if (key.size() != key_.size()) return false;
  unsigned differences = 0;
  for (size_t i = 0; i < key.size(); i++) differences |= static_cast<unsigned>(key[i] ^ key_[i]);
  return differences == 0;
}

}  // namespace zforms::tool
