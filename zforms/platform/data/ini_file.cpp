#include "zforms/platform/data/ini_file.h"

#include <algorithm>

#include "zforms/platform/files/file_io.h"
#include "zforms/platform/text/byte_order_mark.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

Chaine TextOfFile(const Chaine& bytes) {
  size_t start = 0;
  while (bytes.View().substr(start).starts_with(kUTF8Mark)) start += kUTF8Mark.size();
  const Chaine text = MarkedUTF16ToUTF8(bytes.Mid(start));
  return IsValidUTF8(text) ? text : Windows1252ToUTF8(text);
}

// Removes the next line from the text and returns it. A line ends in CR LF, LF or CR.
std::string_view TakeLine(std::string_view* text) {
  const size_t end = std::min(text->find_first_of("\r\n"), text->size());
  const std::string_view line = text->substr(0, end);
  text->remove_prefix(end + (text->substr(end, 2) == "\r\n" ? 2 : std::min<size_t>(1, text->size() - end)));
  return line;
}

// Whether the line is a section heading. Names of values may start with "[" too, so a line with a "=" after its first
// "]" is not a heading.
bool IsHeading(std::string_view line) {
  if (!line.starts_with('[')) return false;
  const size_t close = line.find(']');
  return close == line.size() - 1 ||
         line.find('=', close == std::string_view::npos ? 0 : close) == std::string_view::npos;
}

std::string_view NameOfHeading(std::string_view line) {
  line.remove_prefix(1);
  const size_t close = line.ends_with(']') ? line.size() - 1 : line.find(']');
  return TrimBlanks(line.substr(0, close));
}

}  // namespace

Chaine ZIniFileSection::NamedLine(std::string_view name) const {
  const size_t* place = places_.Find(name);
  return place == nullptr ? Chaine() : lines_[*place].second;
}

void ZIniFileSection::Add(const Chaine& name, const Chaine& value) {
  if (const size_t* place = places_.Find(name)) {
    lines_[*place].second = value;
  } else {
    places_.Set(name, lines_.size());
    lines_.emplace_back(name, value);
  }
}

bool ZIniFile::Open(const Chaine& path) {
  Close();
  Chaine bytes;
  if (!ReadFile(path, &bytes, &last_error_)) return false;
  FromChaine(bytes);
  return true;
}

void ZIniFile::Close() {
  names_.clear();
  sections_.Clear();
  last_error_.clear();
}

void ZIniFile::FromChaine(const Chaine& bytes) {
  Close();
  const Chaine text = TextOfFile(bytes);
  ZIniFileSection* section = nullptr;
  for (std::string_view rest = text; !rest.empty();) {
    const std::string_view line = TrimBlanks(TakeLine(&rest));
    if (line.starts_with(';')) continue;
    if (IsHeading(line)) {
      section = AddSection(NameOfHeading(line));
      continue;
    }
    const size_t equals = line.find('=');
    if (section == nullptr || equals == std::string_view::npos) continue;
    const std::string_view name = TrimBlanks(line.substr(0, equals));
    if (!name.empty()) section->Add(name, TrimBlanks(line.substr(equals + 1)));
  }
}

// The pointer is valid until the next section is added.
ZIniFileSection* ZIniFile::AddSection(std::string_view name) {
  if (ZIniFileSection* section = sections_.Find(name)) return section;
  names_.push_back(name);
  return &sections_[name];
}

ZIniFileSection ZIniFile::Section(std::string_view name) const {
  const ZIniFileSection* section = sections_.Find(name);
  return section == nullptr ? ZIniFileSection() : *section;
}

}  // namespace zforms
