#include "zforms/filling/csv_reader.h"

#include <algorithm>
#include <set>
#include <utility>

#include "zforms/platform/base/ascii.h"
#include "zforms/platform/text/byte_order_mark.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

constexpr std::string_view kSeparators = ",;\t";
// How much of the first record is examined to find the separator.
constexpr size_t kSniffed = 1 << 16;

std::string QuoteIn(uint64_t line) { return "the opening quote of a value in line " + std::to_string(line); }

}  // namespace

CsvReader::CsvReader(ByteSource&& source) : RowReader(std::move(source)) {
  if (source_.Look(kUTF8Mark.size()).starts_with(kUTF8Mark)) {
    source_.Consume(kUTF8Mark.size());
    encoding_ = Encoding::kUTF8;
  }
  ReadHeader();
}

// Finds the separator: from a line such as "sep=;", or by counting the possible separators outside quotes in the
// first record.
void CsvReader::Sniff() {
  const std::string_view text = source_.Look(kSniffed);
  if (text.starts_with("sep=") && text.size() > 5 && (text[5] == '\r' || text[5] == '\n')) {
    separator_ = text[4];
    source_.Consume(5);
    TakeStop();
    return;
  }
  size_t counts[kSeparators.size()] = {};
  bool quoted = false;
  for (const char c : text) {
    if (c == '"') quoted = !quoted;
    if (!quoted && (c == '\r' || c == '\n')) break;
    if (const size_t which = kSeparators.find(c); !quoted && which != std::string_view::npos) counts[which]++;
  }
  separator_ = kSeparators[static_cast<size_t>(std::max_element(std::begin(counts), std::end(counts)) - counts)];
}

void CsvReader::ReadHeader() {
  if (!SkipEmptyLines()) {
    failure_ = "the file has only empty lines; the first line must name the columns";
    return;
  }
  Sniff();
  std::vector<Cell> cells;
  std::string fault;
  ReadRecord(&cells, &fault);
  if (!fault.empty()) failure_ = "the first record, which names the columns: " + fault;
  auto names = std::make_shared<std::vector<std::string>>();
  std::set<std::string> known;
  for (Cell& cell : cells) {
    const bool repeated = !cell.text.empty() && !known.insert(cell.text).second;
    if (repeated && failure_.empty()) failure_ = "two columns are named \"" + cell.text + "\"";
    names->push_back(std::move(cell.text));
  }
  header_ = std::move(names);
}

bool CsvReader::SkipEmptyLines() {
  int c = source_.Peek();
  for (; c == '\r' || c == '\n'; c = source_.Peek()) TakeStop();
  return c >= 0;
}

bool CsvReader::Next(Row* row) {
  row->fault.clear();
  if (!Failure().empty() || !SkipEmptyLines()) return false;
  row->number = ++count_;
  row->line = line_;
  row->names = header_;
  ReadRecord(&row->cells, &row->fault);
  if (row->fault.empty()) CheckCells(row);
  return Failure().empty();
}

// Checks the number of cells. Extra empty cells are removed, because a separator at the end of the line adds one.
void CsvReader::CheckCells(Row* row) {
  std::vector<Cell>& cells = row->cells;
  while (cells.size() > header_->size() && cells.back().text.empty()) cells.pop_back();
  if (cells.size() == header_->size()) return;
  row->fault = "the row has " + std::to_string(cells.size()) + (cells.size() == 1 ? " value" : " values") +
               ", but the first line names " + std::to_string(header_->size()) + " columns";
}

void CsvReader::ReadRecord(std::vector<Cell>* cells, std::string* fault) {
  record_size_ = 0;
  size_t count = 0;
  for (Stop stop = Stop::kSeparator; stop == Stop::kSeparator && failure_.empty(); count++) {
    if (count == cells->size()) cells->emplace_back();
    stop = ReadCell(&(*cells)[count].text, fault);
    if (!ToUTF8(&(*cells)[count].text) && fault->empty()) {
      const bool named = header_ != nullptr && count < header_->size();
      *fault = (named ? "column \"" + (*header_)[count] + "\": " : std::string()) + "the text is not valid UTF-8";
    }
  }
  cells->resize(count);
}

CsvReader::Stop CsvReader::ReadCell(std::string* text, std::string* fault) {
  text->clear();
  if (source_.Peek() != '"') return ReadPlain(text);
  const uint64_t line = line_;
  ReadQuoted(text, fault);
  if (!failure_.empty()) return Stop::kEnd;
  const bool is_long = line_ != line;
  std::string surplus;
  const Stop stop = ReadPlain(&surplus);
  if (surplus.empty() || !fault->empty()) return stop;
  *fault = "text follows the closing quote of a value";
  if (is_long) *fault += "; its opening quote is in line " + std::to_string(line);
  *fault += "; inside a value, a quote is written as \"\"";
  return stop;
}

CsvReader::Stop CsvReader::ReadPlain(std::string* text) {
  while (true) {
    const std::string_view rest = source_.Rest();
    size_t length = 0;
    while (length < rest.size() && rest[length] != separator_ && rest[length] != '\n' && rest[length] != '\r') length++;
    if (!Grow(text, rest.substr(0, length))) return Stop::kEnd;
    source_.Consume(length);
    if (length < rest.size() || rest.empty()) return TakeStop();
  }
}

void CsvReader::ReadQuoted(std::string* text, std::string* fault) {
  const uint64_t line = line_;
  source_.Consume(1);
  while (true) {
    const std::string_view rest = source_.Rest();
    if (rest.empty()) {
      const uint64_t last = line_ - (text->ends_with('\n') ? 1 : 0);
      *fault = QuoteIn(line) + " has no closing quote: everything up to line " + std::to_string(last) +
               " became part of the value";
      return;
    }
    const std::string_view part = rest.substr(0, rest.find('"'));
    line_ += static_cast<uint64_t>(std::count(part.begin(), part.end(), '\n'));
    if (!Grow(text, part)) {
      failure_ = QuoteIn(line) + " has no closing quote within 16 MB";
      return;
    }
    const bool at_quote = part.size() < rest.size();
    source_.Consume(part.size() + (at_quote ? 1 : 0));
    if (!at_quote) continue;
    if (source_.Peek() != '"') return;
    source_.Consume(1);
    text->push_back('"');
  }
}

// Reads the end of a value: a separator, a line end or the end of the file.
CsvReader::Stop CsvReader::TakeStop() {
  const int c = source_.Peek();
  if (c < 0) return Stop::kEnd;
  source_.Consume(1);
  if (c == separator_ && c != '\r' && c != '\n') return Stop::kSeparator;
  if (c == '\r' && source_.Peek() == '\n') source_.Consume(1);
  line_++;
  return Stop::kLine;
}

bool CsvReader::Grow(std::string* text, std::string_view more) {
  record_size_ += more.size();
  if (record_size_ > kMaxRow) {
    failure_ = "line " + std::to_string(line_) + ": a row is longer than 16 MB";
    return false;
  }
  text->append(more);
  return true;
}

// Converts a text to UTF-8; false when it is not valid. The first text that is not ASCII determines the encoding of the
// file.
bool CsvReader::ToUTF8(std::string* text) {
  if (IsASCII(*text)) return true;
  if (encoding_ != Encoding::kWindows1252) {
    const bool valid = IsValidUTF8(*text);
    if (encoding_ == Encoding::kUTF8 || valid) {
      encoding_ = Encoding::kUTF8;
      return valid;
    }
    encoding_ = Encoding::kWindows1252;
  }
  *text = Windows1252ToUTF8(*text).ToString();
  return true;
}

}  // namespace zforms
