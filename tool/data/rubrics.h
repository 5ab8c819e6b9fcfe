#pragma once

#include <deque>
#include <string>
#include <vector>

#include "tool/base/console.h"
#include "zforms/platform/data/field_set.h"
#include "zforms/xfdf/mapping/mapper.h"

namespace zforms::tool {

// What the command line says of the host's data: "NAME=FILE" for a rubric whose values
// stand in a file, or "NAME" alone. The file is CSV or lines of JSON, whose first row
// counts, or an INI file: "line" names a line of the only section, else "section.line".
struct RubricOption {
  std::string name;
  std::string file;  // empty without one
};
RubricOption ParseRubric(const std::string& text);

// Rubrics owns the sets that rubric files are read into. One thread at a time.
class Rubrics {
 public:
  // Reads the file into a new set. False, and said, when it cannot be read.
  bool Read(const RubricOption& rubric);
  // A set without fields, for a rubric whose data come later.
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

// Reads the maps of an INI section. False, and said, when there are none.
bool ReadMaps(const std::string& path, const std::string& section, const std::string& default_rubric,
              ZXFDFMapper& mapper);

// The only section of the file when `section` is empty.
std::string SectionOf(const std::string& path, const std::string& section);

// The rubrics that the references of a section name, each once.
std::vector<std::string> RubricsOfMaps(const std::string& path, const std::string& section);

}  // namespace zforms::tool
