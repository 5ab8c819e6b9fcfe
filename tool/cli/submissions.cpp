#include "tool/base/console.h"
#include "tool/base/files.h"
#include "tool/cli/server_commands.h"
#include "tool/office/store.h"
#include "tool/office/submission_export.h"

namespace zforms::tool {

int RunSubmissions(const SubmissionsOptions& options) {
  Console console(options.data);
  std::string error;
  const std::unique_ptr<Store> store = Store::Open(options.data, Store::Mode::kRead, &error);
  std::vector<Submission> submissions;
  const bool read =
      store != nullptr &&
      store->VisitSubmissions({options.code, options.id, options.rejected, options.latest}, [&](const Submission& one) {
        if (options.format == "xfdf") submissions.clear();
        submissions.push_back(one);
        if (options.rejected && options.format != "xfdf") ReadSubmittedFields(&submissions.back());
        return true;
      });
  if (!read) {
    console.Fail(store == nullptr ? error : store->LastError());
    return console.Finish();
  }
  if (options.format != "xfdf") {
    Print(options.format == "json" ? SubmissionsAsJSON(submissions) : SubmissionsAsCSV(submissions, options.raw));
  } else if (submissions.empty()) {
    console.Fail("the submission does not exist");
  } else {
    Print(submissions.back().xfdf);
  }
  return console.Finish();
}

int RunRubrics(const RubricsOptions& options) {
  Console console(options.data);
  std::string error;
  const Store::Mode mode = options.set.empty() ? Store::Mode::kRead : Store::Mode::kEdit;
  const std::unique_ptr<Store> store = Store::Open(options.data, mode, &error);
  if (store == nullptr) {
    console.Fail(error);
    return console.Finish();
  }
  for (const std::string& text : options.set) {
    const size_t equals = text.find('=');
    const size_t point = text.find('.');
    if (equals == std::string::npos || point > equals) {
      console.Fail("\"" + text + "\" is not RUBRIC.FIELD=VALUE");
    } else if (!store->SetRubric(text.substr(0, point), text.substr(point + 1, equals - point - 1),
                                 text.substr(equals + 1))) {
      console.Fail(store->LastError());
    }
  }
  if (!options.set.empty()) return console.Finish();
  for (const auto& [rubric, fields] : store->ReadRubrics()) {
    for (const auto& [field, value] : fields) Print(Printable(rubric + "." + field + "=" + value) + "\n");
  }
  return console.Finish();
}

}  // namespace zforms::tool
