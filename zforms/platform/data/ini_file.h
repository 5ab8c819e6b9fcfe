#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// ZIniFileSection is one section: its lines "name=value" in the order of the file. When a name is repeated, its last
// line gives the value and its first line the position. A plain value, independent of its file.
class ZFORMS_API ZIniFileSection {
 public:
  size_t GetNamedLinesNB() const { return lines_.size(); }
  // Precondition: i < GetNamedLinesNB().
  const Chaine& GetLineName(size_t i) const { return lines_[i].first; }
  bool HasNamedLine(std::string_view name) const { return places_.Exist(name); }
  // The value of the line with exactly that name; empty when there is none.
  Chaine NamedLine(std::string_view name) const;

 private:
  friend class ZIniFile;

  void Add(const Chaine& name, const Chaine& value);

  PTableau<std::pair<Chaine, Chaine>> lines_;
  FDictionnary<size_t> places_;
};

// ZIniFile reads an INI file: sections "[name]" and lines "name=value". Blanks around section names, names and values
// are ignored; everything else is taken exactly, including letter case. A name ends at the first "=" and may contain
// "#", "[", "." and blanks; the value is the rest of the line. A line that starts with ";" is a comment; lines without
// "=" and lines before the first section are skipped. Sections of the same name are merged. Text is UTF-8, UTF-16 with
// a byte order mark, or windows-1252 when it is not valid UTF-8.
//
// A plain value, used by one thread at a time.
class ZFORMS_API ZIniFile {
 public:
  using SectionLines = ZIniFileSection;

  // Reads the file; `path` is UTF-8. On failure returns false with the reason in LastError(), and there are no
  // sections.
  bool Open(const Chaine& path);
  // Reads the contents of a file from memory.
  void FromChaine(const Chaine& bytes);
  void Close();

  bool SectionExist(std::string_view name) const { return sections_.Exist(name); }
  // An empty section when there is no section of that name.
  ZIniFileSection Section(std::string_view name) const;
  // The names of the sections, in the order of the file.
  const PTableau<Chaine>& SectionNames() const { return names_; }

  const std::string& LastError() const { return last_error_; }

 private:
  ZIniFileSection* AddSection(std::string_view name);

  PTableau<Chaine> names_;
  FDictionnary<ZIniFileSection> sections_;
  std::string last_error_;
};

}  // namespace zforms
