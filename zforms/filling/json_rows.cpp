#include "zforms/filling/json_rows.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <unordered_set>
#include <utility>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/text/characters.h"

namespace zforms {
namespace {

using Json = nlohmann::json;

constexpr size_t kMaxDepth = 100;

// Handles the events of the JSON parser, which does not recurse.
class RowBuilder final : public nlohmann::json_sax<Json> {
 public:
  explicit RowBuilder(Row* row) : row_(row) { row->cells.clear(); }

  bool null() override {
    Cell cell;
    cell.is_null = true;
    return Add(std::move(cell));
  }
  bool boolean(bool truth) override { return AddText(truth ? "true" : "false"); }
  bool number_integer(number_integer_t number) override { return AddText(std::to_string(number)); }
  bool number_unsigned(number_unsigned_t number) override { return AddText(std::to_string(number)); }
  bool number_float(number_float_t, const string_t& digits) override { return AddText(digits); }
  bool string(string_t& text) override { return AddText(std::move(text)); }
  bool binary(binary_t&) override { return Fail("the object contains binary data"); }

  bool start_object(size_t) override {
    if (in_list_) return FailInList("an object");
    if (depth_++ > kMaxDepth) return Fail("objects are nested too deeply");
    starts_.push_back(prefix_.size());
    if (depth_ > 1) prefix_ += key_ + ".";
    return true;
  }
  bool end_object() override {
    prefix_.resize(starts_.back());
    starts_.pop_back();
    depth_--;
    return true;
  }
  bool key(string_t& name) override {
    key_ = std::move(name);
    if (furthest_ != nullptr) end_of_name_ = *furthest_;
    return true;
  }
  bool start_array(size_t) override {
    if (depth_ == 0) return Fail("the row is a list, not an object");
    if (in_list_) return FailInList("a list");
    in_list_ = true;
    list_started_ = false;
    return true;
  }
  bool end_array() override {
    in_list_ = false;
    // An empty list means that nothing is chosen.
    return list_started_ || AddText(std::string());
  }
  bool parse_error(size_t at, const std::string&, const nlohmann::detail::exception& fault) override {
    fault_at_ = at == 0 ? 0 : at - 1;
    // Removes the library's error name and the position, which come first.
    const std::string_view text = fault.what();
    const size_t dash = text.find(" - ");
    return Fail("not valid JSON" +
                (dash == std::string_view::npos ? std::string() : ": " + std::string(text.substr(dash + 3))));
  }

  // Makes the parser stop at member `number` of the object, counted from 0. `furthest` points to the end of what the
  // parser has read.
  void StopAt(size_t number, const char* const* furthest) {
    stop_ = number;
    furthest_ = furthest;
  }
  // The end of the name of the member at which the parsing stopped.
  const char* EndOfName() const { return end_of_name_; }

  std::vector<std::string> TakeNames() { return std::move(names_); }
  const std::string& Error() const { return error_; }
  // The byte offset of a syntax error; unset for other faults.
  const std::optional<size_t>& FaultAt() const { return fault_at_; }

 private:
  bool Fail(std::string error) {
    error_ = std::move(error);
    return false;
  }
  bool FailInList(const char* what) {
    return Fail("the list \"" + prefix_ + key_ + "\" contains " + what +
                "; its elements must be simple values such as texts and numbers");
  }
  bool AddText(std::string text) {
    Cell cell;
    cell.text = std::move(text);
    return Add(std::move(cell));
  }
  bool Add(Cell cell) {
    if (depth_ == 0) return Fail("not a JSON object");
    if (in_list_ && list_started_) {
      row_->cells.back().more.push_back(std::move(cell.text));
      return true;
    }
    if (names_.size() == stop_) return false;
    list_started_ = in_list_;
    names_.push_back(prefix_ + key_);
    row_->cells.push_back(std::move(cell));
    return true;
  }

  Row* row_;
  std::vector<std::string> names_;
  std::string key_;
  std::string prefix_;
  std::vector<size_t> starts_;
  size_t depth_ = 0;
  bool in_list_ = false;
  bool list_started_ = false;
  std::string error_;
  std::optional<size_t> fault_at_;
  size_t stop_ = SIZE_MAX;
  const char* const* furthest_ = nullptr;
  const char* end_of_name_ = nullptr;
};

// The end of the text as line and column; the column counts characters.
std::string PlaceOf(std::string_view text, bool is_line, uint64_t first_line) {
  const std::string_view line = text.substr(text.rfind('\n') + 1);
  const uint64_t column = 1 + CountCharacters(line);
  const uint64_t number = first_line + static_cast<uint64_t>(std::count(text.begin(), text.end(), '\n'));
  return (is_line ? "" : "line " + std::to_string(number) + ", ") + "column " + std::to_string(column) + ": ";
}

// The index of the first name that occurred before; the number of names when none did.
size_t FirstRepeated(const std::vector<std::string>& names) {
  std::unordered_set<std::string_view> known;
  size_t i = 0;
  while (i < names.size() && known.insert(names[i]).second) i++;
  return i;
}

// An iterator that records how far the parser has read.
struct CountingIterator {
  using iterator_category = std::forward_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  const char* at = nullptr;
  const char** furthest = nullptr;

  reference operator*() const { return *at; }
  CountingIterator& operator++() {
    *furthest = ++at;
    return *this;
  }
  CountingIterator operator++(int) {
    const CountingIterator before = *this;
    ++*this;
    return before;
  }
  bool operator==(const CountingIterator& other) const { return at == other.at; }
};

// The offset at which the name of member `number` begins, at its opening quote.
size_t PlaceOfName(std::string_view text, size_t number) {
  const char* furthest = text.data();
  Row row;
  RowBuilder builder(&row);
  builder.StopAt(number, &furthest);
  const CountingIterator begin{text.data(), &furthest};
  Json::sax_parse(begin, CountingIterator{text.data() + text.size(), &furthest}, &builder);
  auto at = static_cast<size_t>(builder.EndOfName() - text.data()) - 1;
  // Searches backwards for the opening quote. A quote within the name has an odd number of backslashes before it.
  for (bool is_quoted = true; is_quoted;) {
    at = text.rfind('"', at - 1);
    const size_t before = at == 0 ? std::string_view::npos : text.find_last_not_of('\\', at - 1);
    is_quoted = (at - (before == std::string_view::npos ? 0 : before + 1)) % 2 == 1;
  }
  return at;
}

}  // namespace

bool ReadJsonRow(std::string_view text, Row* row, std::string* error, std::string_view whole, uint64_t first_line) {
  RowBuilder builder(row);
  const auto place = [text, whole, first_line](size_t at) {
    const bool is_line = whole.empty();
    const size_t begin = is_line || text.empty() ? 0 : static_cast<size_t>(text.data() - whole.data());
    return PlaceOf((is_line ? text : whole).substr(0, begin + at), is_line, first_line);
  };
  if (!Json::sax_parse(text.begin(), text.end(), &builder)) {
    *error = (builder.FaultAt() ? place(*builder.FaultAt()) : std::string()) + builder.Error();
    return false;
  }
  std::vector<std::string> names = builder.TakeNames();
  // Keeps the names of the previous row when they are the same, as usual in a table: they have been checked.
  if (row->names != nullptr && *row->names == names) return true;
  if (const size_t repeated = FirstRepeated(names); repeated < names.size()) {
    *error = place(PlaceOfName(text, repeated)) + "two members are named \"" + names[repeated] + "\"";
    return false;
  }
  row->names = std::make_shared<const std::vector<std::string>>(std::move(names));
  return true;
}

JsonReader::JsonReader(ByteSource&& source) : RowReader(std::move(source)) {
  constexpr size_t kLooked = 1 << 12;
  const std::string_view head = TrimBlanks(source_.Look(kLooked).substr(0, kLooked));
  const std::string_view first_line = TrimBlanks(head.substr(0, head.find('\n')));
  is_list_ = head.starts_with('[');
  // A first line that ends with "{" or "," begins an object of several lines.
  has_lines_ = !is_list_ && !first_line.ends_with('{') && !first_line.ends_with(',');
  line_ = has_lines_ ? 0 : 1;
}

bool JsonReader::ReadLine() {
  text_.clear();
  while (true) {
    const std::string_view rest = source_.Rest();
    if (rest.empty()) break;
    const std::string_view part = rest.substr(0, rest.find('\n'));
    if (text_.size() + part.size() > kMaxRow) {
      failure_ = "line " + std::to_string(line_ + 1) + " is longer than 16 MB";
      return false;
    }
    text_.append(part);
    source_.Consume(part.size() + (part.size() < rest.size() ? 1 : 0));
    if (part.size() < rest.size()) {
      line_++;
      return true;
    }
  }
  line_++;
  return !text_.empty();
}

bool JsonReader::Next(Row* row) {
  row->fault.clear();
  return Failure().empty() && (has_lines_ ? NextLine(row) : NextElement(row));
}

bool JsonReader::NextLine(Row* row) {
  do {
    if (!Failure().empty() || !ReadLine()) return false;
  } while (TrimBlanks(text_).empty());
  row->number = ++count_;
  row->line = line_;
  ReadJsonRow(text_, row, &row->fault);
  return true;
}

bool JsonReader::Fail(const std::string& what) {
  if (Failure().empty()) failure_ = "line " + std::to_string(line_) + ": " + what;
  return false;
}

// False at the end of the source.
bool JsonReader::SkipBlanks() {
  int c = source_.Peek();
  for (; c == ' ' || c == '\t' || c == '\r' || c == '\n'; c = source_.Peek()) {
    if (c == '\n') line_++;
    source_.Consume(1);
  }
  return c >= 0;
}

// Reads up to the next element. False when there is none, or when something else follows: see Failure().
bool JsonReader::BeginsElement() {
  bool may_end = true;
  if (!SkipBlanks()) return is_list_ ? Fail("the list has no closing \"]\"") : false;
  if (is_list_ && !is_open_) {
    is_open_ = true;
    source_.Consume(1);
    SkipBlanks();
  } else if (is_list_ && source_.Peek() == ',') {
    may_end = false;
    source_.Consume(1);
    SkipBlanks();
  } else if (is_list_ && source_.Peek() != ']') {
    return Fail("an element of the list is followed by neither \",\" nor \"]\"");
  }
  if (is_list_ && may_end && source_.Peek() == ']') {
    source_.Consume(1);
    return SkipBlanks() ? Fail("text follows the end of the list") : false;
  }
  if (source_.Peek() == '{') return true;
  return Fail(is_list_ ? "an element of the list is not an object" : "the text after an object is not another object");
}

// Reads one object, or the rest of the text when the object does not end. False when the object is too long.
bool JsonReader::ReadElement() {
  text_.clear();
  size_t depth = 0;
  bool in_string = false;
  bool is_escaped = false;
  while (true) {
    const std::string_view rest = source_.Rest();
    size_t length = 0;
    bool ends = rest.empty();
    while (!ends && length < rest.size()) {
      const char c = rest[length++];
      if (c == '\n') line_++;
      if (in_string) {
        in_string = is_escaped || c != '"';
        is_escaped = !is_escaped && c == '\\';
        continue;
      }
      in_string = c == '"';
      if (c == '{') depth++;
      ends = c == '}' && --depth == 0;
    }
    if (text_.size() + length > kMaxRow) return Fail("an object is longer than 16 MB");
    text_.append(rest.substr(0, length));
    source_.Consume(length);
    if (ends) return true;
  }
}

bool JsonReader::NextElement(Row* row) {
  if (!BeginsElement()) return false;
  row->number = ++count_;
  row->line = line_;
  if (!ReadElement()) return false;
  ReadJsonRow(text_, row, &row->fault, row->line == line_ ? std::string_view() : text_, row->line);
  return true;
}

}  // namespace zforms
