#pragma once

#include <deque>
#include <string>
#include <vector>

#include "tool/base/console.h"
#include "zforms/platform/data/field_set.h"
#include "zforms/xfdf/mapping/mapper.h"

namespace zforms::tool {

// An option for the host's data: "NAME=FILE" for a rubric with values from a file, or "NAME" alone. The file is CSV or
// lines of JSON, of which the first row is used, or an INI file, where "line" names a line of the only section, else
// "section.line".
struct RubricOption {
  std::string name;
  std::string file;  // empty without one
};
RubricOption ParseRubric(const std::string& text);

// Rubrics owns the sets read from rubric files. One thread at a time.
class Rubrics {
 public:
  // Reads the file into a new set. On failure prints the reason and returns false.
  bool Read(const RubricOption& rubric);
  // Adds a set without fields, for a rubric whose data come later.
  void AddEmpty(const std::string& name);
  void RegisterIn(ZXFDFMapper& mapper) const;
  bool Has(const std::string& name) const;

 private:
  struct Entry {
    std::string name;
    ZFieldSet set;
  };
  bool ReadRows(const std::string& path, ZFieldSet& set, Console& console);
  bool ReadIni(const std::string& path, ZFieldSet& set, Console& console);

  std::deque<Entry> entries_;
};

// Reads the maps of an INI section. When there are none, prints a message and returns false.
bool ReadMaps(const std::string& path, const std::string& section, const std::string& default_rubric,
              ZXFDFMapper& mapper);

// The section itself; when it is empty, the only section of the file.
std::string SectionOf(const std::string& path, const std::string& section);

// The rubrics in the references of a section, each once.
std::vector<std::string> RubricsOfMaps(const std::string& path, const std::string& section);

}  // namespace zforms::tool
