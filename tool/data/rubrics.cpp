#include "tool/data/rubrics.h"

#include <algorithm>

#include "tool/data/data_file.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/data/ini_file.h"
#include "zforms/platform/text/letter_case.h"

namespace zforms::tool {
namespace {

std::string ValueText(const Cell& cell) {
  std::string text = cell.text;
  for (const std::string& more : cell.more) text += "\r\n" + more;
  return text;
}

bool IsIni(const std::string& path) { return FoldCase(path).View().ends_with(".ini"); }

}  // namespace

RubricOption ParseRubric(const std::string& text) {
  const size_t equals = text.find('=');
  if (equals == std::string::npos) return {text, {}};
  return {text.substr(0, equals), text.substr(equals + 1)};
}

bool Rubrics::Read(const RubricOption& rubric) {
  Console console(rubric.file);
  Entry& entry = entries_.emplace_back();
  entry.name = rubric.name;
  return IsIni(rubric.file) ? ReadIni(rubric.file, entry.set, console) : ReadRows(rubric.file, entry.set, console);
}

void Rubrics::AddEmpty(const std::string& name) { entries_.emplace_back().name = name; }

void Rubrics::RegisterIn(ZXFDFMapper& mapper) const {
  for (const Entry& entry : entries_) mapper.AddRubric(entry.name, &entry.set);
}

bool Rubrics::Has(const std::string& name) const {
  const Chaine folded = FoldCase(name);
  return std::any_of(entries_.begin(), entries_.end(),
                     [&](const Entry& entry) { return FoldCase(entry.name) == folded; });
}

bool Rubrics::ReadRows(const std::string& path, ZFieldSet& set, Console& console) {
  std::string error;
  const std::unique_ptr<RowReader> reader = OpenTable(path, &error);
  Row row;
  if (reader == nullptr || !reader->Next(&row)) {
    console.Fail(reader == nullptr           ? error
                 : reader->Failure().empty() ? "the file has no row of values"
                                             : reader->Failure());
    return false;
  }
  if (!row.fault.empty()) {
    console.Fail("line " + std::to_string(row.line) + ": " + row.fault);
    return false;
  }
  for (size_t i = 0; i < row.cells.size(); i++) {
    if (!row.cells[i].is_null) set.Add((*row.names)[i], ZVariant(ValueText(row.cells[i])));
  }
  return true;
}

bool Rubrics::ReadIni(const std::string& path, ZFieldSet& set, Console& console) {
  ZIniFile ini;
  if (!ini.Open(path)) {
    console.Fail(ini.LastError());
    return false;
  }
  // When there is only one section, the names of the values do not contain its name.
  const bool one = ini.SectionNames().size() == 1;
  for (const Chaine& name : ini.SectionNames()) {
    const ZIniFileSection section = ini.Section(name);
    for (size_t i = 0; i < section.GetNamedLinesNB(); i++) {
      const Chaine& line = section.GetLineName(i);
      set.Add(one ? line : name + "." + line, ZVariant(section.NamedLine(line)));
    }
  }
  return true;
}

std::string SectionOf(const std::string& path, const std::string& section) {
  ZIniFile ini;
  if (!section.empty() || !ini.Open(path) || ini.SectionNames().size() != 1) return section;
  return ini.SectionNames()[0].ToString();
}

bool ReadMaps(const std::string& path, const std::string& section, const std::string& default_rubric,
              ZXFDFMapper& mapper) {
  ZXFDFMapper::MapStorageIni storage(path, section, default_rubric);
  if (storage.LastError().empty()) {
    mapper.ReadMaps(storage, false);
    return true;
  }
  Console console(path);
  ZIniFile ini;
  if (section.empty() && ini.Open(path) && !ini.SectionNames().empty()) {
    std::string names;
    for (const Chaine& name : ini.SectionNames()) names += (names.empty() ? "" : ", ") + name.ToString();
    console.Fail("the file has several sections; choose one with --section: " + names);
  } else {
    console.Fail(storage.LastError());
  }
  return false;
}

std::vector<std::string> RubricsOfMaps(const std::string& path, const std::string& section) {
  ZXFDFMapper::MapStorageIni storage(path, section, Chaine());
  std::vector<std::string> rubrics;
  Chaine name;
  Chaine reference;
  while (storage.Next(name, reference)) {
    const size_t dot = reference.View().find('.');
    if (dot == std::string_view::npos) continue;
    std::string rubric = reference.Mid(0, dot).ToString();
    const auto is_same = [&](const std::string& known) { return FoldCase(known) == FoldCase(rubric); };
    if (std::none_of(rubrics.begin(), rubrics.end(), is_same)) rubrics.push_back(std::move(rubric));
  }
  return rubrics;
}

}  // namespace zforms::tool
