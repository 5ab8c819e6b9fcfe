#include "tool/base/console.h"
#include "tool/base/files.h"
#include "tool/cli/server_commands.h"
#include "tool/office/submission_export.h"
#include "tool/store/store.h"
#include "tool/store/store_opening.h"

namespace zforms::tool {
namespace {

int Fail(const std::string& address, const std::string& reason) {
  Console console(ShownAddress(address));
  console.Fail(reason);
  return console.Finish();
}

int Upgrade(const std::string& address) {
  int before = 0;
  std::string error;
  if (!UpgradeStore(address, &before, &error)) return Fail(address, error);
  const std::string version = "version " + std::to_string(kStoreVersion);
  Print(ShownAddress(address) + ": " +
        (before == kStoreVersion ? "is of " + version + " already\n"
                                 : "version " + std::to_string(before) + " is now " + version + "\n"));
  return kDone;
}

int Copy(const std::string& from, const std::string& to) {
  std::string error;
  const std::unique_ptr<Store> source = OpenStore(from, Store::Mode::kRead, &error);
  if (source == nullptr) return Fail(from, error);
  // Opens the target like a server, so that no server can use the folder meanwhile.
  const std::unique_ptr<Store> target = OpenStore(to, Store::Mode::kServe, &error);
  if (target == nullptr) return Fail(to, error);
  return CopyStore(*source, *target, &error) ? kDone : Fail(to, error);
}

}  // namespace

int RunSubmissions(const SubmissionsOptions& options) {
  Console console(ShownAddress(options.data));
  std::string error;
  const std::unique_ptr<Store> store = OpenStore(options.data, Store::Mode::kRead, &error);
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
  Console console(ShownAddress(options.data));
  std::string error;
  const Store::Mode mode = options.set.empty() ? Store::Mode::kRead : Store::Mode::kEdit;
  const std::unique_ptr<Store> store = OpenStore(options.data, mode, &error);
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
  Store::Rubrics rubrics;
  if (!store->ReadRubrics(&rubrics)) console.Fail(store->LastError());
  for (const auto& [rubric, fields] : rubrics) {
    for (const auto& [field, value] : fields) Print(Printable(rubric + "." + field + "=" + value) + "\n");
  }
  return console.Finish();
}

int RunStore(const StoreOptions& options) {
  const bool copies = options.action == "copy";
  if (copies != options.target.empty()) return copies ? Copy(options.store, options.target) : Upgrade(options.store);
  return Fail("store", copies ? "\"copy\" needs two stores" : "\"upgrade\" takes one store");
}

}  // namespace zforms::tool
