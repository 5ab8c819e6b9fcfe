#include "tool/office/submission_export.h"

#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "tool/office/submitted_fields.h"
#include "zforms/filling/csv_writer.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms::tool {
namespace {

constexpr const char* kColumns[] = {"id", "received", "code", "folder", "year", "transaction", "count"};

}  // namespace

void ReadSubmittedFields(Submission* submission) {
  ZXFDF xfdf;
  xfdf.FromChaine(submission->xfdf);
  submission->fields = SubmittedFields(xfdf);
}

std::string SubmissionsAsCSV(const std::vector<Submission>& submissions, bool raw) {
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

std::string SubmissionsAsJSON(const std::vector<Submission>& submissions) {
  auto list = nlohmann::ordered_json::array();
  for (const Submission& one : submissions) {
    auto fields = nlohmann::ordered_json::object();
    for (const auto& [name, value] : one.fields) fields[name] = value;
    // Writes 64-bit numbers as strings, because JSON readers that use double precision would lose digits.
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

}  // namespace zforms::tool
