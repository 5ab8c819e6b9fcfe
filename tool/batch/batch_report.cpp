#include "tool/batch/batch_report.h"

#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tool/base/files.h"
#include "tool/base/standard_streams.h"
#include "tool/batch/batch_options.h"
#include "tool/batch/stable_hash.h"

namespace zforms::tool {
namespace {

using Json = nlohmann::ordered_json;

// The report lists at most this many warnings, and gives the number of all.
constexpr size_t kMostWarnings = 10000;
constexpr auto kProgressInterval = std::chrono::milliseconds(200);

std::string Dump(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

std::string Grouped(uint64_t number) {
  std::string digits = std::to_string(number);
  // Inserts a character, not a string: for a string g++ 12 warns wrongly that it may overlap (-Wrestrict).
  for (size_t at = digits.size(); at > 3;) digits.insert(at -= 3, 1, ',');
  return digits;
}

std::string TimeText(double seconds) {
  const auto whole = static_cast<uint64_t>(std::round(seconds));
  const auto two = [](uint64_t value) { return (value < 10 ? "0" : "") + std::to_string(value); };
  if (whole < 3600) return std::to_string(whole / 60) + ":" + two(whole % 60);
  return std::to_string(whole / 3600) + ":" + two(whole / 60 % 60) + ":" + two(whole % 60);
}

std::string Rows(uint64_t count) { return Grouped(count) + (count == 1 ? " row" : " rows"); }

}  // namespace

BatchReport::BatchReport(Console& console, bool by_number)
    : console_(console), unit_(by_number ? "row " : "line "), on_terminal_(IsErrorTerminal()) {}

bool BatchReport::Open(const std::string& path, std::string* error) {
  path_ = path;
  has_report_ = path == kStandardStream || file_.Open(path, error);
  if (!has_report_) return false;
  if (path == kStandardStream) SetBinary(stdout);
  Put("{\n\"failures\": [");
  return true;
}

bool BatchReport::Put(std::string_view text) {
  if (!file_error_.empty()) return false;
  if (path_ != kStandardStream) {
    file_.Write(text, &file_error_);
  } else if (!Print(text)) {
    file_error_ = OutputFault();
  }
  return file_error_.empty();
}

void BatchReport::Filled() {
  const std::lock_guard<std::mutex> lock(mutex_);
  filled_++;
  ShowProgress();
}

void BatchReport::Found() {
  const std::lock_guard<std::mutex> lock(mutex_);
  found_++;
  ShowProgress();
}

void BatchReport::ReadSoFar(double part) {
  const std::lock_guard<std::mutex> lock(mutex_);
  part_ = part;
}

void BatchReport::Failed(const Row& row, const std::string& field, const std::string& file, const std::string& what) {
  const std::lock_guard<std::mutex> lock(mutex_);
  ClearProgress();
  const std::string where = field.empty() ? std::string() : "field \"" + field + "\": ";
  console_.Warn(PlaceOf(row) + where + what);
  if (has_report_) {
    Json json{{"line", row.line}, {"row", row.number}};
    if (!field.empty()) json["field"] = field;
    if (!file.empty()) json["file"] = file;
    json["message"] = what;
    Put((failed_ == 0 ? "\n" : ",\n") + Dump(json));
  }
  failed_++;
}

void BatchReport::Warned(const Row& row, const std::string& file, const std::string& what) {
  const std::lock_guard<std::mutex> lock(mutex_);
  ClearProgress();
  console_.Warn(PlaceOf(row) + what);
  if (has_report_ && warnings_.size() < kMostWarnings) warnings_.push_back({row.line, row.number, file, what});
  warned_++;
}

void BatchReport::Trouble(const std::string& what) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (has_trouble_) return;
  ClearProgress();
  console_.Fail(what);
  has_trouble_ = true;
}

void BatchReport::ShowProgress() {
  if (!on_terminal_ || Clock::now() - shown_ < kProgressInterval) return;
  shown_ = Clock::now();
  const double seconds = Seconds();
  const uint64_t done = filled_ + found_ + failed_;
  std::string line =
      "\r" + Rows(done) + "  " + Grouped(static_cast<uint64_t>(static_cast<double>(done) / seconds)) + "/s";
  if (part_ > 0) line += "  " + TimeText(seconds / part_ - seconds) + " left";
  std::fputs((line + "\x1B[K").c_str(), stderr);
  std::fflush(stderr);
  progress_shown_ = true;
}

void BatchReport::ClearProgress() {
  if (progress_shown_) std::fputs("\r\x1B[K", stderr);
  progress_shown_ = false;
}

bool BatchReport::Finish(const BatchOptions& options, const Outcome& outcome) {
  ClearProgress();
  const double seconds = Seconds();
  const bool ends_early = outcome.stopped && (filled_ + found_ > 0 || outcome.status == kTrouble);
  if (on_terminal_ || failed_ > 0 || ends_early) {
    std::string line = "zforms: " + Rows(filled_) + " filled in " + TimeText(seconds);
    if (found_ > 0) line += ", " + Rows(found_) + " filled before";
    if (failed_ > 0) line += ", " + Rows(failed_) + " not filled";
    std::fputs((line + (outcome.stopped ? "; the batch stopped early\n" : "\n")).c_str(), stderr);
  }
  if (!has_report_) return true;
  Put(failed_ == 0 ? "],\n" : "\n],\n");
  const auto member = [this](const char* name, const Json& value, bool last = false) {
    Put("\"" + std::string(name) + "\": " + Dump(value) + (last ? "\n}\n" : ",\n"));
  };
  member("form", options.file);
  member("data", options.ShownData());
  if (options.HasDatabase()) member("query", std::to_string(StableHash(options.query)));
  member("out", options.folder);
  member("rows", filled_ + found_ + failed_);
  member("filled", filled_);
  member("filled_before", found_);
  member("failed", failed_);
  member("warned", warned_);
  Json warnings = Json::array();
  for (const Warning& warning : warnings_) {
    warnings.push_back(
        {{"line", warning.line}, {"row", warning.row}, {"file", warning.file}, {"message", warning.what}});
  }
  member("warnings", warnings);
  member("stopped", outcome.stopped);
  if (options.shard.IsPart()) member("shard", options.shard.Text());
  if (!outcome.result.empty()) member("result", outcome.result);
  member("status", outcome.status);
  member("jobs", outcome.jobs);
  member("seconds", seconds, true);
  if (file_error_.empty() && (path_ == kStandardStream || file_.Finish(&file_error_))) return true;
  const std::string what = path_ == kStandardStream ? "" : "the report cannot be written: ";
  Console(path_).Fail(what + file_error_);
  return false;
}

}  // namespace zforms::tool
