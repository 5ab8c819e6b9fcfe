#include <nlohmann/json.hpp>
#include <set>

#include "tool/base/console.h"
#include "tool/base/files.h"
#include "tool/cli/server_commands.h"
#include "tool/office/store.h"
#include "tool/office/submitted_fields.h"
#include "zforms/filling/csv_writer.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms::tool {
namespace {

using Submissions = std::vector<Submission>;
constexpr const char* kColumns[] = {"id", "received", "code", "folder", "year", "transaction", "count"};

// Reads the fields from the document of a rejected submission, for which the store has no fields.
void ReadFields(Submission* submission) {
  ZXFDF xfdf;
  xfdf.FromChaine(submission->xfdf);
  submission->fields = SubmittedFields(xfdf);
}

// One line for each submission, one column for each field of any submission.
std::string AsCSV(const Submissions& submissions, bool raw) {
  std::set<std::string> names;
  for (const Submission& submission : submissions) {
    for (const auto& [name, value] : submission.fields) names.insert(name);
  }
  std::vector<std::string> cells(std::begin(kColumns), std::end(kColumns));
  cells.insert(cells.end(), names.begin(), names.end());
  std::string text;
  AppendCSVLine(&text, cells, !raw);
  for (const Submission& one : submissions) {
    cells = {std::to_string(one.id),
             one.received,
             one.code,
             std::to_string(one.folder),
             std::to_string(static_cast<int32_t>(one.year)),
             std::to_string(one.transaction),
             std::to_string(one.count)};
    const std::map<std::string, std::string> fields(one.fields.begin(), one.fields.end());
    for (const std::string& name : names) {
      const auto found = fields.find(name);
      cells.push_back(found == fields.end() ? std::string() : found->second);
    }
    AppendCSVLine(&text, cells, !raw);
  }
  return text;
}

std::string AsJSON(const Submissions& submissions) {
  auto list = nlohmann::ordered_json::array();
  for (const Submission& one : submissions) {
    auto fields = nlohmann::ordered_json::object();
    for (const auto& [name, value] : one.fields) fields[name] = value;
    // 64-bit numbers are written as strings, because other JSON readers would lose digits.
    list.push_back({{"id", one.id},
                    {"received", one.received},
                    {"code", one.code},
                    {"folder", std::to_string(one.folder)},
                    {"year", static_cast<int32_t>(one.year)},
                    {"transaction", std::to_string(one.transaction)},
                    {"count", one.count},
                    {"fields", fields}});
  }
  return list.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace

int RunSubmissions(const SubmissionsOptions& options) {
  Console console(options.data);
  std::string error;
  const std::unique_ptr<Store> store = Store::Open(options.data, Store::Mode::kRead, &error);
  Submissions submissions;
  const bool read = store != nullptr &&
                    store->VisitSubmissions({options.code, options.id, options.rejected}, [&](const Submission& one) {
                      if (options.format == "xfdf") submissions.clear();
                      submissions.push_back(one);
                      if (options.rejected && options.format != "xfdf") ReadFields(&submissions.back());
                      return true;
                    });
  if (!read) {
    console.Fail(store == nullptr ? error : store->LastError());
    return console.Finish();
  }
  if (options.format != "xfdf") {
    Print(options.format == "json" ? AsJSON(submissions) : AsCSV(submissions, options.raw));
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
