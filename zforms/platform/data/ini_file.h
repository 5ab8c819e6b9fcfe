#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// ZIniFileSection is the description of one section: its named lines, "name=value",
// in the order of the file. Of several lines with the same name the last gives the
// value, the first the place. A value of its own, independent of its file.
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

// ZIniFile reads an INI file: sections "[name]" and lines "name=value". Blanks
// around section names, names and values do not count; all else is taken exactly,
// letter case included. A name ends at the first "=" and may hold "#", "[", "."
// and blanks; a value is the rest of its line. A line that starts with ";" is a
// comment; lines without "=" and lines before the first section are passed over.
// The parts of a section that stands in several places make one. Text is UTF-8,
// UTF-16 after a byte order mark, and windows-1252 when it is no valid UTF-8.
class ZFORMS_API ZIniFile {
 public:
  using SectionLines = ZIniFileSection;

  // Reads the file; `path` is UTF-8. False when it cannot be read, with the reason
  // in LastError(); there are no sections then.
  bool Open(const Chaine& path);
  // Reads the bytes of a file.
  void FromChaine(const Chaine& bytes);
  void Close();

  bool SectionExist(std::string_view name) const { return sections_.Exist(name); }
  // Without any line when there is no such section.
  ZIniFileSection Section(std::string_view name) const;
  // In the order of the file.
  const PTableau<Chaine>& SectionNames() const { return names_; }

  const std::string& LastError() const { return last_error_; }

 private:
  ZIniFileSection* AddSection(std::string_view name);

  PTableau<Chaine> names_;
  FDictionnary<ZIniFileSection> sections_;
  std::string last_error_;
};

}  // namespace zforms
