#pragma once

#include <deque>
#include <string>
#include <vector>

#include "tool/base/console.h"
#include "zforms/platform/data/field_set.h"
#include "zforms/xfdf/mapping/mapper.h"

namespace zforms::tool {

// An option that gives a rubric, which is a named group of values: "NAME=FILE" for one with values from a file, or only
// "NAME". The file is CSV or lines of JSON, of which the first row is used, or an INI file. In an INI file with one
// section, a value has the name of its line; with several sections, "section.line".
struct RubricOption {
  std::string name;
  std::string file;  // empty for "NAME"
};
RubricOption ParseRubric(const std::string& text);

// Rubrics owns the named groups of values (the rubrics) that are read from files. One thread at a time.
class Rubrics {
 public:
  // Reads the file into a new set. On failure prints the reason and returns false.
  bool Read(const RubricOption& rubric);
  // Adds a group without values.
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

// The given section; when it is empty and the file has only one section, that one.
std::string SectionOf(const std::string& path, const std::string& section);

// The maps of an INI section connect fields of the form to values in "rubric.name". Returns the names of these rubrics
// (groups of values), each once.
std::vector<std::string> RubricsOfMaps(const std::string& path, const std::string& section);

}  // namespace zforms::tool
