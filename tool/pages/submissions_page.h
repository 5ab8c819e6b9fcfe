#pragma once

#include <string>
#include <string_view>

#include "zforms/platform/http/http_page.h"

namespace zforms::tool {

class Office;

// SubmissionsPage gives the stored submissions to the person who runs the server, below "/submissions/":
//
//   list.json    the newest submissions in brief, and whether there are more
//   one.json     all of one submission
//   export.csv, export.json, export.xfdf   submissions as a file; as XFDF the newest one
//
// The parameters "code", "id", "search" and "before", and "latest" and "rejected" with any value, limit the result (see
// SubmissionFilter). A request needs the key in the header field "X-Zforms-Key", which a page of another origin cannot
// send; without it the answer is 403. Owned by the server; the office must outlive it.
class SubmissionsPage : public ZHTTPServerPageBase {
 public:
  SubmissionsPage(Office* office, std::string data, std::string key);
  ~SubmissionsPage() override;

  std::unique_ptr<CSessionBase> AllocSession() override;
  Office& GetOffice() const { return *office_; }
  const std::string& Data() const { return data_; }
  // True when the key is right. The time depends only on the length of the key, not on its characters.
  bool HasKey(std::string_view key) const;

 private:
  Office* office_;
  std::string data_;
  std::string key_;
};

}  // namespace zforms::tool
